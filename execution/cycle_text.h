#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

class ACTION_INTERFACE;

/// What a person reads of actions of which each waits for the next and the last
/// one for the first: processors and long texts, of a long row the beginning, the
/// end and how many stand between. GUI thread.
QString cycle_text(const QVector<ACTION_INTERFACE*>& cycle);

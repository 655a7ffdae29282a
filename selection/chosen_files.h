#pragma once

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

class ACTION_INTERFACE;
struct FILE_ENTRY;

/// The files that these actions read and that the depot has and this disk lacks,
/// by their place on disk.
QMap<QString, FILE_ENTRY*> missing_files(const QSet<ACTION_INTERFACE*>& actions);

/// Where the files lie on disk that the selected ones of these actions read and
/// write.
QSet<QString> selected_files(const QVector<ACTION_INTERFACE*>& actions);

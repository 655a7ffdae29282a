#pragma once

#include <QtCore/QVector>

class ACTION_INTERFACE;

/// Tells an unattended run's console about an action that did not succeed: its
/// name, how it ended and the first line that it has to say. Nothing for state 2,
/// nor when nobody listens. Build thread, or GUI thread while no build runs.
void report_action(ACTION_INTERFACE& action);

/// The end of an unattended run: counts by state, the time that the build took
/// and where the logs are. GUI thread, after the build.
void report_summary(const QVector<ACTION_INTERFACE*>& actions, qint64 milliseconds);

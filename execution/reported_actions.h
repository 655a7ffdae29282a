#pragma once

#include <QtCore/QVector>

#include "execution/build_report.h"
#include "record/plan_judgement.h"

class BUILD_SESSION;

/// What is to be reported of the actions of the last plan and of those that are up to
/// date. GUI thread, while no build runs. Outputs are there when the session's results
/// were told to keep them or the configuration keeps them.
QVector<REPORTED_ACTION> reported_actions(const BUILD_SESSION& session, const PLAN_JUDGEMENT& judgement);

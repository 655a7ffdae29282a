#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/actions/processor_interface.h"
#include "tests/plugins/script.h"

/// Does not come back when `crash`, SCRIPT::crash, is about this call.
void crash_if_told(const QString& crash, const QString& call);

/// New processors that do what the script says, which belong to the caller. The
/// trace goes into `folder`, a line "<thread> <call> <name>" each call, where the
/// thread is "main" or "build". A script with errors gives one processor,
/// "script", whose one action fails with the errors as its output, and they go
/// to standard error.
QVector<PROCESSOR_INTERFACE*> scripted_processors(const SCRIPT& script, const QString& folder);

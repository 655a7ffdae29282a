#pragma once

#include <QtCore/QString>

#include "contracts/export.h"

class QApplication;

/// Tells the metrics server which tools start and finish. Main thread; nothing
/// waits and nothing fails.
namespace TOOLS_METRICS {

/// The address that all metrics go to, and its port.
extern GOX_CONTRACTS_EXPORT const char* const ENDPOINT;
const int PORT = 12345;

/// Whose version later packets carry; the object must outlive them.
GOX_CONTRACTS_EXPORT void set_application(QApplication& application);

GOX_CONTRACTS_EXPORT void tool_started(const QString& name);
GOX_CONTRACTS_EXPORT void tool_finished(const QString& name);

} // namespace TOOLS_METRICS

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include "contracts/export.h"

/// Text as the `p4` client reads and writes it: in the system's code page on Windows,
/// elsewhere as file names are. Any thread.
namespace P4_TEXT {

GOX_CONTRACTS_EXPORT QString decode(const QByteArray& bytes);
GOX_CONTRACTS_EXPORT QByteArray encode(const QString& text);

} // namespace P4_TEXT

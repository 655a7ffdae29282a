#include "contracts/services/p4_connection.h"

P4_CONNECTION::P4_CONNECTION(bool, bool, bool enabled) : m_enabled(enabled) {}

P4_CONNECTION::~P4_CONNECTION() = default;

QString P4_CONNECTION::open_for_edit(const QStringList& files)
{
    return QStringLiteral("Perforce can't be reached to open %1 for edit")
        .arg(files.join(QLatin1String(", ")));
}

QString P4_CONNECTION::open_for_add(const QStringList& files)
{
    return QStringLiteral("Perforce can't be reached to open %1 for add")
        .arg(files.join(QLatin1String(", ")));
}

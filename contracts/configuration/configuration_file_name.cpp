#include "contracts/configuration/configuration_file_name.h"

QString repaired_configuration_file_name(const QString& name)
{
    const QString extension = QStringLiteral(".xml");
    const QString ending = QStringLiteral("_configuration.xml");
    if (name.endsWith(ending, Qt::CaseInsensitive))
        return name;
    if (name.endsWith(extension, Qt::CaseInsensitive))
        return name.left(name.size() - extension.size()) + ending;
    if (name.endsWith(QLatin1String("configuration"), Qt::CaseInsensitive))
        return name + extension;
    return name;
}

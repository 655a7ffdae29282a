#include "contracts/configuration/configuration_file_name.h"

#include <QtCore/QDir>

namespace {

const char ENDING[] = "_configuration.xml";

#ifdef Q_OS_WIN
const Qt::CaseSensitivity CASE_OF_DISK = Qt::CaseInsensitive;
#else
const Qt::CaseSensitivity CASE_OF_DISK = Qt::CaseSensitive;
#endif

} // namespace

QString repaired_configuration_file_name(const QString& name)
{
    const QString extension = QStringLiteral(".xml");
    const QString ending = QLatin1String(ENDING);
    if (name.endsWith(ending, Qt::CaseInsensitive))
        return name;
    if (name.endsWith(extension, Qt::CaseInsensitive))
        return name.left(name.size() - extension.size()) + ending;
    if (name.endsWith(QLatin1String("configuration"), Qt::CaseInsensitive))
        return name + extension;
    return name;
}

QString configuration_name_of_file(const QString& path, const QString& started_in, QString& why_not)
{
    const QString folder = QDir::cleanPath(started_in + QStringLiteral("/GOX"));
    const QString below = QDir(folder).relativeFilePath(QDir::cleanPath(path));
    const QString ending = QLatin1String(ENDING);
    why_not.clear();
    if (QDir::isAbsolutePath(below) || below.startsWith(QLatin1String("../")))
        why_not = QStringLiteral("it looks for configurations in the folder %1").arg(folder);
    else if (!below.endsWith(ending, CASE_OF_DISK))
        why_not = QStringLiteral("it looks for names that end in \"%1\", letter for letter").arg(ending);
    else if (below.size() == ending.size())
        why_not = QStringLiteral("a name in front of \"%1\" is missing").arg(ending);
    else if (below.chopped(ending.size()) == QLatin1String("choose"))
        why_not = QStringLiteral("--configuration=choose asks for a configuration");
    return why_not.isEmpty() ? below.chopped(ending.size()) : QString();
}

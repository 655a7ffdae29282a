#include "contracts/paths/disk_spelling.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>

#include "contracts/paths/letter_case.h"

QStringList DISK_SPELLING::all(const QString& root, const QString& rest)
{
    const QMutexLocker lock(&m_mutex);
    const int name_at = rest.lastIndexOf('/') + 1;
    if (name_at == 0) // not below the folder, but beside it
        return QFileInfo::exists(root + rest) ? QStringList(root + rest) : QStringList();
    return children(folders(root, rest.left(name_at - 1)), rest.mid(name_at), false);
}

QString DISK_SPELLING::place(const QString& root, const QString& rest)
{
    const QMutexLocker lock(&m_mutex);
    int end = rest.lastIndexOf('/');
    if (end < 0)
        return root + rest;
    const QString name = rest.mid(end + 1);
    const QStringList parents = folders(root, rest.left(end));
    if (parents.size() == 1 && candidates(parents.first(), name) == QStringList(name))
        return parents.first() + '/' + name; // there or not
    const QStringList found = children(parents, name, false);
    if (!found.isEmpty())
        return found.first();
    while (end > 0 && folders(root, rest.left(end)).isEmpty())
        end = rest.lastIndexOf('/', end - 1);
    return (end > 0 ? folders(root, rest.left(end)).first() : root) + rest.midRef(end);
}

void DISK_SPELLING::forget()
{
    const QMutexLocker lock(&m_mutex);
    m_places.clear();
    m_odd_names.clear();
}

// The folders on disk that `rest` stands for; the root counts as one, there or not.
QStringList DISK_SPELLING::folders(const QString& root, const QString& rest)
{
    const QString lower = lower_case_by_letter(rest);
    int known = lower.size(); // so much of the way is remembered
    while (known > 0 && !m_places.contains(root + lower.leftRef(known)))
        known = lower.lastIndexOf('/', known - 1);
    known = qMax(known, 0);
    if (known == 0)
        m_places.insert(root, QStringList(root));
    while (known < lower.size()) {
        int end = lower.indexOf('/', known + 1);
        end = end < 0 ? lower.size() : end;
        const QStringList above = m_places.value(root + lower.leftRef(known));
        m_places.insert(root + lower.leftRef(end),
                        children(above, rest.mid(known + 1, end - known - 1), true));
        known = end;
    }
    return m_places.value(root + lower);
}

DISK_SPELLING::NAMES DISK_SPELLING::odd_names(const QString& folder)
{
    const auto known = m_odd_names.constFind(folder);
    if (known != m_odd_names.constEnd())
        return *known;
    NAMES& names = m_odd_names[folder];
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        entries.next();
        const QString name = entries.fileName();
        const QString lower = lower_case_by_letter(name);
        if (lower != name)
            names[lower].append(name);
    }
    for (QStringList& spellings : names)
        spellings.sort();
    return names;
}

// The spellings that `name` can have in the folder: those that were seen there, and
// lower case, which may be there or not. A name that nothing is like comes back as
// it stands.
QStringList DISK_SPELLING::candidates(const QString& folder, const QString& name)
{
    const QString lower = lower_case_by_letter(name);
    QStringList spellings = odd_names(folder).value(lower);
    if (spellings.isEmpty() && lower == name)
        return QStringList(name);
    spellings.append(lower);
    spellings.sort();
    return spellings;
}

QStringList DISK_SPELLING::children(const QStringList& folders, const QString& name, bool only_folders)
{
    QStringList result;
    for (const QString& folder : folders)
        for (const QString& spelling : candidates(folder, name)) {
            const QFileInfo found(folder + '/' + spelling);
            if (only_folders ? found.isDir() : found.exists())
                result.append(folder + '/' + spelling);
        }
    return result;
}

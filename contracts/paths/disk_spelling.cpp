#include "contracts/paths/disk_spelling.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include "contracts/paths/letter_case.h"

#ifdef Q_OS_UNIX
#include <dirent.h>
#endif

namespace {

using NAMES = QMultiHash<QString, QString>;

// Where it does not, the name in lower case leads to the file that is listed in
// another spelling.
#ifdef Q_OS_WIN
const bool DISK_KNOWS_CASE = false;
#else
const bool DISK_KNOWS_CASE = true;
#endif

void note_name(const QString& name, NAMES& names)
{
    const QString lower = lower_case_by_letter(name);
    if (lower != name && !name.contains(QChar::ReplacementCharacter)) // bytes that are no UTF-8
        names.insert(lower, name);
}

#ifdef Q_OS_UNIX

// Names alone; nothing is asked of the files.
NAMES read_odd_names(const QString& folder)
{
    NAMES names;
    DIR* const entries = opendir(QFile::encodeName(folder).constData());
    while (const dirent* const entry = entries ? readdir(entries) : nullptr)
        if (!is_plainly_lower_case(reinterpret_cast<const uchar*>(entry->d_name),
                                   int(qstrlen(entry->d_name))))
            note_name(QFile::decodeName(entry->d_name), names);
    if (entries)
        closedir(entries);
    return names;
}

#else

NAMES read_odd_names(const QString& folder)
{
    NAMES names;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        entries.next();
        note_name(entries.fileName(), names);
    }
    return names;
}

#endif

} // namespace

QStringList DISK_SPELLING::all(const QString& root, const QString& rest)
{
    const QMutexLocker lock(&m_mutex);
    const int name_at = rest.lastIndexOf('/') + 1;
    if (name_at == 0) // not below the root, but the root itself or beside it
        return QFileInfo::exists(root + rest) ? QStringList(root + rest) : QStringList();
    return children(folder(root, rest.leftRef(name_at - 1)), rest.mid(name_at), false);
}

QString DISK_SPELLING::place(const QString& root, const QString& rest)
{
    const QMutexLocker lock(&m_mutex);
    int end = rest.lastIndexOf('/');
    if (end < 0)
        return root + rest;
    const FOLDER& parent = folder(root, rest.leftRef(end));
    const QString name = rest.mid(end + 1);
    // The usual case in short: one folder, and one spelling at most, which sorts first.
    if (parent.places.size() == 1 && is_plainly_lower_case(name.constData(), name.size())) {
        const NAMES& names = parent.odd_names.first();
        const auto odd = names.constFind(name);
        if (odd == names.constEnd())
            return parent.places.first() + rest.midRef(end); // there or not
        if (names.count(name) == 1 && *odd < name)
            return parent.places.first() + '/' + *odd;
    }
    const QStringList found = children(parent, name, false, true);
    if (!found.isEmpty())
        return found.first();
    while (end > 0 && folder(root, rest.leftRef(end)).places.isEmpty())
        end = rest.lastIndexOf('/', end - 1);
    return folder(root, rest.leftRef(qMax(end, 0))).places.first() + rest.midRef(qMax(end, 0));
}

void DISK_SPELLING::forget()
{
    const QMutexLocker lock(&m_mutex);
    m_folders.clear();
    m_last = nullptr;
}

// What `rest` stands for below the root, which itself counts as a folder, there or not.
const DISK_SPELLING::FOLDER& DISK_SPELLING::folder(const QString& root, const QStringRef& rest)
{
    if (m_last && rest == m_last_rest && root == m_last_root)
        return *m_last;
    const QString lower = lower_case_by_letter(rest.toString());
    int known = lower.size(); // so much of the way is remembered
    while (known > 0 && !m_folders.contains(root + lower.leftRef(known)))
        known = qMax(lower.lastIndexOf('/', known - 1), 0);
    if (known == 0 && !m_folders.contains(root))
        m_folders.insert(root, {QStringList(root), {read_odd_names(root)}});
    while (known < lower.size()) {
        const int next = lower.indexOf('/', known + 1);
        const int end = next < 0 ? lower.size() : next;
        const FOLDER above = m_folders.value(root + lower.leftRef(known));
        m_folders.insert(root + lower.leftRef(end), sub_folder(above, lower.mid(known + 1, end - known - 1)));
        known = end;
    }
    m_last_root = root;
    m_last_rest = rest.toString();
    m_last = &m_folders[root + lower];
    return *m_last;
}

DISK_SPELLING::FOLDER DISK_SPELLING::sub_folder(const FOLDER& above, const QString& name)
{
    FOLDER result;
    result.places = children(above, name, true);
    for (const QString& place : qAsConst(result.places))
        result.odd_names.append(read_odd_names(place));
    return result;
}

// The places on disk that `name` stands for in a folder: the spellings that are there,
// lower case among them.
QStringList DISK_SPELLING::children(const FOLDER& folder, const QString& name, bool only_folders,
                                    bool only_first)
{
    const QString lower = lower_case_by_letter(name);
    QStringList result;
    for (int i = 0; i < folder.places.size(); ++i) {
        QStringList spellings = folder.odd_names.at(i).values(lower);
        if (DISK_KNOWS_CASE || spellings.isEmpty())
            spellings.append(lower);
        spellings.sort();
        for (const QString& spelling : qAsConst(spellings)) {
            const QString path = folder.places.at(i) + '/' + spelling;
            const bool is_listed = spelling != lower; // then it is there, file or folder
            if (only_folders ? QFileInfo(path).isDir() : is_listed || QFileInfo::exists(path))
                result.append(path);
            if (only_first && !result.isEmpty())
                return result;
        }
    }
    return result;
}

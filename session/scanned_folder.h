#pragma once

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <algorithm>

#include "contracts/paths/letter_case.h"
#include "contracts/paths/paths.h"
#include "session/build_session.h"

// The folder of the file that was entered last. Whoever enters files has those
// of a folder one after another, so what holds for the folder is worked out once.
// Good for one run of entering, in which nothing else changes the file map.
struct BUILD_SESSION::SCANNED_FOLDER
{
    explicit SCANNED_FOLDER(const FILE_MAP& files) : hint(files.map.cbegin()) {}

    using MAP = QMap<LOGICAL_PATH, FILE_ENTRY*>;

    QString physical;           // with its slash
    QString logical;            // with its slash
    bool is_spelled_so = false; // a file of it has been entered, in this very spelling
    bool is_last = false;       // so far nothing in the map comes behind its files
    MAP::const_iterator hint;   // behind the file that was entered last

    // The key of a file, whose folder becomes this one.
    LOGICAL_PATH key_of(const QString& path)
    {
        const int name_at = path.lastIndexOf('/') + 1;
        if (name_at == physical.size() && path.startsWith(physical))
            return next_key(path);
        const LOGICAL_PATH key = PATHS::logical_path(PHYSICAL_PATH(path));
        physical = path.left(name_at);
        logical = key.left(static_cast<const QString&>(key).lastIndexOf('/') + 1);
        is_spelled_so = false;
        is_last = false;
        return key;
    }

    // The same for a file that is known to lie in this folder. In one piece of memory.
    LOGICAL_PATH next_key(const QString& path) const
    {
        if (logical.isEmpty()) // outside all roots the key tells nothing of the folder
            return PATHS::logical_path(PHYSICAL_PATH(path));
        const int size = path.size() - physical.size();
        QString text(logical.size() + size, Qt::Uninitialized);
        QChar* const letters = text.data();
        std::copy_n(logical.constData(), logical.size(), letters);
        std::copy_n(path.constData() + physical.size(), size, letters + logical.size());
        lower_case_by_letter(letters + logical.size(), size);
        return LOGICAL_PATH(text);
    }

    void insert(MAP& map, const LOGICAL_PATH& key, FILE_ENTRY* entry)
    {
        hint = map.insert(hint, key, entry);
        is_last = is_last || ++hint == map.cend();
        if (is_last)
            hint = map.cend(); // the way there takes as many steps as the map is deep
    }

    QStringList case_twins; // a remark for each two names of one place that differ in letter case alone

    // `known` and `other` are one file to the program. If the disk has two spellings
    // for it, or for a folder above it, people have to hear of it.
    void note_spellings(const QString& known, const QString& other)
    {
        if (known == other || known.compare(other, Qt::CaseInsensitive) != 0)
            return;
        const int size = std::min(known.size(), other.size());
        const int differ =
            int(std::mismatch(known.begin(), known.begin() + size, other.begin()).first - known.begin());
        const QString twin = other.left(other.indexOf('/', differ));
        if (m_twins.contains(twin))
            return;
        m_twins.insert(twin);
        case_twins.append(known.left(known.indexOf('/', differ)) + " and " + twin +
                          " differ only in letter case: they count as one, and everything is looked for in "
                          "the first. Rename one of them.");
    }

private:
    QSet<QString> m_twins;
};

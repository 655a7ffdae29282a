#pragma once

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <algorithm>

#include "session/build_session.h"

// The folder of the file that was entered last. Whoever enters files has those
// of a folder one after another, so what holds for the folder is worked out once.
// Good for one run of entering, in which nothing else changes the file map.
struct BUILD_SESSION::SCANNED_FOLDER
{
    explicit SCANNED_FOLDER(const FILE_MAP& files) : hint(files.map.cbegin()) {}

    QString physical;           // with its slash
    QString logical;            // with its slash
    bool is_spelled_so = false; // a file of it has been entered, in this very spelling
    QMap<LOGICAL_PATH, FILE_ENTRY*>::const_iterator hint; // behind the file that was entered last

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

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "contracts/rules/cached_rule.h"

/// The files behind the rules of a RULE_CACHE: what was read from each, and
/// which rule came from which, so that a change goes back to the right place
/// and nothing is overwritten that was not understood. GUI thread only.
class RULE_FILES
{
public:
    /// Reads a file whose rules belong to the logical folder `folder`. The new
    /// rules, oldest first, come in `rules` and are the caller's; none on error.
    QString read(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder, QVector<CACHED_RULE*>& rules);

    /// What RULE_CACHE::save says.
    QString save(const QMultiMap<QString, CACHED_RULE*>& rules);

private:
    struct RULE_FILE
    {
        PHYSICAL_PATH path;
        LOGICAL_PATH folder; // "<>" for a global file
        QString unreadable;  // why it could not be read
        QByteArray disk;     // fingerprint of the bytes on disk; empty for no file
        QByteArray text;     // the rules as they would have been written; empty for no file
        QStringList kinds;   // kinds of rule in lower case, in the file's order
    };
    using FILE_RULES = QVector<const CACHED_RULE*>;

    QString parse(RULE_FILE& file, QVector<CACHED_RULE>& rules) const;
    int enter(const RULE_FILE& file);
    int file_of(const CACHED_RULE& rule);
    QString distribute(const QMultiMap<QString, CACHED_RULE*>& rules, QMap<int, FILE_RULES>& by_file);
    QString save_file(RULE_FILE& file, FILE_RULES rules) const;
    QString why_not_writable(const RULE_FILE& file, const QByteArray& text) const;

    QVector<RULE_FILE> m_files;
    QHash<PHYSICAL_PATH, int> m_by_path;     // index in m_files
    QHash<const CACHED_RULE*, int> m_origin; // index in m_files
    QHash<QString, int> m_file_of_folder;    // logical folder to the file met last, global ones left out
};

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "contracts/rules/cached_rule.h"
#include "contracts/rules/rule_moves.h"

class P4_CONNECTION;

/// Who a rule is that stands in a file, be it that the rule itself is gone.
struct STANDING_RULE
{
    STANDING_RULE() = default;
    explicit STANDING_RULE(const RULE_IDENTITY& identity) : number(identity.number()), line(identity.line())
    {
    }

    quint64 number = 0; ///< of its RULE_IDENTITY
    quint64 line = 0;   ///< the same
};

/// A rule file as it was read or written last.
struct RULE_FILE
{
    PHYSICAL_PATH path;
    LOGICAL_PATH folder;             ///< "<>" for a global file
    QString unreadable;              ///< why it could not be read
    QByteArray hash;                 ///< of the bytes on disk; empty for no file
    QByteArray meaning;              ///< digest of what the rules in them say
    QVector<STANDING_RULE> standing; ///< the rules in them, in their order
    bool is_new_to_perforce = false; ///< written, and still to be opened for add
    bool is_written = false;         ///< by the `save` that runs
};

/// What RULE_CACHE::read_again has found in a file, for RULE_CACHE::exchange.
struct RULE_FILE_READING
{
    RULE_FILE file;
    QDateTime modified; ///< UTC

    /// All rules that there are to be with a key of RULE_CACHE::rules, the oldest
    /// first, for each key that the file has a part in.
    QMap<QString, QList<CACHED_RULE*>> rules;
};

/// The files behind the rules of a RULE_CACHE: what was read from each, and
/// which rule came from which, so that a change goes back to the right place
/// and nothing is overwritten that was not understood. GUI thread only.
class RULE_FILES
{
public:
    /// Reads a file whose rules belong to the logical folder `folder`. The new
    /// rules, oldest first, come in `rules` and are the caller's; none on error.
    QString read(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder, QVector<CACHED_RULE*>& rules);

    /// Since when the files of `folder`, in lower case, are as they were when they
    /// were read; UTC, null when there is none.
    QDateTime last_change(const QString& folder) const { return m_last_change.value(folder); }

    /// What RULE_CACHE::file_of says.
    PHYSICAL_PATH path_of(const CACHED_RULE& rule) const;

    /// What RULE_CACHE says of these. `rules` are those of the cache.
    PHYSICAL_PATH path_of_folder(const LOGICAL_PATH& folder) const;
    QMap<QString, QString> unreadable() const;
    QString read_again(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder,
                       const QMultiMap<QString, CACHED_RULE*>& rules, RULE_FILE_READING& reading);
    void exchange(RULE_FILE_READING& reading, QMultiMap<QString, CACHED_RULE*>& rules);

    /// What RULE_CACHE::save says.
    QString save(const QMultiMap<QString, CACHED_RULE*>& rules, P4_CONNECTION& p4);

private:
    using FILE_RULES = QVector<const CACHED_RULE*>; // those of a kind together, oldest first

    static QString load(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder, RULE_FILE& file,
                        QVector<CACHED_RULE*>& rules);
    int enter(const RULE_FILE& file);
    int file_of(const CACHED_RULE& rule);
    QMap<int, FILE_RULES> distribute(const QMultiMap<QString, CACHED_RULE*>& rules);
    RULE_MOVES moves_of(int index, const FILE_RULES& rules) const;
    static bool is_changed(const RULE_FILE& file, const FILE_RULES& rules);
    static QString save_file(RULE_FILE& file, const FILE_RULES& rules, bool keeps_leaving, P4_CONNECTION& p4);
    static QString open_for_add(RULE_FILE& file, P4_CONNECTION& p4);
    static QString read_again(const RULE_FILE& file, QByteArray& text, QVector<CACHED_RULE>& rules);
    static QString write(RULE_FILE& file, const FILE_RULES& rules, bool keeps_leaving, P4_CONNECTION& p4);

    QVector<RULE_FILE> m_files;
    QHash<PHYSICAL_PATH, int> m_by_path;     // index in m_files
    QHash<quint64, int> m_origin;            // number of a rule to index in m_files
    QHash<QString, QDateTime> m_last_change; // by logical folder
    QHash<QString, int> m_file_of_folder;    // logical folder to the file met last, global ones left out
};

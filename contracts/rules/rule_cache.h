#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QMap>
#include <QtCore/QScopedPointer>
#include <QtCore/QSet>
#include <QtCore/QString>

#include "contracts/export.h"
#include "contracts/paths/logical_path.h"
#include "contracts/paths/physical_path.h"
#include "contracts/rules/cached_rule.h"
#include "contracts/rules/rule.h"
#include "session/lockable_map.h"

class P4_CONNECTION;
class RULE_FILES;
struct DIGEST;
struct FILE_ENTRY;
struct RULE_FILE_READING;

/// All rules of a run. The session holds the one cache; processors get it as an
/// argument and ask it with `get`.
///
/// Filled on the GUI thread during start-up and changed there by the rule
/// editor, which writes straight into `rules`. `get` changes nothing, so the
/// build thread may ask while nobody edits.
class GOX_CONTRACTS_EXPORT RULE_CACHE
{
public:
    /// Key: `rule_key` of folder and kind. The cache owns the rules. Rules with
    /// equal keys stand newest first, both in a walk and in `values(key)`; seen
    /// as a list, the first is the oldest. Who only reads walks from `cbegin`: a
    /// `begin` copies the whole map, and `get` is slow from then on.
    QMultiMap<QString, CACHED_RULE*> rules;

    /// Set by the rule editor on every edit and never cleared: the files of the
    /// run were judged by rules that no longer hold.
    bool rules_changed = false;

    /// Reads the "rules.gox" of a data folder. Its rules belong to the file's
    /// folder and are newer than all that were read before. Empty on success;
    /// otherwise the error, with file, line and column where there is one, and
    /// the cache stays as it was. A file that lies outside the data roots or
    /// was read before is an error.
    QString add_rules(const PHYSICAL_PATH& file);

    /// The same for a global rule file, whose rules stand behind those of all
    /// folders. Their `path` is "<>".
    QString add_global_rules(const PHYSICAL_PATH& file);

    /// To be called once all rule files have been read, with the files of the run:
    /// makes `get` quick.
    void validate_cache(const LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files);

    /// To be called for each file that comes into being after `validate_cache`.
    /// `get` answers for any path, announced or not, so this keeps nothing.
    void add_new_file_to_cache(const LOGICAL_PATH& file);

    /// What the rules of kind `name` (in any case) say about the file `path`.
    ///
    /// A rule takes part when its folder is on the path's chain of folders and
    /// its file filters let the path below that folder pass. The nearest folder
    /// comes first, within a folder the newest rule; global rules come last, as
    /// if above every root. Each property is taken from the first rule that
    /// sets it, and a rule without `inherit_properties` ends the walk.
    ///
    /// The question is noted for the action at hand: what it builds depends on the
    /// answer.
    RULE get(const LOGICAL_PATH& path, const QString& name) const;

    /// The same for the program's own use, which nobody's work depends on: noted
    /// nowhere. Any thread while nobody edits.
    RULE answer(const LOGICAL_PATH& path, const QString& name) const;

    /// Stands for all rules as they are now: with equal digests `get` gives equal
    /// answers to every question, whichever files the rules come from. The cost grows
    /// with the number of rules. Any thread while nobody edits.
    DIGEST digest() const;

    /// The rule file that `rule`, one of `rules`, was read from or saved to; empty
    /// for a new one. GUI thread or, while nobody edits, the build thread.
    PHYSICAL_PATH file_of(const CACHED_RULE& rule) const;

    /// The rule file of a data folder, empty for one that is not known to have any.
    PHYSICAL_PATH file_of_folder(const LOGICAL_PATH& folder) const;

    /// Why the rule files of data folders could not be read. Key: the folder.
    QMap<QString, QString> unreadable_folders() const;

    /// Reads the rule file of a data folder once more, or for the first time where
    /// it has come into being meanwhile. Nothing changes until `exchange`. Empty on
    /// success; otherwise the error, which for a file that could not be read before
    /// is from then on what `unreadable_folders` says. GUI thread, like `exchange`.
    QString read_again(const PHYSICAL_PATH& file, RULE_FILE_READING& reading);

    /// Puts what a file was found to hold in the place of the rules that were known
    /// to stand in it; these come back in `reading`, and exchanging it again is the
    /// way back. Rules that were added to the folder and never saved stay, as do
    /// those of all other files. Rules that leave the cache are the caller's, who
    /// must keep them as long as the way back may be gone.
    void exchange(RULE_FILE_READING& reading);

    /// When the answer of `get` may have changed last: the latest modification
    /// time of the rule files that `get` goes through for it, those of folders
    /// and global ones, whatever stands in them now, as they were when they were
    /// read. UTC; null when there is none. What an action gives as its `stamp`.
    ///
    /// A file counts whichever kinds of rule it holds, so that a rule that was
    /// taken out of it is noticed; an edit of another kind in the same file looks
    /// like a change too. Not noticed are a rule file that was removed, a
    /// configuration that names other global files, and a file that was put back
    /// with an old date.
    QDateTime last_change(const LOGICAL_PATH& path, const QString& name) const;

    /// Writes each rule file whose rules have changed, whole or not at all;
    /// others are not touched. A rule goes to the file that it came from, a new
    /// one to the "rules.gox" of its folder. In a file that is written, only the
    /// rules that changed are: comments, unknown elements and layout stay.
    ///
    /// With `p4` enabled, a read-only file is opened for edit first, and a new
    /// one for add once it is written.
    ///
    /// Empty on success; otherwise a line for each file that was not written, or
    /// that is new and could not be opened for add, with its path and the cause,
    /// and then one for each that was. Not written is a file that could not be
    /// read, that appeared or changed on disk since it was read, or that can't
    /// be replaced. Saving again tries those again.
    ///
    /// A rule that has left one file for another, itself or as a copy, is at no
    /// time in neither: the file that it comes to is written first, and where that
    /// fails, the one that it leaves is held back. Files that have swapped rules
    /// may hold one twice after a failure.
    QString save(P4_CONNECTION& p4);

private:
    friend class BUILD_SESSION;
    friend struct RULE_CACHE_HOLDER; // lets tests and benchmarks hold a cache without a session

    RULE_CACHE();
    ~RULE_CACHE();
    Q_DISABLE_COPY(RULE_CACHE)

    QString add_file(const PHYSICAL_PATH& file, const LOGICAL_PATH& folder);
    RULE walk(const LOGICAL_PATH& path, const QString& name, QDateTime* last_change) const;
    bool resolve(const QString& key, const QString& path_below, RULE& result) const;

    QScopedPointer<RULE_FILES> m_files;         // where the rules came from
    QMultiMap<QString, CACHED_RULE*> m_indexed; // shares data with `rules` while m_rule_folders holds
    QSet<QString> m_rule_folders;               // folders that have any rule, in lower case
};

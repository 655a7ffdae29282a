#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include "contracts/export.h"
#include "contracts/paths/logical_path.h"

/// A question to RULE_CACHE::get.
struct RULE_QUESTION
{
    LOGICAL_PATH path;
    QString kind; ///< as it was asked, in any case
};

inline bool operator==(const RULE_QUESTION& a, const RULE_QUESTION& b)
{
    return a.path == b.path && a.kind == b.kind;
}
Q_DECLARE_TYPEINFO(RULE_QUESTION, Q_MOVABLE_TYPE);

/// What somebody has asked the services of a run, each question once and in the
/// order in which it came first: all that his work depends on besides his files. A
/// value; one thread at a time.
struct GOX_CONTRACTS_EXPORT ASKED_QUESTIONS
{
    QVector<RULE_QUESTION> rules;
    QStringList tables;       ///< as the database calls them; "schema" for its schema
    bool asset_graph = false; ///< anything at all

    bool is_empty() const { return rules.isEmpty() && tables.isEmpty() && !asset_graph; }

    void add(const RULE_QUESTION& question);
    void add_table(const QString& table);
    void add(const ASKED_QUESTIONS& other);

    /// Gives back what only further questions need.
    void settle() { m_places = QVector<quint64>(); }

private:
    quint64& place_of(quint64 hash, const RULE_QUESTION* question);
    void grow();

    // A hash table over `rules`, once these are many: the upper half of the hash and a
    // number from 1 up, 0 for an empty place. Where the rules of a million files are
    // asked for, a set would cost as much as the answers.
    QVector<quint64> m_places;
};

/// Where the rules, the database and the asset graph say what they are asked, so
/// that it can be kept with the action at hand. Without a listener a question costs
/// one look at a flag. Any thread: an action may ask from threads of its own.
namespace QUESTION_LOG {

/// From here on all questions of the process go into `listener`, which is not
/// owned; null ends that. When the call returns, nothing is written any more to the
/// one that listened before.
GOX_CONTRACTS_EXPORT void listen(ASKED_QUESTIONS* listener);

// For the services.
GOX_CONTRACTS_EXPORT void rule_asked(const LOGICAL_PATH& path, const QString& kind);
GOX_CONTRACTS_EXPORT void table_asked(const QString& table);
GOX_CONTRACTS_EXPORT bool graph_asked(); ///< whether anybody listens

} // namespace QUESTION_LOG

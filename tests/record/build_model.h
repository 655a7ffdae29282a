#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <functional>

#include "contracts/configuration/configuration.h"
#include "tests/plugins/script.h"

/// A file as it lies on the disk.
struct MODEL_FILE
{
    QString spelling; ///< of its path in the tree
    QByteArray bytes;
    int version = 0; ///< another one after each change, of whatever kind; 0: there is no file
};

/// Of files so young that they may change once more under the same time.
constexpr int YOUNG = 1 << 30;

/// The one rule of kind "size" that a rule file has.
struct MODEL_RULE
{
    QString ending; ///< of the files that it is for
    QMap<QString, QString> values;
    bool inherits = true;
    QString other; ///< width by another kind
};

/// All that a build rests on, as plain values.
struct MODEL_TREE
{
    SCRIPT script;
    CONFIGURATION configuration;
    QMap<QString, MODEL_FILE> files;         ///< by path in the tree, in lower case
    QMap<QString, MODEL_RULE> rules;         ///< by logical folder, or the file's name for global ones
    QString house = QStringLiteral("brick"); ///< what the asset of this name uses
    QString unit = QStringLiteral("archer"); ///< the one row of the table of units
    int plugin = 0;                          ///< version of the library
    int last_version = 0;

    /// Keys of the raw files that no other action reads.
    QStringList own_sources(const QString& action) const;
};

/// What a build has to make of a tree, and which actions an incremental one has to run,
/// worked out in the plainest way: an action rests on a list of things in words, and
/// has to run when the words are not those of its last good run. A value.
class BUILD_MODEL
{
public:
    struct RUN
    {
        bool only_out_of_date = false;
        bool obeys = true;         ///< actions that know when they have nothing to do do nothing then
        bool adds_again = true;    ///< to a file that holds the action's part already
        bool is_cut_short = false; ///< only these actions run, in this order
        QStringList only = {};
        QString stopped = {};    ///< the last of them was asked to stop,
        bool stops_late = false; ///< when it had written its targets
        /// Comes before and after each action writes.
        std::function<void(MODEL_TREE&, const QString& action, bool has_written)> meanwhile = {};
    };

    struct RESULT
    {
        QStringList executed; ///< in the order of the model, but for `only`
        int status = 0;       ///< of the process
    };

    RESULT run(const RUN& how);

    /// What is known of the last good run of an action, by its name.
    struct MEMORY
    {
        QString words; ///< empty: there was none, or it failed since
        int end = 0;   ///< counts all actions that ended
    };

    MODEL_TREE tree;
    QMap<QString, MEMORY> memory;

private:
    struct ACTION
    {
        const SCRIPT_PART* script;
        const SCRIPT_PROCESSOR* processor;
        QStringList inputs; // that are in the file map
        QStringList targets;
        QVector<int> dependencies;
        bool is_planned;
        bool has_run;
        int state;
    };

    void link();
    void link(const SCRIPT_PROCESSOR& processor, const SCRIPT_PART& part, QSet<QString>& known);
    bool is_secondary(const ACTION& action, const QString& target) const;
    bool reads_from(const ACTION& action, int other) const;
    int main_writer(const QString& target) const;
    void choose();
    QVector<int> reached(int action) const;
    QVector<int> in_order() const;
    QSet<int> out_of_date() const;
    bool holds(int action) const;
    bool writes_with(int action, const std::function<bool(int)>& is_such) const;
    bool has_nothing_to_do(int action) const;
    void execute(int action, const RUN& how, QStringList& executed);
    void remember(int action);
    QString words_of(int action) const;
    QString words_of_input(const QString& path) const;
    QString key_of(const QString& path) const;
    QString answer(const QString& question) const;
    QString answer_of_rules(const QString& path) const;
    QByteArray content_of(const ACTION& action) const;
    void write_targets(const ACTION& action);

    QVector<ACTION> m_actions;
    QMap<QString, MODEL_FILE> m_scanned; // at the start of the run
    QSet<QString> m_written;             // in this run
    int m_ends = 0;
};

#pragma once

#include <QtCore/QMap>
#include <QtCore/QSet>

#include <algorithm>
#include <functional>
#include <optional>

#include "contracts/actions/action_interface.h"
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

/// All that a build rests on, as plain values.
struct MODEL_TREE
{
    /// From a text like walk.txt: names with lines below them.
    explicit MODEL_TREE(const QString& text)
    {
        for (const QString& raw_line : text.split('\n')) {
            const QString line = raw_line.trimmed();
            if (line.isEmpty() || line.startsWith('#'))
                continue;
            if (raw_line.startsWith(' '))
                parts.last().lines.append({line.section(' ', 0, 0), line.section(' ', 1)});
            else
                parts.append({line, {}});
        }
    }

    /// Empty when there is none of this name.
    SCRIPT_PART part(const QString& name) const
    {
        const auto is_it = [&](const SCRIPT_PART& part) { return part.name == name; };
        const auto found = std::find_if(parts.begin(), parts.end(), is_it);
        return found == parts.end() ? SCRIPT_PART() : *found;
    }

    CONFIGURATION configuration() const
    {
        const SCRIPT_PART by = part("configuration");
        CONFIGURATION result;
        result.silent = result.no_progress_dialog = true;
        result.global_rules = by.all("global").toVector();
        result.retail = by.has("retail");
        result.selected_providers = by.all("provider");
        result.selected_consumers = by.all("consumer");
        result.processors = by.all("processor").toVector();
        result.directories = by.all("directory").toVector();
        return result;
    }

    QVector<SCRIPT_PART> parts;
    QMap<QString, MODEL_FILE> files; ///< by path in the tree, in lower case
    int last_version = 0;
};

/// What a build has to make of a tree, and which actions an incremental one has to run,
/// worked out in the plainest way: an action rests on a list of things in words, and
/// has to run when the words are not those of its last good run. A value.
class BUILD_MODEL
{
public:
    explicit BUILD_MODEL(const QString& text) : tree(text) {}

    struct RUN
    {
        bool only_out_of_date = false;
        bool obeys = true;      ///< actions that know when they have nothing to do do nothing then
        bool adds_again = true; ///< to a file that holds the action's part already
        std::optional<QStringList> only = {}; ///< it is cut short: these actions run, in this order
        QString stopped = {};                 ///< the last of them was asked to stop,
        bool stops_late = false;              ///< when it had written its targets
        /// Comes before and after each action writes.
        std::function<void(MODEL_TREE&, const QString& action, bool has_written)> meanwhile = {};
    };

    void run(const RUN& how)
    {
        m_scanned = tree.files;
        m_written.clear();
        executed.clear();
        status = 0;
        link();
        choose();
        judge();
        for (ACTION& action : m_actions) {
            const bool is_asked_for = !how.only_out_of_date && action.is_planned &&
                                      (how.adds_again || !action.script->has("adds") ||
                                       writes_with(action, std::mem_fn(&ACTION::is_planned)));
            if (!how.only && (is_asked_for || action.is_stale)) {
                execute(action, how);
                status |= is_good(action) ? 0 : 1;
            }
        }
        for (const QString& name : how.only.value_or(QStringList()))
            for (ACTION& action : m_actions)
                if (action.name == name)
                    execute(action, how);
    }

    /// Of the raw files that this action reads and no other one.
    QStringList own_sources(const QString& name) const
    {
        QMap<QString, QStringList> readers; // by file
        for (const ACTION& action : m_actions)
            for (const QString& path : action.inputs.filter("<raw>"))
                if (tree.files.contains(place_of(path)))
                    readers[place_of(path)].append(action.name);
        return readers.keys({name});
    }

    /// What is known of the last good run of an action, by its name.
    struct MEMORY
    {
        QString words; ///< empty: there was none, or it failed since
        int end = 0;   ///< counts all actions that ended
    };

    MODEL_TREE tree;
    QMap<QString, MEMORY> memory;
    QStringList executed; ///< by the last run, in its order
    int status = 0;       ///< of its process

private:
    struct ACTION
    {
        const SCRIPT_PART* script;
        const SCRIPT_PART* processor;
        QString name;
        QStringList inputs = {}; // that are in the file map
        QStringList targets = {};
        QVector<const ACTION*> needed = {}; // directly
        bool is_planned = false, is_stale = false, has_run = false;
        int state = ACTION_NOT_RUN;
    };
    using STATE = bool ACTION::*;

    template <typename LIST, typename CONDITION>
    static bool any(const LIST& list, const CONDITION& is_such)
    {
        return std::any_of(list.begin(), list.end(), is_such);
    }

    static QString place_of(QString path) // a logical one
    {
        return path.remove('<').replace("retail>", "retail_build").replace('>', "_data");
    }

    static bool is_good(const ACTION& action)
    {
        return action.state == ACTION_SUCCEEDED || action.state == ACTION_SUCCEEDED_WITH_WARNINGS;
    }

    // Which actions there are, and what ties them to files and to each other.
    void link()
    {
        m_actions.clear();
        QSet<QString> known; // logical
        for (const QString& file : tree.files.keys())
            known.insert(QString(file).remove("old_").replace("_data/", ">/").prepend('<'));
        const CONFIGURATION by = tree.configuration();
        const SCRIPT_PART* processor = nullptr;
        for (const SCRIPT_PART& part : qAsConst(tree.parts)) {
            const QString name = part.name.section(' ', 1);
            if (part.name.startsWith("processor "))
                processor = by.processors.isEmpty() || by.processors.contains(name) ? &part : nullptr;
            if (!processor || !part.name.startsWith("action "))
                continue;
            ACTION action{&part, processor, name};
            for (const QString& file : processor->all("virtual"))
                known.insert(file.section(' ', 1));
            for (const QString& path : part.all("reads"))
                if (known.contains(path.toLower()))
                    action.inputs.append(path);
            for (const QString& path : part.all("writes"))
                action.targets.append(path.mid(path.indexOf('<')));
            if (!by.retail && action.targets.join(' ').contains("<retail>"))
                continue;
            for (const QString& path : qAsConst(action.targets))
                known.insert(path.toLower());
            m_actions.append(action);
        }
        for (ACTION& action : m_actions)
            for (const ACTION* other = m_actions.begin(); other != &action; ++other)
                if (action.script->all("depends").contains(other->name) ||
                    action.script->all("pulls").contains(other->name) || reads_from(action, *other))
                    action.needed.append(other);
    }

    static bool is_secondary(const ACTION& action, const QString& target)
    {
        return action.script->all("writes").contains("secondary " + target);
    }

    const ACTION* main_writer(const QString& target) const
    {
        const ACTION* found = nullptr;
        for (const ACTION& action : m_actions)
            if (action.targets.contains(target) && !is_secondary(action, target))
                found = &action;
        return found;
    }

    bool reads_from(const ACTION& action, const ACTION& other) const
    {
        return any(other.targets, [&](const QString& target) {
            return action.inputs.contains(target) ||
                   (action.targets.contains(target) && main_writer(target) == &other);
        });
    }

    void choose()
    {
        const CONFIGURATION by = tree.configuration();
        const bool is_all = by.selected_providers.isEmpty() && by.selected_consumers.isEmpty();
        for (ACTION& action : m_actions)
            action.is_planned =
                is_all ||
                any(action.targets,
                    [&](const QString& file) { return by.selected_providers.contains(file); }) ||
                any(action.inputs, [&](const QString& file) { return by.selected_consumers.contains(file); });
        for (const ACTION& action : qAsConst(m_actions)) // none that is pulled pulls more
            for (ACTION& other : m_actions)
                other.is_planned |= action.is_planned && action.script->all("pulls").contains(other.name);
    }

    // Something that the action needs is in this state, directly or behind actions that are not planned.
    bool needs_one(const ACTION& action, STATE state) const
    {
        return any(action.needed, [&](const ACTION* other) {
            return other->*state || (!other->is_planned && needs_one(*other, state));
        });
    }

    template <typename CONDITION>
    bool writes_with(const ACTION& action, const CONDITION& is_such) const
    {
        return any(m_actions, [&](const ACTION& other) {
            return &other != &action && is_such(other) &&
                   any(other.targets, [&](const QString& target) { return action.targets.contains(target); });
        });
    }

    // Which of the planned ones are out of date.
    void judge()
    {
        for (bool has_changed = true; std::exchange(has_changed, false);)
            for (ACTION& action : m_actions)
                if (action.is_planned && !action.is_stale &&
                    (!holds(action) || needs_one(action, &ACTION::is_stale) ||
                     writes_with(action, std::mem_fn(&ACTION::is_stale))))
                    action.is_stale = has_changed = true;
    }

    // The action is as its last good run left it, whatever others do in this run.
    bool holds(const ACTION& action) const
    {
        const MEMORY last = memory.value(action.name);
        return !last.words.isEmpty() && last.words == words_of(action) && !action.script->has("preset") &&
               !any(action.needed,
                    [&](const ACTION* other) { return memory.value(other->name).end > last.end; });
    }

    // By its own judgement, when its turn has come.
    bool has_nothing_to_do(const ACTION& action) const
    {
        return action.script->has("knows_when") && holds(action) && !needs_one(action, &ACTION::has_run) &&
               !writes_with(action, [](const ACTION& other) { return other.has_run || other.is_planned; });
    }

    void execute(ACTION& action, const RUN& how)
    {
        const SCRIPT_PART& script = *action.script;
        if (!script.has("ignores_dependencies") && any(action.needed, [](const ACTION* other) {
                return other->state == ACTION_FAILED || other->state == ACTION_DEPENDENCY_FAILED;
            })) {
            action.state = ACTION_DEPENDENCY_FAILED;
            return;
        }
        action.state = ACTION_FAILED;
        if (!script.has("preset")) {
            executed.append(action.name);
            if (how.obeys && has_nothing_to_do(action)) {
                action.state = ACTION_SUCCEEDED;
                return;
            }
            if (how.meanwhile)
                how.meanwhile(tree, action.name, false);
            if (how.stopped != action.name || how.stops_late)
                write_targets(action);
            if (how.stopped != action.name)
                action.state = script.number("ends", "2");
            if (how.meanwhile)
                how.meanwhile(tree, action.name, true);
            if (script.has("needs_review") && action.state == ACTION_SUCCEEDED)
                action.state = script.has("review_fails") ? ACTION_FAILED : ACTION_SUCCEEDED_WITH_WARNINGS;
        }
        action.has_run = true;
        remember(action);
    }

    void remember(const ACTION& action)
    {
        const auto is_double = [&](const ACTION& other) {
            return other.processor == action.processor && other.targets == action.targets;
        };
        if (action.targets.isEmpty() || writes_with(action, is_double))
            return;
        bool is_certain = is_good(action);
        for (const QString& path : action.inputs)
            is_certain &= m_scanned.value(key_of(path)).version != YOUNG || m_written.contains(key_of(path));
        // it adds to something else when the main writer did not begin anew
        for (const QString& target : action.targets)
            is_certain &= main_writer(target) == &action || main_writer(target)->has_run;
        memory[action.name] = {is_certain ? words_of(action) : QString(), ++m_ends};
    }

    // All that the action rests on.
    QString words_of(const ACTION& action) const
    {
        QStringList words{action.script->text("stamp"), tree.part("services").text("plugin")};
        for (const QString& path : action.inputs)
            if (!action.targets.contains(path))
                words.append(words_of_input(path));
        for (const QString& target : action.targets) {
            const bool is_overwritten =
                !is_secondary(action, target) && any(m_actions, [&](const ACTION& other) {
                    return other.is_planned && other.targets.contains(target) && is_secondary(other, target);
                });
            const int version = tree.files.value(place_of(target).toLower()).version;
            words.append(is_overwritten ? "overwritten" : "target " + QString::number(version));
        }
        return (words + answers(action, {"collect_asks", "resolve_asks", "asks"})).join('\n');
    }

    // What was written in this run counts as it was right then, all else as it was scanned.
    QString words_of_input(const QString& path) const
    {
        const QString key = key_of(path);
        const MODEL_FILE file = m_written.contains(key) ? tree.files.value(key) : m_scanned.value(key);
        QString words = path + ' ' + file.spelling + ' ' + QString::number(file.version);
        for (const SCRIPT_PART& processor : tree.parts)
            words += ' ' + processor.all("virtual").filter(path).join(' ');
        return words;
    }

    // Where the file lies: in a companion when it is there alone.
    QString key_of(const QString& path) const
    {
        const QString key = place_of(path.toLower());
        return tree.files.contains(key) || !tree.files.contains("old_" + key) ? key : "old_" + key;
    }

    // To what the action and its processor ask.
    QStringList answers(const ACTION& action, const QStringList& words) const
    {
        QStringList answers;
        for (const QString& question : action.processor->all("asks"))
            answers.append(question + ": " + answer(question));
        for (const QString& word : words)
            for (const QString& question : action.script->all(word))
                answers.append(question + ": " + answer(question));
        return answers;
    }

    QString answer(const QString& question) const
    {
        if (question.startsWith("rule"))
            return answer_of_rules(question.section(' ', 2));
        return tree.part("services").text(question.startsWith("graph") ? "house" : "unit");
    }

    // The nearest folder first, then the global files, the last one first.
    QString answer_of_rules(const QString& path) const
    {
        QStringList places;
        for (QString folder = path.section('/', 0, -2); !folder.isEmpty();
             folder = folder.section('/', 0, -2))
            places.append(folder);
        for (const QString& file : tree.part("configuration").all("global"))
            places.insert(path.count('/'), file);
        QMap<QString, QString> values;
        bool is_found = false;
        for (const QString& place : qAsConst(places)) {
            const SCRIPT_PART rule = tree.part("rules " + place);
            if (rule.lines.isEmpty() || !path.endsWith(rule.text("files").remove("...")))
                continue;
            is_found = true;
            for (const char* word : {"height", "width"})
                if (rule.has(word) && !values.contains(word))
                    values[word] = word + ('=' + rule.text(word));
            if (rule.has("alone"))
                break;
        }
        return is_found ? QStringList(values.values()).join(' ') : QStringLiteral("no rule");
    }

    void write_targets(const ACTION& action)
    {
        QString text = "made by " + action.name + '\n';
        for (const QString& line : answers(action, {"collect_asks", "asks"}))
            text += line + '\n';
        text += "stamp " + action.script->text("stamp") + '\n';
        for (const QString& path : action.inputs) {
            const MODEL_FILE file = tree.files.value(key_of(path), {path, "none"});
            if (!action.targets.contains(path))
                text += file.spelling.section('/', -1) + ": " + QString::fromUtf8(file.bytes) + '\n';
        }
        for (const QString& target : action.targets) {
            const QString place = place_of(target);
            MODEL_FILE& file = tree.files[place.toLower()];
            const bool adds = action.script->has("adds") && is_secondary(action, target);
            file = {file.version ? file.spelling : place, (adds ? file.bytes : "") + text.toUtf8(),
                    ++tree.last_version};
            m_written.insert(place.toLower());
        }
    }

    QVector<ACTION> m_actions;           // each behind all that it needs
    QMap<QString, MODEL_FILE> m_scanned; // at the start of the run
    QSet<QString> m_written;             // in this run
    int m_ends = 0;
};

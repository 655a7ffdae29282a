#include "tests/record/build_model.h"

#include <algorithm>

#include "contracts/actions/action_interface.h"

namespace {

bool is_good(int state)
{
    return state == ACTION_SUCCEEDED || state == ACTION_SUCCEEDED_WITH_WARNINGS;
}

QString place_in(const QString& root, const QString& path)
{
    return root + '/' + path.section('/', 1);
}

QString place_of_target(const QString& target)
{
    return place_in(target.startsWith("<retail>") ? "retail_build" : "working_data", target);
}

} // namespace

QStringList MODEL_TREE::own_sources(const QString& action) const
{
    QMap<QString, QStringList> readers; // by file
    for (const SCRIPT_PROCESSOR& processor : script.processors)
        for (const SCRIPT_PART& part : processor.actions)
            for (const QString& path : part.all("reads").filter("<raw>"))
                readers[place_in("raw_data", path)].append(part.name);
    QStringList own;
    for (const QString& file : readers.keys(QStringList(action)))
        if (files.contains(file))
            own.append(file);
    return own;
}

BUILD_MODEL::RESULT BUILD_MODEL::run(const RUN& how)
{
    m_scanned = tree.files;
    m_written.clear();
    link();
    choose();
    QSet<int> running = out_of_date();
    RESULT result;
    for (int action : in_order())
        if (!how.only_out_of_date && m_actions[action].is_planned &&
            (how.adds_again || !m_actions[action].script->has("adds") ||
             writes_with(action, [this](int other) { return m_actions[other].is_planned; })))
            running.insert(action);
    for (int action : in_order())
        if (running.contains(action) && !how.is_cut_short)
            execute(action, how, result.executed);
    for (const QString& name : how.only)
        for (int action = 0; action < m_actions.size(); ++action)
            if (m_actions[action].script->name == name)
                execute(action, how, result.executed);
    for (int action : qAsConst(running))
        result.status |= is_good(m_actions[action].state) ? 0 : 1;
    return result;
}

// Which actions there are, and what ties them to files and to each other.
void BUILD_MODEL::link()
{
    m_actions.clear();
    QSet<QString> known;
    for (const QString& file : tree.files.keys())
        for (const char* root : {"raw", "working"})
            if (file.startsWith(QString(root) + "_data/") ||
                file.startsWith(QString("old_%1_data/").arg(root)))
                known.insert(QString("<%1>/%2").arg(root, file.section('/', 1)));
    const auto& wanted = tree.configuration.processors;
    for (const SCRIPT_PROCESSOR& processor : qAsConst(tree.script.processors)) {
        if (!wanted.isEmpty() && !wanted.contains(processor.name))
            continue;
        for (const QString& file : processor.all("virtual"))
            known.insert(file.section(' ', 1));
        for (const SCRIPT_PART& part : processor.actions)
            link(processor, part, known);
    }
    for (ACTION& action : m_actions) {
        const QStringList named = action.script->all("depends") + action.script->all("pulls");
        for (int other = 0; other < m_actions.size(); ++other)
            if (&m_actions[other] != &action &&
                (named.contains(m_actions[other].script->name) || reads_from(action, other)))
                action.dependencies.append(other);
    }
}

void BUILD_MODEL::link(const SCRIPT_PROCESSOR& processor, const SCRIPT_PART& part, QSet<QString>& known)
{
    ACTION action{&part, &processor, {}, {}, {}, false, false, ACTION_NOT_RUN};
    for (const QString& path : part.all("reads"))
        if (known.contains(path.toLower()))
            action.inputs.append(path);
    for (const QString& path : part.all("writes"))
        action.targets.append(path.mid(path.indexOf('<')));
    if (!tree.configuration.retail && action.targets.join(' ').contains("<retail>"))
        return;
    for (const QString& path : qAsConst(action.targets))
        known.insert(path.toLower());
    m_actions.append(action);
}

bool BUILD_MODEL::is_secondary(const ACTION& action, const QString& target) const
{
    return action.script->all("writes").contains("secondary " + target);
}

int BUILD_MODEL::main_writer(const QString& target) const
{
    for (int action = m_actions.size() - 1; action >= 0; --action)
        if (m_actions[action].targets.contains(target) && !is_secondary(m_actions[action], target))
            return action;
    return -1;
}

bool BUILD_MODEL::reads_from(const ACTION& action, int other) const
{
    for (const QString& target : m_actions[other].targets)
        if (action.inputs.contains(target) ||
            (action.targets.contains(target) && main_writer(target) == other))
            return true;
    return false;
}

void BUILD_MODEL::choose()
{
    const CONFIGURATION& by = tree.configuration;
    const bool is_all = by.selected_providers.isEmpty() && by.selected_consumers.isEmpty();
    const auto has_one = [](const QStringList& files, const QStringList& list) {
        return std::any_of(files.begin(), files.end(),
                           [&](const QString& file) { return list.contains(file); });
    };
    for (ACTION& action : m_actions)
        action.is_planned = is_all || has_one(action.targets, by.selected_providers) ||
                            has_one(action.inputs, by.selected_consumers);
    for (ACTION& action : m_actions) // none that is pulled pulls more
        for (ACTION& other : m_actions)
            other.is_planned |= action.is_planned && action.script->all("pulls").contains(other.script->name);
}

// What the action depends on, directly or through actions that are not planned.
QVector<int> BUILD_MODEL::reached(int action) const
{
    QVector<int> result;
    for (int dependency : m_actions[action].dependencies) {
        result.append(dependency);
        if (!m_actions[dependency].is_planned)
            result += reached(dependency);
    }
    return result;
}

// Each behind all that it depends on.
QVector<int> BUILD_MODEL::in_order() const
{
    QVector<int> order;
    while (order.size() < m_actions.size())
        for (int action = 0; action < m_actions.size(); ++action) {
            const QVector<int>& needed = m_actions[action].dependencies;
            if (!order.contains(action) && std::all_of(needed.begin(), needed.end(), [&](int dependency) {
                    return order.contains(dependency);
                }))
                order.append(action);
        }
    return order;
}

QSet<int> BUILD_MODEL::out_of_date() const
{
    QSet<int> result;
    for (int more = -1; more != result.size();) {
        more = result.size();
        const auto runs = [&](int action) { return result.contains(action); };
        for (int action = 0; action < m_actions.size(); ++action) {
            const QVector<int> below = reached(action);
            if (m_actions[action].is_planned &&
                (!holds(action) || std::any_of(below.begin(), below.end(), runs) ||
                 writes_with(action, runs)))
                result.insert(action);
        }
    }
    return result;
}

// Whether the action is as its last good run left it, whatever others do in this run.
bool BUILD_MODEL::holds(int action) const
{
    const MEMORY last = memory.value(m_actions[action].script->name);
    const auto ran_since = [&](int other) {
        return memory.value(m_actions[other].script->name).end > last.end;
    };
    const QVector<int>& needed = m_actions[action].dependencies;
    return !last.words.isEmpty() && last.words == words_of(action) &&
           !m_actions[action].script->has("preset") && std::none_of(needed.begin(), needed.end(), ran_since);
}

bool BUILD_MODEL::writes_with(int action, const std::function<bool(int)>& is_such) const
{
    for (const QString& target : m_actions[action].targets)
        for (int other = 0; other < m_actions.size(); ++other)
            if (other != action && m_actions[other].targets.contains(target) && is_such(other))
                return true;
    return false;
}

// By its own judgement, when its turn has come.
bool BUILD_MODEL::has_nothing_to_do(int action) const
{
    const auto has_run = [&](int other) { return m_actions[other].has_run; };
    const auto comes_later = [&](int other) { return m_actions[other].is_planned && !has_run(other); };
    const QVector<int> below = reached(action);
    return m_actions[action].script->has("knows_when") && holds(action) &&
           std::none_of(below.begin(), below.end(), has_run) && !writes_with(action, has_run) &&
           !writes_with(action, comes_later);
}

void BUILD_MODEL::execute(int number, const RUN& how, QStringList& executed)
{
    ACTION& action = m_actions[number];
    const SCRIPT_PART& script = *action.script;
    const auto has_failed = [&](int other) {
        return m_actions[other].state == ACTION_FAILED || m_actions[other].state == ACTION_DEPENDENCY_FAILED;
    };
    if (!script.has("ignores_dependencies") &&
        std::any_of(action.dependencies.begin(), action.dependencies.end(), has_failed)) {
        action.state = ACTION_DEPENDENCY_FAILED;
        return;
    }
    action.state = ACTION_FAILED;
    if (!script.has("preset")) {
        executed.append(script.name);
        if (how.obeys && has_nothing_to_do(number)) {
            action.state = ACTION_SUCCEEDED;
            return;
        }
        if (how.meanwhile)
            how.meanwhile(tree, script.name, false);
        if (how.stopped != script.name || how.stops_late)
            write_targets(action);
        if (how.stopped != script.name)
            action.state = script.number("ends", "2");
        if (how.meanwhile)
            how.meanwhile(tree, script.name, true);
        if (script.has("needs_review") && action.state == ACTION_SUCCEEDED)
            action.state = script.has("review_fails") ? ACTION_FAILED : ACTION_SUCCEEDED_WITH_WARNINGS;
    }
    action.has_run = true;
    remember(number);
}

void BUILD_MODEL::remember(int number)
{
    const ACTION& action = m_actions[number];
    const auto is_double = [&](int other) {
        return m_actions[other].processor == action.processor && m_actions[other].targets == action.targets;
    };
    if (action.targets.isEmpty() || writes_with(number, is_double))
        return;
    bool is_certain = is_good(action.state);
    for (const QString& path : action.inputs)
        is_certain &= m_scanned.value(key_of(path)).version != YOUNG || m_written.contains(key_of(path));
    for (const QString& target :
         action.targets) // adds to something else when the main writer did not begin anew
        is_certain &= main_writer(target) == number || m_actions[main_writer(target)].has_run;
    memory[action.script->name] = {is_certain ? words_of(number) : QString(), ++m_ends};
}

// All that the action rests on.
QString BUILD_MODEL::words_of(int number) const
{
    const ACTION& action = m_actions[number];
    QStringList words{action.script->text("stamp"), QString::number(tree.plugin)};
    for (const QString& path : action.inputs)
        if (!action.targets.contains(path))
            words.append(words_of_input(path));
    for (const QString& target : action.targets) {
        const auto comes_later = [&](int other) {
            return m_actions[other].is_planned && m_actions[other].targets.contains(target) &&
                   is_secondary(m_actions[other], target);
        };
        const bool is_overwritten = !is_secondary(action, target) && writes_with(number, comes_later);
        const int version = tree.files.value(place_of_target(target).toLower()).version;
        words.append(is_overwritten ? "overwritten" : "target " + QString::number(version));
    }
    for (const char* word : {"collect_asks", "resolve_asks", "asks"})
        for (const QString& question : action.script->all(word))
            words.append(answer(question));
    for (const QString& question : action.processor->all("asks"))
        words.append(answer(question));
    return words.join('\n');
}

// What was written in this run counts as it was right then, all else as it was scanned.
QString BUILD_MODEL::words_of_input(const QString& path) const
{
    const QString key = key_of(path);
    const MODEL_FILE file = m_written.contains(key) ? tree.files.value(key) : m_scanned.value(key);
    QString words = path + ' ' + file.spelling + ' ' + QString::number(file.version);
    for (const SCRIPT_PROCESSOR& processor : tree.script.processors)
        words += ' ' + processor.all("virtual").filter(path).join(' ');
    return words;
}

// Where the file lies: in a companion when it is there alone.
QString BUILD_MODEL::key_of(const QString& path) const
{
    const QString lower = path.toLower();
    const QString root = lower.section('/', 0, 0).mid(1).chopped(1) + "_data";
    const bool is_only_old =
        !tree.files.contains(place_in(root, lower)) && tree.files.contains(place_in("old_" + root, lower));
    return place_in(is_only_old ? "old_" + root : root, lower);
}

QString BUILD_MODEL::answer(const QString& question) const
{
    const QString kind = question.section(' ', 0, 0);
    if (kind == "rule")
        return question + ": " + answer_of_rules(question.section(' ', 2));
    return question + ": " + (kind == "graph" ? tree.house : tree.unit);
}

// The nearest folder first, then the global files, the last one first.
QString BUILD_MODEL::answer_of_rules(const QString& path) const
{
    QStringList places;
    for (QString folder = path.section('/', 0, -2); !folder.isEmpty(); folder = folder.section('/', 0, -2))
        places.append(folder);
    for (const QString& file : tree.configuration.global_rules)
        places.insert(path.count('/'), file);
    QMap<QString, QString> values;
    bool is_found = false;
    for (const QString& place : places) {
        if (!tree.rules.contains(place) || !path.endsWith(tree.rules[place].ending))
            continue;
        const MODEL_RULE rule = tree.rules[place];
        is_found = true;
        for (auto value = rule.values.begin(); value != rule.values.end(); ++value)
            if (!values.contains(value.key()))
                values.insert(value.key(), value.key() + '=' + *value);
        if (!rule.inherits)
            break;
    }
    return is_found ? QStringList(values.values()).join(' ') : QStringLiteral("no rule");
}

QByteArray BUILD_MODEL::content_of(const ACTION& action) const
{
    QString text = "made by " + action.script->name + '\n';
    for (const QString& question : action.processor->all("asks"))
        text += answer(question) + '\n';
    for (const char* word : {"collect_asks", "asks"})
        for (const QString& question : action.script->all(word))
            text += answer(question) + '\n';
    text += "stamp " + action.script->text("stamp") + '\n';
    for (const QString& path : action.inputs) {
        if (action.targets.contains(path))
            continue;
        const MODEL_FILE file = tree.files.value(key_of(path));
        const QString name = file.version ? file.spelling.section('/', -1) : path.section('/', -1);
        text += name + ": " + (file.version ? QString::fromUtf8(file.bytes) : QStringLiteral("none")) + '\n';
    }
    return text.toUtf8();
}

void BUILD_MODEL::write_targets(const ACTION& action)
{
    const QByteArray content = content_of(action);
    for (const QString& target : action.targets) {
        const QString place = place_of_target(target);
        const MODEL_FILE former = tree.files.value(place.toLower());
        tree.files[place.toLower()] = {
            former.version ? former.spelling : place,
            action.script->has("adds") && is_secondary(action, target) ? former.bytes + content : content,
            ++tree.last_version};
        m_written.insert(place.toLower());
    }
}

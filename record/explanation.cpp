// Why an action runs, in words: what differs between what the record has and what
// there is now.

#include <QtCore/QFileInfo>

#include <optional>

#include "contracts/actions/action_interface.h"
#include "contracts/actions/action_notes.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/paths/paths.h"
#include "record/judgement.h"
#include "record/present_surroundings.h"
#include "record/record_reader.h"
#include "record/rule_answers.h"
#include "session/build_session.h"
#include "session/file_entry.h"

namespace {

QString name_of(ACTION_INTERFACE& action)
{
    return action.processor->name() + " / " + action.display_text(true);
}

// Mostly the record has the same file under the same number, and with it the names.
RECORDED_FILE file_now(const QVector<RECORDED_FILE>& former, int number, const PHYSICAL_PATH& path,
                       QStringView place, const FILE_STAMP& stamp)
{
    if (number < former.size() && former.at(number).place == place)
        return {former.at(number).logical, former.at(number).place, stamp};
    return {PATHS::logical_path(path), place.toString(), stamp};
}

QVector<RECORDED_FILE> inputs_now(ACTION_INTERFACE& action, const QVector<RECORDED_FILE>& former,
                                  const ACTION_FILES& files)
{
    QVector<RECORDED_FILE> result;
    for (const FILE_ENTRY* input : qAsConst(action.input_files))
        if (!is_added_to(*input, action))
            result.append(file_now(former, result.size(), input->physical,
                                   files.places.place(input->physical), files.input(*input)));
    return result;
}

QVector<RECORDED_FILE> targets_now(ACTION_INTERFACE& action, const QVector<RECORDED_FILE>& former,
                                   ACTION_FILES& files)
{
    QVector<RECORDED_FILE> result;
    for (auto target = action.target_files.cbegin(); target != action.target_files.cend(); ++target)
        result.append(file_now(former, result.size(), target.value(), files.places.place(target.value()),
                               files.target(action, *target.key(), target.value())));
    return result;
}

const RECORDED_FILE* find(const QVector<RECORDED_FILE>& files, const QString& logical)
{
    for (const RECORDED_FILE& file : files)
        if (file.logical == logical)
            return &file;
    return nullptr;
}

// "input changed: <raw>/a.png", with how many there are besides; empty for none.
QString list_text(const char* what, const QStringList& paths)
{
    if (paths.isEmpty())
        return QString();
    const QString first = QLatin1String(what) + ": " + paths.first();
    return paths.size() == 1 ? first : first + QStringLiteral(" and %1 more").arg(paths.size() - 1);
}

QString inputs_text(const QVector<RECORDED_FILE>& former, const QVector<RECORDED_FILE>& now)
{
    QStringList changed;
    QStringList added;
    QStringList gone;
    for (const RECORDED_FILE& file : now)
        if (const RECORDED_FILE* before = find(former, file.logical)) {
            if (!(*before == file))
                changed.append(file.logical);
        } else {
            added.append(file.logical);
        }
    for (const RECORDED_FILE& file : former)
        if (!find(now, file.logical))
            gone.append(file.logical);
    QStringList texts{list_text("input changed", changed), list_text("input added", added),
                      list_text("input gone", gone)};
    texts.removeAll(QString());
    return texts.join(QStringLiteral("; "));
}

QString targets_text(const QVector<RECORDED_FILE>& former, const QVector<RECORDED_FILE>& now)
{
    QStringList changed;
    QStringList missing;
    for (const RECORDED_FILE& file : now) {
        const RECORDED_FILE* const before = find(former, file.logical);
        if (before && *before == file)
            continue;
        (file.stamp.time == NO_TIME ? missing : changed).append(file.logical);
    }
    QStringList texts{list_text("target missing", missing), list_text("target changed", changed)};
    texts.removeAll(QString());
    return texts.join(QStringLiteral("; "));
}

QString files_text(ACTION_INTERFACE& action, const BUILD_ENTRY_DETAILS& former, ACTION_FILES& files)
{
    QString text = inputs_text(former.inputs, inputs_now(action, former.inputs, files));
    if (text.isEmpty())
        text = targets_text(former.targets, targets_now(action, former.targets, files));
    if (text.isEmpty() && former.stamp != notes_of(action).stamp)
        text = QStringLiteral("stamp changed");
    return text.isEmpty() ? QStringLiteral("inputs or targets changed") : text;
}

QString rules_text(const BUILD_ENTRY_DETAILS& former, const RULE_CACHE& rules)
{
    for (const RECORDED_ANSWER& answer : former.answers) {
        const QString text = difference_text(rules, answer);
        if (!text.isEmpty())
            return "rule changed: " + text;
    }
    return QStringLiteral("rule changed");
}

QString surroundings_text(const SURROUNDINGS& former, ACTION_INTERFACE& action, PRESENT_SURROUNDINGS& present)
{
    const DIGEST library = present.library_of(*action.processor);
    if (library.is_null() || library != former.library_digest)
        return "plugin changed: " + present.library_name(*action.processor);
    if (former.asked_graph && former.graph_digest != present.graph())
        return QStringLiteral("asset graph changed");
    QStringList tables;
    for (const RECORDED_TABLE& table : former.tables)
        if (table.digest.is_null() || table.digest != present.table(table.name))
            tables.append(table.name);
    return list_text("table changed", tables);
}

} // namespace

QString explanation_text(ACTION_INTERFACE& action, const VERDICT& verdict, ACTION_JUDGE& judge)
{
    std::optional<BUILD_ENTRY_DETAILS> details;
    switch (verdict.reason) {
    case RUN_REASON::NONE:
        return QStringLiteral("up to date");
    case RUN_REASON::NO_TARGETS:
        return QStringLiteral("has no targets");
    case RUN_REASON::IS_DECIDED:
        return "has " + (action.preset_errors.isEmpty() ? QStringLiteral("a state already")
                                                        : "errors: " + action.preset_errors.first());
    case RUN_REASON::HAS_DOUBLE:
        return QStringLiteral("another action of its processor has the same targets");
    case RUN_REASON::NEVER_BUILT:
        return QStringLiteral("never built");
    case RUN_REASON::FAILED_SINCE:
        return QStringLiteral("failed or was stopped last time");
    case RUN_REASON::FILES_CHANGED:
        details = judge.details_of(*verdict.entry);
        return details ? files_text(action, *details, judge.files())
                       : QStringLiteral("inputs or targets changed");
    case RUN_REASON::RULES_CHANGED:
        details = judge.details_of(*verdict.entry);
        return details ? rules_text(*details, judge.session().rule_cache) : QStringLiteral("rule changed");
    case RUN_REASON::SURROUNDINGS_CHANGED:
        return surroundings_text(judge.record().surroundings_of(*verdict.entry), action, judge.present());
    case RUN_REASON::DEPENDENCY_RAN_SINCE:
        return "depends on " + name_of(*verdict.other) + ", which ran since";
    case RUN_REASON::DEPENDENCY_RUNS:
        return "depends on " + name_of(*verdict.other) + ", which runs";
    case RUN_REASON::WRITES_WITH_ANOTHER:
        return "writes a file together with " + name_of(*verdict.other) + ", which runs";
    }
    return QString();
}

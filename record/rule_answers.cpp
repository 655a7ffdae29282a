#include "record/rule_answers.h"

#include "contracts/rules/rule_answer.h"
#include "contracts/rules/rule_cache.h"
#include "contracts/services/question_log.h"

namespace {

RECORDED_ANSWER recorded(const QString& path, const QString& kind, const RULE& rule)
{
    RECORDED_ANSWER answer;
    answer.path = path;
    answer.kind = kind;
    answer.found = rule.found != nullptr;
    answer.values = texts_of_answer(rule);
    return answer;
}

QString quoted(const QMap<QString, QString>& values, const QString& property)
{
    const auto value = values.constFind(property);
    return value == values.cend() ? QStringLiteral("not set") : '"' + *value + '"';
}

// The file that a rule comes from, behind a comma.
QString origin_text(const RULE_CACHE& rules, const CACHED_RULE* rule)
{
    const QString file = rule ? QString(rules.file_of(*rule)) : QString();
    return file.isEmpty() ? QString() : ", " + file;
}

} // namespace

RECORDED_ANSWER answer_now(const RULE_CACHE& rules, const RULE_QUESTION& question)
{
    return recorded(question.path, question.kind, rules.answer(question.path, question.kind));
}

RECORDED_ANSWER answer_now(const RULE_CACHE& rules, const RECORDED_ANSWER& former)
{
    return answer_now(rules, RULE_QUESTION{LOGICAL_PATH(former.path), former.kind});
}

QString difference_text(const RULE_CACHE& rules, const RECORDED_ANSWER& former)
{
    const RULE rule = rules.answer(LOGICAL_PATH(former.path), former.kind);
    const RECORDED_ANSWER now = recorded(former.path, former.kind, rule);
    const QStringList properties = former.values.keys() + now.values.keys();
    for (const QString& property : properties) {
        if (former.values.value(property) == now.values.value(property) &&
            former.values.contains(property) == now.values.contains(property))
            continue;
        return QStringLiteral("%1, %2: %3 is %4 now%5")
            .arg(former.kind, property, quoted(former.values, property), quoted(now.values, property),
                 origin_text(rules, rule.values.value(property).origin));
    }
    if (former.found != now.found)
        return former.kind + (now.found ? ": there is a rule now" +
                                              origin_text(rules, static_cast<const CACHED_RULE*>(rule.found))
                                        : QStringLiteral(": there is no rule any more"));
    return QString();
}

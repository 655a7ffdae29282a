#include "contracts/rules/rule_file_check.h"

#include <algorithm>

#include "contracts/rules/rule_file_edit.h"
#include "contracts/rules/rule_file_format.h"

namespace {

constexpr int NO_PLACE = -1;

bool reads_as(const QByteArray& text, const QVector<const CACHED_RULE*>& rules)
{
    XML_FILE_READER xml{QString()};
    QVector<CACHED_RULE> read;
    return xml.open(text, RULE_FILE_ROOT) && read_rules(xml, read) && read.size() == rules.size() &&
           std::equal(
               rules.begin(), rules.end(), read.begin(),
               [](const CACHED_RULE* a, const CACHED_RULE& b) { return meaning_of(*a) == meaning_of(b); });
}

bool can_be_written(const CACHED_RULE& rule)
{
    QVector<RULE_IN_FILE> only{{&rule, NO_PLACE}};
    return reads_as(edited_rule_file(empty_rule_file(), {}, only), {&rule});
}

QString why_not_writable(const CACHED_RULE& rule)
{
    const QString has_bad =
        QStringLiteral("the rule \"%1\" holds characters that can't stand in a rule file");
    for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property) {
        CACHED_RULE single;
        single.name = QStringLiteral("single");
        single.properties.insert(property.key(), *property);
        if (!can_be_written(single))
            return (has_bad + QStringLiteral(", in its property \"%2\"")).arg(rule.name, property.key());
    }
    CACHED_RULE bare = rule;
    bare.properties.clear();
    if (!can_be_written(bare))
        return has_bad.arg(rule.name);
    return QStringLiteral("the rule \"%1\" has a property twice").arg(rule.name);
}

} // namespace

QString why_not_readable(const QString& path, const QByteArray& text,
                         const QVector<const CACHED_RULE*>& rules)
{
    if (reads_as(text, rules))
        return QString();
    for (const CACHED_RULE* const rule : rules)
        if (!can_be_written(*rule))
            return why_not_writable(*rule);
    XML_FILE_READER xml(path);
    QVector<CACHED_RULE> read;
    const bool is_read = xml.open(text, RULE_FILE_ROOT) && read_rules(xml, read);
    return QStringLiteral("with the changes it could not be read again") +
           (is_read ? QString() : QStringLiteral(": ") + xml.error());
}

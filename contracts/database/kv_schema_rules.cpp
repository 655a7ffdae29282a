#include "contracts/database/kv_schema_rules.h"

#include <algorithm>
#include <cmath>

namespace {

// Names become names of files and of XML attributes.
bool is_name(const QString& text)
{
    const auto is_letter = [](QChar c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    };
    const auto is_letter_or_digit = [&](QChar c) { return is_letter(c) || (c >= '0' && c <= '9'); };
    return !text.isEmpty() && text.size() <= KV_MAX_NAME_LENGTH && is_letter(text.at(0)) &&
           std::all_of(text.begin(), text.end(), is_letter_or_digit);
}

QString name_problem(const char* what, const QString& text)
{
    if (is_name(text))
        return QString();
    if (text.isEmpty())
        return QStringLiteral("a %1 must have a name").arg(QLatin1String(what));
    return QStringLiteral("\"%1\" can't be the name of a %2: letters from a to z, digits and _ can, at "
                          "most %3, the first no digit")
        .arg(text.left(KV_MAX_NAME_LENGTH), QLatin1String(what))
        .arg(KV_MAX_NAME_LENGTH);
}

QString first_of(std::initializer_list<QString> problems)
{
    for (const QString& problem : problems)
        if (!problem.isEmpty())
            return problem;
    return QString();
}

bool is_storable(const QString& text, int place)
{
    const QChar c = text.at(place);
    if (c.isHighSurrogate())
        return place + 1 < text.size() && text.at(place + 1).isLowSurrogate();
    if (c.isLowSurrogate())
        return place > 0 && text.at(place - 1).isHighSurrogate();
    return c.unicode() >= 0x20 ? c.unicode() < 0xfffe : c == '\t' || c == '\n' || c == '\r';
}

QString table_name_problem(const QSet<QString>& before, const QString& name)
{
    const QString problem = name_problem("table", name);
    if (!problem.isEmpty())
        return problem;
    if (name.compare(QLatin1String("schema"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("no table can be called \"%1\": its file would be the schema's").arg(name);
    // Files of names that differ in letter case only can't lie side by side on
    // every system.
    if (before.contains(name.toLower()))
        return QStringLiteral("there are two tables called \"%1\"").arg(name);
    return before.size() == KV_MAX_TABLES ? QStringLiteral("more than %1 tables").arg(KV_MAX_TABLES)
                                          : QString();
}

QString field_problem(const KV_TABLE_SCHEMA& table, const KV_FIELD_SCHEMA& field)
{
    const QString problem = name_problem("field", field.name);
    if (!problem.isEmpty())
        return problem;
    if (field.name == QLatin1String("xmlns"))
        return QStringLiteral("no field can be called \"xmlns\": XML keeps that name for itself");
    if (table.field_index(field.name) >= 0)
        return QStringLiteral("table \"%1\" has two fields called \"%2\"").arg(table.name, field.name);
    if (table.fields.size() == KV_MAX_FIELDS)
        return QStringLiteral("table \"%1\" has more than %2 fields").arg(table.name).arg(KV_MAX_FIELDS);
    if (field.key && table.key_index() >= 0)
        return QStringLiteral("table \"%1\" has two key fields, \"%2\" and \"%3\"")
            .arg(table.name, table.fields.at(table.key_index()).name, field.name);
    if (field.key && !field.default_value.isEmpty())
        return QStringLiteral("key field \"%1\" can't have a default").arg(field.name);
    if (!kv_value_has_type(QStringRef(&field.default_value), field.type))
        return QStringLiteral("default \"%1\" of field \"%2\" is not of type %3")
            .arg(field.default_value.left(KV_QUOTED_LENGTH), field.name, kv_type_name(field.type));
    return QString();
}

using TABLES = QHash<QString, const KV_TABLE_SCHEMA*>; // by name

QString lookup_problem(const TABLES& tables, const KV_FIELD_SCHEMA& field)
{
    if (field.lookup_table.isEmpty() && field.lookup_field.isEmpty())
        return QString();
    const KV_TABLE_SCHEMA* const table = tables.value(field.lookup_table);
    return table && table->field_index(field.lookup_field) >= 0
               ? QString()
               : QStringLiteral("there is no field \"%1.%2\" to look up")
                     .arg(field.lookup_table, field.lookup_field);
}

QString fields_problem(const TABLES& tables, const KV_TABLE_SCHEMA& table, int& part)
{
    KV_TABLE_SCHEMA before;
    before.name = table.name;
    for (const KV_FIELD_SCHEMA& field : table.fields) {
        ++part;
        const QString problem =
            first_of({field_problem(before, field), lookup_problem(tables, field),
                      kv_text_problem(field.default_value), kv_text_problem(field.description)});
        if (!problem.isEmpty())
            return problem;
        before.fields.append(field);
    }
    return table.fields.isEmpty() ? QStringLiteral("table \"%1\" has no field").arg(table.name) : QString();
}

QString tables_problem(const KV_DATABASE_SCHEMA& schema, int& part)
{
    QSet<QString> names; // in lower case
    TABLES tables;
    if (schema.tables.contains(nullptr))
        return QStringLiteral("a table of the schema is null");
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables)
        tables.insert(table->name, table.data());
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables) {
        ++part;
        QString problem =
            first_of({table_name_problem(names, table->name), kv_text_problem(table->description)});
        if (problem.isEmpty())
            problem = fields_problem(tables, *table, part);
        if (!problem.isEmpty())
            return problem;
        names.insert(table->name.toLower());
    }
    return QString();
}

QString query_problem(const QSet<QString>& before, const KV_QUERY_SCHEMA& query)
{
    if (before.contains(query.name))
        return QStringLiteral("there are two queries called \"%1\"").arg(query.name);
    if (before.size() == KV_MAX_QUERIES)
        return QStringLiteral("more than %1 queries").arg(KV_MAX_QUERIES);
    return first_of({name_problem("query", query.name), kv_query_text_problem(query.sql),
                     kv_text_problem(query.description), kv_text_problem(query.sql)});
}

QString queries_problem(const KV_DATABASE_SCHEMA& schema, int& part)
{
    QSet<QString> names;
    for (const KV_QUERY_SCHEMA& query : schema.queries) {
        ++part;
        const QString problem = query_problem(names, query);
        if (!problem.isEmpty())
            return query.name.isEmpty()
                       ? problem
                       : QStringLiteral("query \"%1\": %2").arg(query.name.left(KV_QUOTED_LENGTH), problem);
        names.insert(query.name);
    }
    return QString();
}

} // namespace

QString kv_query_text_problem(const QString& sql)
{
    return sql.size() > KV_MAX_QUERY_LENGTH
               ? QStringLiteral("it is longer than %1 characters").arg(KV_MAX_QUERY_LENGTH)
               : QString();
}

QString kv_lookup_form_problem(const QString& target)
{
    const bool is_pair = is_name(target.section('.', 0, 0)) && is_name(target.section('.', 1));
    return is_pair ? QString()
                   : QStringLiteral("\"lookup\" must be table.field, not \"%1\"")
                         .arg(target.left(KV_QUOTED_LENGTH));
}

QString kv_schema_problem(const KV_DATABASE_SCHEMA& schema, int& part)
{
    part = -1;
    const QString problem = tables_problem(schema, part);
    return problem.isEmpty() ? queries_problem(schema, part) : problem;
}

QString kv_text_problem(const QString& text)
{
    if (text.size() > KV_MAX_VALUE_LENGTH)
        return QStringLiteral("a text of more than %1 characters").arg(KV_MAX_VALUE_LENGTH);
    for (int place = 0; place < text.size(); ++place)
        if (!is_storable(text, place))
            return QStringLiteral("the character U+%1 can't stand in a file of the database")
                .arg(text.at(place).unicode(), 4, 16, QLatin1Char('0'));
    return QString();
}

QString kv_value_problem(const KV_FIELD_SCHEMA& field, const QString& value)
{
    if (field.key && value.isEmpty())
        return QStringLiteral("the record has no value in the key field \"%1\"").arg(field.name);
    const QString problem = kv_text_problem(value);
    return problem.isEmpty() ? kv_type_problem(field, QStringRef(&value))
                             : QStringLiteral("field \"%1\": %2").arg(field.name, problem);
}

bool kv_value_has_type(const QStringRef& value, KV_FIELD_SCHEMA::TYPE type)
{
    if (type == KV_FIELD_SCHEMA::TEXT || value.isEmpty())
        return true;
    bool is_number = false;
    switch (type) {
    case KV_FIELD_SCHEMA::INTEGER:
        value.toLongLong(&is_number);
        return is_number;
    case KV_FIELD_SCHEMA::REAL:
        return std::isfinite(value.toDouble(&is_number)) && is_number;
    default:
        return value == QLatin1String("true") || value == QLatin1String("false");
    }
}

QString kv_type_problem(const KV_FIELD_SCHEMA& field, const QStringRef& value)
{
    return kv_value_has_type(value, field.type)
               ? QString()
               : QStringLiteral("value \"%1\" of field \"%2\" is not of type %3")
                     .arg(value.left(KV_QUOTED_LENGTH).toString(), field.name, kv_type_name(field.type));
}

bool kv_are_plain_keys(const QHash<QString, int>& rows_by_key)
{
    return std::all_of(rows_by_key.keyBegin(), rows_by_key.keyEnd(),
                       [](const QString& key) { return QString::number(key.toLongLong()) == key; });
}

QString kv_count_problem(qint64 records, int fields)
{
    if (records >= KV_MAX_RECORDS)
        return QStringLiteral("more than %1 records").arg(KV_MAX_RECORDS);
    return (records + 1) * fields > KV_MAX_VALUES ? QStringLiteral("more than %1 values").arg(KV_MAX_VALUES)
                                                  : QString();
}

const QStringList& kv_type_names()
{
    static const QStringList s_names{"text", "integer", "real", "boolean"};
    return s_names;
}

QString kv_type_name(KV_FIELD_SCHEMA::TYPE type)
{
    return kv_type_names().value(type, kv_type_names().first());
}

QString kv_field_text(const QString& table, const QString& field)
{
    return '"' + table + '.' + field + '"';
}

QString kv_record_text(const KV_TABLE_DATA& table, const KV_RECORD_DATA& record)
{
    const int key = table.schema->key_index();
    if (key >= 0)
        return QStringLiteral("the record with the key \"%1\"")
            .arg(record.fields.at(key).value.left(KV_QUOTED_LENGTH));
    return record.line > 0 ? QStringLiteral("the record in line %1").arg(record.line)
                           : QStringLiteral("a new record");
}

QString kv_no_field_text(const QString& table, const QString& field)
{
    return QStringLiteral("table \"%1\" has no field \"%2\"").arg(table, field.left(KV_QUOTED_LENGTH));
}

QString kv_no_key_text(const QString& table)
{
    return QStringLiteral("table \"%1\" has no key field, so none of its records can be named").arg(table);
}

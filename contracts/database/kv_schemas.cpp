#include "contracts/database/kv_schemas.h"

#include <algorithm>
#include <cmath>

#include "contracts/database/kv_files.h"
#include "contracts/services/xml_text.h"

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
    return kv_first({
        kv_problem(text.isEmpty(), "a %1 must have a name", what),
        kv_problem(!is_name(text),
                   "\"%1\" can't be the name of a %2: letters from a to z, digits and _ can, at most %3, the "
                   "first no digit",
                   text.left(KV_MAX_NAME_LENGTH), what, KV_MAX_NAME_LENGTH),
    });
}

// Files of names that differ in letter case only can't lie side by side on every
// system: `before` has them in lower case.
QString table_problem(const QSet<QString>& before, const KV_TABLE_SCHEMA& table)
{
    const QString name = table.name.toLower();
    return kv_first({
        name_problem("table", table.name),
        kv_problem(name == "schema", "no table can be called \"%1\": its file would be the schema's",
                   table.name),
        kv_problem(before.contains(name), "there are two tables called \"%1\"", table.name),
        kv_problem(before.size() == KV_MAX_TABLES, "more than %1 tables", KV_MAX_TABLES),
        kv_text_problem(table.description),
    });
}

using TABLES = QHash<QString, const KV_TABLE_SCHEMA*>; // by name

QString lookup_problem(const TABLES& tables, const KV_FIELD_SCHEMA& field)
{
    if (field.lookup_table.isEmpty() && field.lookup_field.isEmpty())
        return QString();
    const KV_TABLE_SCHEMA* const table = tables.value(field.lookup_table);
    return kv_problem(!table || table->field_index(field.lookup_field) < 0,
                      "there is no field \"%1.%2\" to look up", field.lookup_table, field.lookup_field);
}

// The table has the fields before this one.
QString field_problem(const TABLES& tables, const KV_TABLE_SCHEMA& table, const KV_FIELD_SCHEMA& field)
{
    const int key = table.key_index();
    return kv_first({
        name_problem("field", field.name),
        kv_problem(field.name == "xmlns", "no field can be called \"xmlns\": XML keeps that name for itself"),
        kv_problem(table.field_index(field.name) >= 0, "table \"%1\" has two fields called \"%2\"",
                   table.name, field.name),
        kv_problem(table.fields.size() == KV_MAX_FIELDS, "table \"%1\" has more than %2 fields", table.name,
                   KV_MAX_FIELDS),
        kv_problem(field.key && key >= 0, "table \"%1\" has two key fields, \"%2\" and \"%3\"", table.name,
                   table.fields.value(key).name, field.name),
        kv_problem(field.key && !field.default_value.isEmpty(), "key field \"%1\" can't have a default",
                   field.name),
        kv_problem(!kv_value_has_type(QStringRef(&field.default_value), field.type),
                   "default \"%1\" of field \"%2\" is not of type %3",
                   field.default_value.left(KV_QUOTED_LENGTH), field.name, kv_type_names().value(field.type)),
        lookup_problem(tables, field),
        kv_text_problem(field.default_value),
        kv_text_problem(field.description),
    });
}

QString fields_problem(const TABLES& tables, const KV_TABLE_SCHEMA& table, int& part)
{
    KV_TABLE_SCHEMA before;
    before.name = table.name;
    for (const KV_FIELD_SCHEMA& field : table.fields) {
        ++part;
        if (const QString problem = field_problem(tables, before, field); !problem.isEmpty())
            return problem;
        before.fields.append(field);
    }
    return kv_problem(table.fields.isEmpty(), "table \"%1\" has no field", table.name);
}

QString query_problem(const QSet<QString>& before, const KV_QUERY_SCHEMA& query)
{
    const QString problem = kv_first({
        kv_problem(before.contains(query.name), "there are two queries called \"%1\"", query.name),
        kv_problem(before.size() == KV_MAX_QUERIES, "more than %1 queries", KV_MAX_QUERIES),
        name_problem("query", query.name),
        kv_query_text_problem(query.sql),
        kv_text_problem(query.description),
        kv_text_problem(query.sql),
    });
    return problem.isEmpty() || query.name.isEmpty()
               ? problem
               : kv_text("query \"%1\": %2", query.name.left(KV_QUOTED_LENGTH), problem);
}

using TABLE = QSharedPointer<const KV_TABLE_SCHEMA>;

// The tables that have no like in `others`.
template <typename IS_LIKE>
QStringList tables_without_like(const KV_DATABASE_SCHEMA& schema, const KV_DATABASE_SCHEMA& others,
                                IS_LIKE is_like)
{
    QHash<QString, TABLE> known;
    for (const TABLE& table : others.tables)
        known.insert(table->name, table);
    QStringList names;
    for (const TABLE& table : schema.tables)
        if (const TABLE other = known.value(table->name); !other || !is_like(*other, *table))
            names.append(table->name);
    return names;
}

} // namespace

QString kv_query_text_problem(const QString& sql)
{
    return kv_problem(sql.size() > KV_MAX_QUERY_LENGTH, "it is longer than %1 characters",
                      KV_MAX_QUERY_LENGTH);
}

QString kv_lookup_form_problem(const QString& target)
{
    return kv_problem(!is_name(target.section('.', 0, 0)) || !is_name(target.section('.', 1)),
                      "\"lookup\" must be table.field, not \"%1\"", target.left(KV_QUOTED_LENGTH));
}

QString kv_schema_problem(const KV_DATABASE_SCHEMA& schema, int& part)
{
    part = -1;
    TABLES tables;
    if (schema.tables.contains(nullptr))
        return kv_text("a table of the schema is null");
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables)
        tables.insert(table->name, table.data());
    QString problem;
    QSet<QString> names, queries; // those of tables in lower case
    for (int i = 0; i < schema.tables.size() && problem.isEmpty(); ++i) {
        const KV_TABLE_SCHEMA& table = *schema.tables.at(i);
        ++part;
        problem = table_problem(names, table);
        if (problem.isEmpty())
            problem = fields_problem(tables, table, part);
        names.insert(table.name.toLower());
    }
    for (int i = 0; i < schema.queries.size() && problem.isEmpty(); ++i) {
        ++part;
        problem = query_problem(queries, schema.queries.at(i));
        queries.insert(schema.queries.at(i).name);
    }
    return problem;
}

QString kv_text_problem(const QString& text)
{
    if (text.size() > KV_MAX_VALUE_LENGTH)
        return kv_text("a text of more than %1 characters", KV_MAX_VALUE_LENGTH);
    const int place = first_not_for_xml(text);
    return place < 0 ? QString()
                     : QStringLiteral("the character U+%1 can't stand in a file of the database")
                           .arg(text.at(place).unicode(), 4, 16, QLatin1Char('0'));
}

QString kv_value_problem(const KV_FIELD_SCHEMA& field, const QString& value)
{
    if (field.key && value.isEmpty())
        return kv_text("the record has no value in the key field \"%1\"", field.name);
    const QString problem = kv_text_problem(value);
    return problem.isEmpty() ? kv_type_problem(field, QStringRef(&value))
                             : kv_text("field \"%1\": %2", field.name, problem);
}

bool kv_value_has_type(const QStringRef& value, KV_FIELD_SCHEMA::TYPE type)
{
    bool is_right = true;
    if (type == KV_FIELD_SCHEMA::INTEGER)
        value.toLongLong(&is_right);
    else if (type == KV_FIELD_SCHEMA::REAL)
        is_right = std::isfinite(value.toDouble(&is_right)) && is_right;
    else if (type != KV_FIELD_SCHEMA::TEXT)
        is_right = value == QLatin1String("true") || value == QLatin1String("false");
    return is_right || value.isEmpty();
}

QString kv_type_problem(const KV_FIELD_SCHEMA& field, const QStringRef& value)
{
    return kv_value_has_type(value, field.type) ? QString()
                                                : kv_text("value \"%1\" of field \"%2\" is not of type %3",
                                                          value.left(KV_QUOTED_LENGTH).toString(), field.name,
                                                          kv_type_names().value(field.type));
}

bool kv_are_plain_keys(const QHash<QString, int>& rows_by_key)
{
    return std::all_of(rows_by_key.keyBegin(), rows_by_key.keyEnd(),
                       [](const QString& key) { return QString::number(key.toLongLong()) == key; });
}

QString kv_count_problem(qint64 records, int fields)
{
    return kv_first({
        kv_problem(records >= KV_MAX_RECORDS, "more than %1 records", KV_MAX_RECORDS),
        kv_problem((records + 1) * fields > KV_MAX_VALUES, "more than %1 values", KV_MAX_VALUES),
    });
}

const QStringList& kv_type_names()
{
    static const QStringList s_names{"text", "integer", "real", "boolean"};
    return s_names;
}

QString kv_field_text(const QString& table, const QString& field)
{
    return '"' + table + '.' + field + '"';
}

QString kv_record_text(const KV_TABLE_DATA& table, const KV_RECORD_DATA& record)
{
    const int key = table.schema->key_index();
    if (key >= 0)
        return kv_text("the record with the key \"%1\"", record.fields.at(key).value.left(KV_QUOTED_LENGTH));
    return record.line > 0 ? kv_text("the record in line %1", record.line) : kv_text("a new record");
}

QString kv_no_field_text(const QString& table, const QString& field)
{
    return kv_text("table \"%1\" has no field \"%2\"", table, field.left(KV_QUOTED_LENGTH));
}

QString kv_no_key_text(const QString& table)
{
    return kv_text("table \"%1\" has no key field, so none of its records can be named", table);
}

QStringList kv_table_names(const KV_DATABASE_SCHEMA& schema)
{
    return tables_without_like(schema, {}, kv_has_same_shape);
}

QVector<RELATIONSHIP_DATA> kv_relationships(const KV_DATABASE_SCHEMA& schema)
{
    QVector<RELATIONSHIP_DATA> relationships;
    for (const TABLE& table : schema.tables)
        for (const KV_FIELD_SCHEMA& field : table->fields)
            if (!field.lookup_table.isEmpty())
                relationships.append({table->name, field.name, field.lookup_table, field.lookup_field});
    return relationships;
}

QStringList kv_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, const QString& table,
                              KV_END to)
{
    QStringList tables;
    const KV_END from =
        to == &RELATIONSHIP_DATA::table ? &RELATIONSHIP_DATA::lookup_table : &RELATIONSHIP_DATA::table;
    for (const RELATIONSHIP_DATA& one : relationships)
        if (one.*from == table && one.*to != table && !tables.contains(one.*to))
            tables.append(one.*to);
    return tables;
}

void kv_add_related_tables(const QVector<RELATIONSHIP_DATA>& relationships, QSet<QString>& tables, KV_END to)
{
    for (QStringList open = tables.values(); !open.isEmpty();)
        for (const QString& table : kv_related_tables(relationships, open.takeLast(), to))
            if (!tables.contains(table)) {
                tables.insert(table);
                open.append(table);
            }
}

METAFIELD_AND_SCHEMA kv_main_dependency(const KV_DATABASE_SCHEMA& schema, QString table, QString field)
{
    METAFIELD_AND_SCHEMA found;
    QSet<QString> met;
    while (const KV_TABLE_SCHEMA* const known = schema.table(table)) {
        const int index = known->field_index(field);
        if (index < 0 || met.contains(table + '.' + field))
            break;
        met.insert(table + '.' + field);
        found = {table, known->fields.at(index)};
        table = found.field.lookup_table;
        field = found.field.lookup_field;
    }
    return found;
}

bool kv_has_same_shape(const KV_TABLE_SCHEMA& a, const KV_TABLE_SCHEMA& b)
{
    const auto is_same = [](const KV_FIELD_SCHEMA& one, const KV_FIELD_SCHEMA& other) {
        return one.name == other.name && one.type == other.type && one.key == other.key &&
               one.default_value == other.default_value;
    };
    return std::equal(a.fields.begin(), a.fields.end(), b.fields.begin(), b.fields.end(), is_same);
}

bool kv_is_same_schema(const KV_DATABASE_SCHEMA& a, const KV_DATABASE_SCHEMA& b)
{
    const bool is_shared = a.tables.isSharedWith(b.tables) && a.queries.isSharedWith(b.queries);
    return a.version == b.version && (is_shared || kv_schema_text(a) == kv_schema_text(b));
}

QStringList kv_removed_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after)
{
    QStringList names = tables_without_like(before, after, [](auto&, auto&) { return true; });
    names.sort();
    return names;
}

QStringList kv_reshaped_tables(const KV_DATABASE_SCHEMA& before, const KV_DATABASE_SCHEMA& after)
{
    return tables_without_like(after, before, kv_has_same_shape);
}

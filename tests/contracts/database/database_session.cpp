#include "tests/contracts/database/database_session.h"

#include <QtCore/QDir>
#include <QtCore/QRegularExpression>

#include "tests/support/cases.h"

namespace {

using GET_LATEST_MODE = KV_QUERY_INTERFACE::GET_LATEST_MODE;

const char STOCK[] = GOX_SOURCE_DIR "/tests/contracts/database/stock/";

QString with_signs(QString text)
{
    static const QRegularExpression many("\\\\(\\d+)x");
    for (QRegularExpressionMatch match; (match = many.match(text)).hasMatch();)
        text.replace(match.captured(), QString(match.captured(1).toInt(), 'x'));
    return text.replace("\\n", "\n")
        .replace("\\r", "\r")
        .replace("\\t", "\t")
        .replace("\\s", " ")
        .replace("\\e", "\x1b")
        .replace("\\h", QChar(0xd800));
}

QVector<KV_EDIT_COMMAND> edit_commands(const QString& text)
{
    const QStringList kinds{"add", "edit", "remove"};
    QVector<KV_EDIT_COMMAND> commands;
    for (const QString& command : text.split(" & ", Qt::SkipEmptyParts)) {
        const QStringList words = command.split(' ');
        commands.append({KV_EDIT_COMMAND::KIND(kinds.indexOf(words[0])), words.value(1),
                         words[0] == "add" ? QString() : words.value(2), record_of(words.last())});
    }
    return commands;
}

QString sorted(QStringList names)
{
    names.sort();
    return names.join(' ');
}

QString text_of(const KV_TABLE_DATA* data)
{
    if (!data)
        return QString();
    const KV_TABLE_DATA& table = *data;
    QStringList fields;
    for (const KV_FIELD_SCHEMA& field : table.schema->fields)
        fields.append(field.name);
    QStringList lines{table.schema->name + '(' + fields.join(',') + ')'};
    lines += lines_of(table.records);
    for (int row = 0; row < table.records.size() && table.schema->key_index() >= 0; ++row)
        if (table.record_with_key(table.value(row, fields[table.schema->key_index()])) !=
            &table.records.at(row))
            lines.append(QString("row %1 is not found by its key").arg(row));
    return lines.join('\n');
}

QString list_of(const QVector<RELATIONSHIP_DATA>& relationships)
{
    QStringList lines;
    for (const RELATIONSHIP_DATA& one : relationships)
        lines.append(one.table + '.' + one.field + '>' + one.lookup_table + '.' + one.lookup_field);
    return lines.join(' ');
}

} // namespace

KV_RECORD_DATA record_of(const QString& values)
{
    KV_RECORD_DATA record;
    for (const QString& value : values.split('|'))
        record.fields.append({with_signs(value)});
    return record;
}

QStringList lines_of(const QVector<KV_RECORD_DATA>& records)
{
    QStringList lines;
    for (const KV_RECORD_DATA& record : records) {
        QStringList values;
        for (const KV_FIELD_DATA& field : record.fields)
            values.append(QString(field.value).replace("\n", "\\n").replace("\r", "\\r"));
        lines.append((record.line ? QString::number(record.line) + ": " : QString()) + values.join('|'));
    }
    return lines;
}

QString content_of(const KV_XML_QUERY_INTERFACE& database)
{
    QString error;
    QStringList tables;
    for (const KV_TABLE_DATA& table : database.get_database_data(error).tables)
        tables.append(text_of(&table));
    return tables.join('\n') + error;
}

QString content_on_disk(const QString& folder)
{
    KV_XML_QUERY_INTERFACE reader(nullptr, QString(), false, true);
    const QString error = reader.connect_without_merge(folder, true);
    return error.isEmpty() ? content_of(reader) : error;
}

QString DATABASE_SESSION::run(const QStringList& commands)
{
    QStringList answers;
    for (const QString& command : commands)
        answers.append(run(command));
    answers.removeAll(QString());
    return answers.join('\n');
}

void DATABASE_SESSION::progress(const QString& text, int done, int total)
{
    m_steps.append(QString("%1 %2/%3").arg(text).arg(done).arg(total));
    if (!step.isEmpty() && text.endsWith(step))
        action();
}

QString DATABASE_SESSION::run(const QString& command)
{
    QString error = "left over";
    const QStringList words = command.split(' ');
    QString answer = this->answer(error, words, command.section(' ', 1));
    if (error == "left over")
        error.clear();
    if (!error.isEmpty())
        answer = (answer.isEmpty() ? "error: " : answer + "\nerror: ") + error;
    if (!error.isEmpty() && get_last_error() != error)
        answer += "\nbut the last error is: " + get_last_error();
    return in_words_of_unix(answer.remove(path() + '/').replace(path(), "FOLDER"));
}

void DATABASE_SESSION::copy_stock() const
{
    for (const QString& file : FILES::below(STOCK))
        write(file, FILES::bytes(STOCK + file));
}

// The table's fields; those that it has already keep type and lookup.
bool DATABASE_SESSION::set_fields(QString& error, const QString& table, const QString& fields)
{
    const KV_TABLE_SCHEMA* const old = get_table_schema(error, table);
    KV_TABLE_SCHEMA schema = old ? *old : KV_TABLE_SCHEMA();
    schema.name = table;
    schema.fields.clear();
    static const QRegularExpression form("^(\\w*)(\\*?)(?::(\\w+))?(?:=([^>]*))?(?:>(\\w+)\\.(\\w+))?$");
    for (const QString& text : fields.split(',')) {
        const QRegularExpressionMatch part = form.match(text);
        KV_FIELD_SCHEMA field =
            old ? old->fields.value(old->field_index(part.captured(1))) : KV_FIELD_SCHEMA();
        field.name = part.captured(1);
        field.key = !part.captured(2).isEmpty();
        field.default_value = with_signs(part.captured(4));
        const QStringList types{"text", "integer", "real", "boolean"};
        if (!part.captured(3).isEmpty())
            field.type = KV_FIELD_SCHEMA::TYPE(types.indexOf(part.captured(3)));
        field.lookup_table = text.contains('>') ? part.captured(5) : field.lookup_table;
        field.lookup_field = text.contains('>') ? part.captured(6) : field.lookup_field;
        schema.fields.append(field);
    }
    return old ? edit_table(error, table, schema) : add_table(error, schema);
}

bool DATABASE_SESSION::keep_tables(QString& error, const QStringList& names)
{
    KV_DATABASE_SCHEMA schema = *get_database_schema(error);
    const auto tables = std::exchange(schema.tables, {});
    for (const QString& name : names)
        schema.tables.append(tables.value(get_database_schema(error)->table_index(name)));
    return change_schema(error, schema);
}

QString DATABASE_SESSION::changes(QString& error)
{
    const auto line = [](const char* name, const QStringList& names) { return name + names.join(' '); };
    return line("tables: ", get_changed_tables(error)) + line("\nfields: ", get_changed_schemas(error)) +
           line("\nfiles: ", get_changed_files(error)) + line("\nnew files: ", get_added_files(error)) +
           line("\nremoved: ", get_deleted_tables(error));
}

QString DATABASE_SESSION::ask(QString& error, const QStringList& words, const QString& rest)
{
    KV_QUERY_RESULTS results;
    results.records = {record_of("left over")};
    QVariantList values;
    for (const QString& value : rest.section(" <- ", 1).split('|', Qt::SkipEmptyParts)) {
        const QVariant number = value.contains('.') ? QVariant(value.toDouble()) : QVariant(value.toInt());
        values.append(value == "null" ? QVariant() : value.contains(QRegExp("[a-z<]")) ? value : number);
    }
    if (words[0] == "query")
        get_query_data(error, results, rest);
    else if (words[0] == "query_text")
        get_query_data_from_string(error, results, rest);
    else
        get_query_data_from_simple_sql(error, results, rest.section(" <- ", 0, 0), values);
    QStringList columns;
    const QStringList types{"", ":integer", ":real", ":boolean"};
    for (const KV_FIELD_SCHEMA& column : qAsConst(results.columns))
        columns.append(column.name + types.at(column.type));
    return (QStringList(columns.join('|')) + lines_of(results.records)).join('\n');
}

QString DATABASE_SESSION::answer(QString& e, const QStringList& words, const QString& rest)
{
    const QString a = words.value(1), b = with_signs(words.value(2)), c = with_signs(words.value(3)),
                  d = with_signs(words.value(4));
    // What an operation answers that does something, that tells yes or no, or a list.
    const auto did = [&](bool is_done) { return is_done == e.isEmpty() ? "" : is_done ? "done" : "false"; };
    const auto tells = [&](bool is_so) { return is_so ? "true" : e.isEmpty() ? "false" : ""; };
    QSet<QString> set{a};
    const QHash<QString, std::function<QString()>> calls{
        {"write", [&] { return write(a, with_signs(rest.section(' ', 1)).toUtf8()), ""; }},
        {"touch", [&] { return FILES::set_time(path(a), FILES::hour(b.toInt())), ""; }},
        {"delete", [&] { return QFile::remove(path(a)) || QDir(path(a)).removeRecursively() ? "" : "no"; }},
        {"link", [&] { return QFile::link(path(a), path(b)) ? "" : "no"; }},
        {"protect",
         [&] { return QFile::setPermissions(path(a), QFile::ReadOwner | QFile::WriteOwner) ? "" : "no"; }},
        {"rights", [&] { return QString::number(QFile::permissions(path(a)) & 0x77, 16); }},
        {"file", [&] { return QString::fromUtf8(FILES::bytes(path(a))).trimmed(); }},
        {"files", [&] { return FILES::below(path()).join(' '); }},
        {"stock", [&] { return copy_stock(), e = connect_without_merge(path(), false), ""; }},
        {"connect", [&] { return e = connect_without_merge(a == "all" ? path() : path(a), a == "all"), ""; }},
        {"connect_mode", [&] { return e = connect(path(), "w", GET_LATEST_MODE(a.toInt()), false), ""; }},
        {"disconnect", [&] { return disconnect(), ""; }},
        {"state",
         [&] {
             return QString("%1 %2 %3, read-only %4, transaction %5")
                 .arg(is_connected() ? "connected" : "not connected", QString::number(version()),
                      connect_string(), QString::number(is_read_only()), QString::number(in_transaction()));
         }},
        {"latest_mod_date", [&] { return latest_mod_date().toString(Qt::ISODate); }},
        {"progress", [&] { return QStringList(std::exchange(m_steps, {})).join('\n'); }},
        {"noted", [&] { return noted([&] { run(rest); }); }},
        {"digest",
         [&] {
             const DIGEST digest = table_digest(a);
             return digest.is_null() ? QString("none") : m_digests.of(digest);
         }},
        {"read_only", [&] { return make_read_only(), ""; }},
        {"show", [&] { return a.isEmpty() ? content_of(*this) : text_of(get_table_data(e, a)); }},
        {"hold", [&] { return text_of(m_held = get_table_data(e, a)); }},
        {"held", [&] { return text_of(m_held); }},
        {"is_held", [&] { return tells(m_held == get_table_data(e, a)); }},
        {"show_schema",
         [&] {
             return save_schema(e, path("shown")), QString::fromUtf8(FILES::bytes(path("shown"))).trimmed();
         }},
        {"names", [&] { return get_table_names(e).join(' '); }},
        {"names_at", [&] { return get_table_names_disconnected(e, path(a)).join(' '); }},
        {"queries", [&] { return QString::number(get_query_schemas(e).size()); }},
        {"schema_of", [&] { return tells(get_table_schema(e, a)); }},
        {"changes", [&] { return changes(e); }},
        {"filter",
         [&] {
             const KV_TABLE_DATA found = get_table_data(e, a, rest.section(' ', 1));
             return text_of(found.schema ? &found : nullptr);
         }},
        {"ask", [&] { return ask(e, words, rest); }},
        {"query", [&] { return ask(e, words, rest); }},
        {"query_text", [&] { return ask(e, words, rest); }},
        {"add", [&] { return did(add_record(e, a, record_of(rest.section(' ', 1)))); }},
        {"edit", [&] { return did(edit_record_data(e, a, b, record_of(c))); }},
        {"remove", [&] { return did(remove_record(e, a, b)); }},
        {"set", [&] { return did(edit_field_data(e, a, b, c, d)); }},
        {"all", [&] { return did(apply_edit_commands(e, edit_commands(rest))); }},
        {"fields", [&] { return did(set_fields(e, a, b)); }},
        {"tables", [&] { return did(keep_tables(e, words.mid(1))); }},
        {"remove_table", [&] { return did(remove_table(e, a)); }},
        {"describe", [&] { return did(set_field_description(e, a, b, c)); }},
        {"remove_within", [&] { return did(remove_record_within_transaction(e, a, b)); }},
        {"key_exists", [&] { return tells(key_exists_within_transaction(e, a, b)); }},
        {"begin_transaction", [&] { return did(begin_transaction(e, a == "true")); }},
        {"end_transaction", [&] { return did(end_transaction(e)); }},
        {"terminate_transaction", [&] { return did(terminate_transaction(e)); }},
        {"save_table", [&] { return did(b.isEmpty() ? save_table(e, a) : save_table(e, words.mid(1))); }},
        {"save_schema", [&] { return did(a.isEmpty() ? save_schema(e) : save_schema(e, path(a))); }},
        {"save_relationships", [&] { return did(save_relationships(e)); }},
        {"revert_changes", [&] { return did(revert_changes(e)); }},
        {"revert_single_table", [&] { return did(revert_single_table(e, a)); }},
        {"clear_table_data", [&] { return did(clear_table_data(e, a)); }},
        {"copy_db", [&] { return e = create_db_copy_for_diff(path(a)), ""; }},
        {"can_add", [&] { return tells(can_add_table_records(e, a)); }},
        {"can_edit", [&] { return tells(can_edit_table_records(e, a)); }},
        {"can_remove", [&] { return tells(can_remove_table_records(e, a)); }},
        {"table_restricted", [&] { return tells(table_restricted(e, a)); }},
        {"add_dependents", [&] { return add_dependent_tables_to_set(e, set), sorted(set.values()); }},
        {"add_dependencies", [&] { return add_dependency_tables_to_set(e, set), sorted(set.values()); }},
        {"collect_dependants", [&] { return collect_dependant_tables(e, a).join(' '); }},
        {"collect_dependencies", [&] { return collect_dependency_tables(e, a).join(' '); }},
        {"relationship_data", [&] { return list_of(relationship_data(e, a)); }},
        {"any_dependents", [&] { return tells(any_dependents_using_existing_value(e, a, b, c)); }},
        {"dependents", [&] { return list_of(dependents_of_field_using_value(e, a, b, c)); }},
        {"value_exists", [&] { return tells(dependency_value_exists(e, a, b, c)); }},
        {"lookup_value", [&] { return get_field_lookup_value(e, a, b, c, d); }},
        {"lookup_values", [&] { return get_field_lookup_values(e, a, b).join(' '); }},
        {"main_dependency",
         [&] {
             return get_main_dependency_field_data(e, a, b).table + '.' +
                    get_main_dependency_field_data(e, a, b).field.name;
         }},
        {"approve_text", [&] { return tells(approve_text(e, a, b, c)); }},
        {"submit_request_change", [&] { return e = submit_request_change(a), ""; }},
        {"perforce_root", [&] { return perforce_root(e); }},
        {"basic_merge", [&] { return tells(basic_merge(e, a, GET_LATEST_MODE(0), false)); }},
        {"exported_table_list", [&] { return exported_table_list(e).join(' '); }},
        {"is_database_locked", [&] { return tells(is_database_locked(e)); }},
        {"table_uuids_match", [&] { return tells(table_uuids_match(e, a)); }},
        {"create_submission_dialog", [&] { return tells(create_submission_dialog(e, nullptr)); }},
    };
    if (!calls.contains(words[0]))
        qFatal("there is no command %s", qPrintable(words.join(' ')));
    return calls.value(words[0])();
}

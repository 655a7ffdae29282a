#pragma once

#include <QtCore/QHash>

#include <functional>

#include "tests/contracts/database/database_scene.h"

// A small language for changes of a database, so that a test can be a table of
// them. Words are separated by single spaces, values of a record by "|":
//
//     add T VALUES   edit T KEY VALUES   remove T KEY   set T KEY FIELD VALUE
//     all COMMAND & COMMAND     apply_edit_commands
//     fields T A*,B:real,C=5>T.A  edit_table, or add_table for a new one; "*" is the key,
//                                 a default and a lookup
//     tables T T                change_schema: these tables stay, in this order
//
// and the rest by the names of the operations.

using DB = KV_XML_QUERY_INTERFACE;

inline KV_EDIT_COMMAND edit_command(const QStringList& words)
{
    const QStringList kinds{"add", "edit", "remove"};
    KV_EDIT_COMMAND command;
    command.kind = KV_EDIT_COMMAND::KIND(kinds.indexOf(words.first()));
    command.table = words.value(1);
    if (command.kind != KV_EDIT_COMMAND::ADD_RECORD)
        command.key = words.value(2);
    if (command.kind != KV_EDIT_COMMAND::REMOVE_RECORD)
        command.record = record_of(words.last().split('|'));
    return command;
}

/// The table's fields; those that it has already keep type and lookup.
inline bool set_fields(DB& db, QString& error, const QString& table, const QString& fields)
{
    const KV_TABLE_SCHEMA* const old = db.get_table_schema(error, table);
    KV_TABLE_SCHEMA schema = old ? *old : KV_TABLE_SCHEMA();
    schema.name = table;
    schema.fields.clear();
    for (const QString& text : fields.split(',')) {
        const QString name = text.section(QRegExp("[*:=>]"), 0, 0);
        KV_FIELD_SCHEMA field = old ? old->fields.value(old->field_index(name)) : KV_FIELD_SCHEMA();
        field.name = name;
        field.key = text.contains('*');
        field.default_value = text.section('>', 0, 0).section('=', 1);
        if (text.contains('>')) {
            field.lookup_table = text.section(QRegExp("[>.]"), 1, 1);
            field.lookup_field = text.section('.', 1);
        }
        if (text.contains(":real"))
            field.type = KV_FIELD_SCHEMA::REAL;
        schema.fields.append(field);
    }
    return old ? db.edit_table(error, table, schema) : db.add_table(error, schema);
}

inline bool run_words(DB& db, QString& e, const QStringList& words)
{
    using CALL = std::function<bool()>;
    const QString table = words.value(1), key = words.value(2);
    const QHash<QString, CALL> calls{
        {"add", [&] { return db.add_record(e, table, edit_command(words).record); }},
        {"edit", [&] { return db.edit_record_data(e, table, key, edit_command(words).record); }},
        {"remove", [&] { return db.remove_record(e, table, key); }},
        {"set", [&] { return db.edit_field_data(e, table, key, words.value(3), words.value(4)); }},
        {"fields", [&] { return set_fields(db, e, table, key); }},
        {"tables",
         [&] {
             KV_DATABASE_SCHEMA schema = *db.get_database_schema(e);
             const QVector<QSharedPointer<const KV_TABLE_SCHEMA>> known = schema.tables;
             schema.tables.clear();
             for (const QString& name : words.mid(1))
                 schema.tables.append(known.at(db.get_database_schema(e)->table_index(name)));
             return db.change_schema(e, schema);
         }},
        {"all",
         [&] {
             QVector<KV_EDIT_COMMAND> commands;
             for (const QString& command : words.mid(1).join(' ').split(" & "))
                 commands.append(edit_command(command.split(' ')));
             return db.apply_edit_commands(e, commands);
         }},
        {"remove_table", [&] { return db.remove_table(e, table); }},
        {"set_field_description", [&] { return db.set_field_description(e, table, key, words.value(3)); }},
        {"remove_record_within_transaction",
         [&] { return db.remove_record_within_transaction(e, table, key); }},
        {"key_exists_within_transaction", [&] { return db.key_exists_within_transaction(e, table, key); }},
        {"begin_transaction", [&] { return db.begin_transaction(e, table == "true"); }},
        {"end_transaction", [&] { return db.end_transaction(e); }},
        {"terminate_transaction", [&] { return db.terminate_transaction(e); }},
        {"save_table",
         [&] { return key.isEmpty() ? db.save_table(e, table) : db.save_table(e, words.mid(1)); }},
        {"save_schema", [&] { return table.isEmpty() ? db.save_schema(e) : db.save_schema(e, table); }},
        {"save_relationships", [&] { return db.save_relationships(e); }},
        {"revert_changes", [&] { return db.revert_changes(e); }},
        {"revert_single_table", [&] { return db.revert_single_table(e, table); }},
        {"clear_table_data", [&] { return db.clear_table_data(e, table); }},
        {"can_add_table_records", [&] { return db.can_add_table_records(e, table); }},
        {"can_edit_table_records", [&] { return db.can_edit_table_records(e, table); }},
        {"can_remove_table_records", [&] { return db.can_remove_table_records(e, table); }},
        {"table_restricted", [&] { return !db.table_restricted(e, table); }},
        {"create_db_copy_for_diff", [&] { return (e = db.create_db_copy_for_diff(table)).isEmpty(); }},
    };
    if (!calls.contains(words.first()))
        qFatal("there is no command %s", qPrintable(words.join(' ')));
    return calls.value(words.first())();
}

/// The error of a command, empty on success. "false" for a failure without one.
inline QString run(DB& db, const QString& command)
{
    QString error = "left over";
    const bool is_done = run_words(db, error, command.split(' '));
    if (is_done != error.isEmpty())
        return is_done ? "done, but: " + error : "false";
    return error;
}

/// The rows of a table in a raw string: "COMMAND => EXPECTED".
inline QVector<QStringList> rows_of(const char* table)
{
    QVector<QStringList> rows;
    for (const QString& line : QString(table).split('\n', Qt::SkipEmptyParts))
        rows.append(line.split(" => "));
    return rows;
}

/// The tables of a database, one text a table, and the error.
inline QStringList content(const DB& db)
{
    QString error;
    QStringList tables;
    const KV_DATABASE_DATA data = db.get_database_data(error);
    for (const KV_TABLE_DATA& table : data.tables) {
        QStringList fields;
        for (const KV_FIELD_SCHEMA& field : table.schema->fields)
            fields.append(field.name);
        tables.append(table.schema->name + '(' + fields.join(',') +
                      "): " + text_of(table.records).join("; "));
    }
    return tables + QStringList(error);
}

/// The same without the lines of the records.
inline QString content_text(const DB& db)
{
    return content(db).join(" / ").remove(QRegExp("\\b\\d+: "));
}

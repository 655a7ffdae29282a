#pragma once

#include <QtCore/QTemporaryDir>

#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/database/progress_callback.h"
#include "tests/support/files.h"

/// A database folder and a service over it. With what a protected operation
/// says made public.
class DATABASE_SCENE : public KV_XML_QUERY_INTERFACE
{
public:
    explicit DATABASE_SCENE(bool skip_unknown_fields = false, PROGRESS_CALLBACK* progress = nullptr)
        : KV_XML_QUERY_INTERFACE(progress, QStringLiteral("ws"), skip_unknown_fields, false)
    {
    }

    void write(const QString& file, const QByteArray& bytes) const { FILES::write(path(file), bytes); }
    QString path(const QString& file) const { return m_folder.filePath(file); }
    QString folder() const { return m_folder.path(); }

    QString connect_here(bool load_all = false) { return connect_without_merge(folder(), load_all); }

    using KV_XML_QUERY_INTERFACE::get_last_error;

    /// `text` with the folder's path taken out.
    QString without_folder(QString text) const { return text.remove(folder() + '/'); }

    /// Three tables and two queries, connected: packs look up a region, the
    /// records of "log" have no key.
    void connect_stock()
    {
        write("schema.xml", R"(<database version="1">
  <table name="packs"><field name="name" key="true"/><field name="size" type="integer" default="1"/>
    <field name="note"/><field name="region" lookup="regions.code"/></table>
  <table name="regions"><field name="code" key="true"/><field name="scale" type="real" default="1"/>
    <field name="open" type="boolean"/></table>
  <table name="log"><field name="text"/></table>
  <query name="northern">SELECT name FROM packs WHERE region = 'n'</query>
  <query name="broken">SELECT missing FROM packs</query>
</database>)");
        write("packs.xml",
              "<table name='packs'>\n<record name='a' region='n'/>\n"
              "<record name='b' size='-5' note='x'/>\n<record name='c' region='lost'/>\n</table>");
        write("regions.xml", "<table name='regions'>\n<record code='n' scale='2.50'/>\n"
                             "<record code='s' open='true'/>\n</table>");
        write("log.xml", "<table name='log'>\n<record text='t'/>\n</table>");
        connect_here();
    }

private:
    QTemporaryDir m_folder;
};

/// A record of these values.
inline KV_RECORD_DATA record_of(const QStringList& values)
{
    KV_RECORD_DATA record;
    for (const QString& value : values)
        record.fields.append({value});
    return record;
}

/// One line a record: its values, behind its line in the file unless that is 0.
inline QStringList text_of(const QVector<KV_RECORD_DATA>& records)
{
    QStringList lines;
    for (const KV_RECORD_DATA& record : records) {
        QStringList values;
        for (const KV_FIELD_DATA& field : record.fields)
            values.append(field.value);
        lines.append((record.line ? QString::number(record.line) + ": " : QString()) + values.join('|'));
    }
    return lines;
}

/// A schema of one table "packs": name (key), size (integer, default 1), ratio
/// (real), raw (boolean), note.
inline QByteArray packs_schema()
{
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<database version="1">
  <table name="packs" description="what is packed">
    <field name="name" type="text" key="true"/>
    <field name="size" type="integer" default="1"/>
    <field name="ratio" type="real"/>
    <field name="raw" type="boolean" default="false"/>
    <field name="note"/>
  </table>
</database>
)";
}

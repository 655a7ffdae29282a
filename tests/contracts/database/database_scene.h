#pragma once

#include <QtCore/QTemporaryDir>

#include "contracts/database/kv_xml_query_interface.h"
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

private:
    QTemporaryDir m_folder;
};

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

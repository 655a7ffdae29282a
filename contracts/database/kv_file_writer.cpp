#include "contracts/database/kv_files.h"

#include <QtCore/QBuffer>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtCore/QXmlStreamWriter>

#include "contracts/database/kv_schemas.h"
#include "contracts/services/file_replacement.h"

namespace {

constexpr int MAX_ATTRIBUTE_LENGTH = 200; // so that a tag of many fields stays readable
constexpr int FIRST_RECORD_LINE = 3;      // below the XML declaration and <table>
constexpr int PIECE_BYTES = 1 << 16;      // written at once
constexpr char LINE_RETURN[] = "&#13;";   // bare, the parser would make "\n" of it

// Those that have a value.
void write_attributes(QXmlStreamWriter& xml,
                      std::initializer_list<std::pair<const char*, QString>> attributes)
{
    for (const auto& [name, value] : attributes)
        if (!value.isEmpty())
            xml.writeAttribute(QLatin1String(name), value);
}

void write_field(QXmlStreamWriter& xml, const KV_FIELD_SCHEMA& field)
{
    const QString lookup = field.lookup_table + '.' + field.lookup_field;
    xml.writeEmptyElement(QStringLiteral("field"));
    write_attributes(
        xml, {{"name", field.name},
              {"type", field.type == KV_FIELD_SCHEMA::TEXT ? QString() : kv_type_names().value(field.type)},
              {"key", field.key ? "true" : ""},
              {"default", field.default_value},
              {"lookup", field.lookup_table.isEmpty() ? QString() : lookup},
              {"description", field.description}});
}

void write_record(QXmlStreamWriter& xml, const KV_TABLE_SCHEMA& schema, const KV_RECORD_DATA& record)
{
    xml.writeCharacters(QStringLiteral("\n  "));
    xml.writeStartElement(QStringLiteral("record"));
    QVector<int> long_fields;
    for (int i = 0; i < schema.fields.size(); ++i) {
        const QString& value = record.fields.at(i).value;
        if (value == schema.fields.at(i).default_value)
            continue;
        if (value.size() > MAX_ATTRIBUTE_LENGTH || value.contains('\n') || value.contains('\r'))
            long_fields.append(i);
        else
            xml.writeAttribute(schema.fields.at(i).name, value);
    }
    for (const int i : long_fields) {
        xml.writeStartElement(schema.fields.at(i).name);
        xml.writeCharacters(record.fields.at(i).value);
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

// Moves what has come together into the file.
bool move_piece(QBuffer& piece, QIODevice& file)
{
    piece.buffer().replace('\r', LINE_RETURN);
    const bool is_good = write_all(file, piece.data(), piece.size());
    piece.buffer().clear();
    return is_good && piece.seek(0);
}

bool write_table(QIODevice& file, const KV_TABLE_DATA& table)
{
    QBuffer piece;
    piece.open(QIODevice::WriteOnly);
    QXmlStreamWriter xml(&piece);
    xml.writeStartDocument();
    xml.writeCharacters(QStringLiteral("\n"));
    xml.writeStartElement(QStringLiteral("table"));
    write_attributes(xml, {{"name", table.schema->name}});
    for (const KV_RECORD_DATA& record : table.records) {
        write_record(xml, *table.schema, record);
        if (piece.size() >= PIECE_BYTES && !move_piece(piece, file))
            return false;
    }
    xml.writeCharacters(QStringLiteral("\n"));
    xml.writeEndDocument();
    return move_piece(piece, file);
}

} // namespace

QByteArray kv_schema_text(const KV_DATABASE_SCHEMA& schema)
{
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("database"));
    xml.writeAttribute(QStringLiteral("version"), QString::number(KV_FORMAT_VERSION));
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables) {
        xml.writeStartElement(QStringLiteral("table"));
        write_attributes(xml, {{"name", table->name}, {"description", table->description}});
        for (const KV_FIELD_SCHEMA& field : table->fields)
            write_field(xml, field);
        xml.writeEndElement();
    }
    for (const KV_QUERY_SCHEMA& query : schema.queries) {
        xml.writeStartElement(QStringLiteral("query"));
        write_attributes(xml, {{"name", query.name}, {"description", query.description}});
        xml.writeCharacters(query.sql);
        xml.writeEndElement();
    }
    xml.writeEndDocument();
    return text.replace('\r', LINE_RETURN);
}

void number_written_lines(KV_TABLE_DATA& table)
{
    int line = FIRST_RECORD_LINE;
    for (KV_RECORD_DATA& record : table.records) {
        record.line = line++;
        for (int i = 0; i < table.schema->fields.size(); ++i) {
            const QString& value = qAsConst(record).fields.at(i).value;
            if (value != table.schema->fields.at(i).default_value)
                line += value.count('\n');
        }
    }
}

QString kv_write_file(const QString& path, const KV_FILE_TO_WRITE& content)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return file.errorString();
    const QByteArray schema = content.schema ? kv_schema_text(*content.schema) : QByteArray();
    if (!(content.schema ? write_all(file, schema, schema.size()) : write_table(file, content.table)))
        return file.errorString();
    const qint64 max_bytes = content.schema ? KV_MAX_SCHEMA_BYTES : KV_MAX_TABLE_BYTES;
    if (file.size() > max_bytes)
        return kv_text("it would be larger than %1 bytes", max_bytes); // to be read again
    const QString model = behind_links(content.path);
    if (QFileInfo::exists(model))
        file.setPermissions(QFile::permissions(model)); // where the file system has any
    return file.commit() ? QString() : file.errorString();
}

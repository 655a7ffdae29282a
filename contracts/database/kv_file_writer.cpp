#include "contracts/database/kv_file_writer.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtCore/QXmlStreamWriter>

#include <algorithm>
#include <memory>
#include <vector>

#include "contracts/database/kv_schema_reader.h"
#include "contracts/database/kv_schema_rules.h"
#include "contracts/database/progress_callback.h"

namespace {

constexpr int MAX_ATTRIBUTE_LENGTH = 200; // so that a tag of many fields stays readable
constexpr int FIRST_RECORD_LINE = 3;      // below the XML declaration and <table>

// The parser makes one line end of a "\r\n" that it meets in a text.
void write_text(QXmlStreamWriter& xml, const QString& text)
{
    const QStringList parts = text.split('\r');
    xml.writeCharacters(parts.first());
    for (int i = 1; i < parts.size(); ++i) {
        xml.writeEntityReference(QStringLiteral("#13"));
        xml.writeCharacters(parts.at(i));
    }
}

bool is_long(const QString& value)
{
    return value.size() > MAX_ATTRIBUTE_LENGTH || value.contains('\n') || value.contains('\r');
}

void write_if_set(QXmlStreamWriter& xml, const char* name, const QString& value)
{
    if (!value.isEmpty())
        xml.writeAttribute(QLatin1String(name), value);
}

void write_field(QXmlStreamWriter& xml, const KV_FIELD_SCHEMA& field)
{
    xml.writeEmptyElement(QStringLiteral("field"));
    xml.writeAttribute(QStringLiteral("name"), field.name);
    if (field.type != KV_FIELD_SCHEMA::TEXT)
        xml.writeAttribute(QStringLiteral("type"), kv_type_name(field.type));
    if (field.key)
        xml.writeAttribute(QStringLiteral("key"), QStringLiteral("true"));
    write_if_set(xml, "default", field.default_value);
    if (!field.lookup_table.isEmpty())
        xml.writeAttribute(QStringLiteral("lookup"), field.lookup_table + '.' + field.lookup_field);
    write_if_set(xml, "description", field.description);
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
        if (is_long(value))
            long_fields.append(i);
        else
            xml.writeAttribute(schema.fields.at(i).name, value);
    }
    for (const int i : long_fields) {
        xml.writeStartElement(schema.fields.at(i).name);
        write_text(xml, record.fields.at(i).value);
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

QString cannot_write(const QString& path, const QString& cause)
{
    return QStringLiteral("%1: can't be written: %2").arg(path, cause);
}

// Files that are written, but have not taken the places of the old ones.
class PREPARED_FILES
{
public:
    QString add(const KV_FILE_TO_WRITE& file)
    {
        if (!(KV_FILE_STAMP::of(file.path) == file.stamp))
            return cannot_write(file.path, QStringLiteral("somebody else changed it since it was read"));
        m_files.push_back(std::make_unique<QSaveFile>(file.path));
        QSaveFile& target = *m_files.back();
        if (target.open(QIODevice::WriteOnly))
            file.write(target);
        const bool is_written = target.isOpen() && target.flush() && target.error() == QFile::NoError;
        if (is_written && target.size() > file.max_bytes)
            return cannot_write(file.path,
                                QStringLiteral("it would be larger than %1 bytes").arg(file.max_bytes));
        if (is_written)
            return QString();
        // A disk that took a part says why it takes no more when it is asked again.
        if (target.isOpen())
            target.flush();
        return cannot_write(file.path, target.errorString());
    }

    QString put_in_place(int index)
    {
        QSaveFile& file = *m_files[std::size_t(index)];
        return file.commit() ? QString() : cannot_write(file.fileName(), file.errorString());
    }

private:
    std::vector<std::unique_ptr<QSaveFile>> m_files;
};

QString write_some(const QVector<KV_FILE_TO_WRITE>& files, int begin, int end, PROGRESS_CALLBACK* progress,
                   QVector<int>& written)
{
    PREPARED_FILES prepared;
    for (int i = begin; i < end; ++i) {
        if (progress)
            progress->progress(QStringLiteral("Writing %1").arg(files.at(i).path), i, files.size());
        const QString error = prepared.add(files.at(i));
        if (!error.isEmpty())
            return error;
    }
    for (int i = begin; i < end; ++i) {
        if (progress)
            progress->progress(QStringLiteral("Saving %1").arg(files.at(i).path), i, files.size());
        const QString error = prepared.put_in_place(i - begin);
        if (!error.isEmpty())
            return error;
        written.append(i);
    }
    return QString();
}

QString outcome(const QVector<KV_FILE_TO_WRITE>& files, const QVector<int>& written)
{
    QStringList done, left;
    for (int i = 0; i < files.size(); ++i)
        (written.contains(i) ? done : left).append(QFileInfo(files.at(i).path).fileName());
    if (done.isEmpty())
        return QStringLiteral("no file was written: %1").arg(left.join(QStringLiteral(", ")));
    return QStringLiteral("written: %1; not written: %2")
        .arg(done.join(QStringLiteral(", ")), left.join(QStringLiteral(", ")));
}

} // namespace

void write_database_schema(QIODevice& device, const KV_DATABASE_SCHEMA& schema)
{
    QXmlStreamWriter xml(&device);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("database"));
    xml.writeAttribute(QStringLiteral("version"), QString::number(KV_FORMAT_VERSION));
    for (const QSharedPointer<const KV_TABLE_SCHEMA>& table : schema.tables) {
        xml.writeStartElement(QStringLiteral("table"));
        xml.writeAttribute(QStringLiteral("name"), table->name);
        write_if_set(xml, "description", table->description);
        for (const KV_FIELD_SCHEMA& field : table->fields)
            write_field(xml, field);
        xml.writeEndElement();
    }
    for (const KV_QUERY_SCHEMA& query : schema.queries) {
        xml.writeStartElement(QStringLiteral("query"));
        xml.writeAttribute(QStringLiteral("name"), query.name);
        write_if_set(xml, "description", query.description);
        write_text(xml, query.sql);
        xml.writeEndElement();
    }
    xml.writeEndDocument();
}

void write_database_table(QIODevice& device, const KV_TABLE_DATA& table)
{
    QXmlStreamWriter xml(&device);
    xml.writeStartDocument();
    xml.writeCharacters(QStringLiteral("\n"));
    xml.writeStartElement(QStringLiteral("table"));
    xml.writeAttribute(QStringLiteral("name"), table.schema->name);
    for (const KV_RECORD_DATA& record : table.records)
        write_record(xml, *table.schema, record);
    xml.writeCharacters(QStringLiteral("\n"));
    xml.writeEndElement();
    xml.writeEndDocument();
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

KV_FILE_STAMP KV_FILE_STAMP::of(const QString& path)
{
    const QFileInfo info(path);
    KV_FILE_STAMP stamp;
    if (info.exists()) {
        stamp.time = info.lastModified().toUTC();
        stamp.size = info.size();
    }
    return stamp;
}

QString write_database_files(const QVector<KV_FILE_TO_WRITE>& files, PROGRESS_CALLBACK* progress,
                             QVector<int>& written)
{
    QString error;
    for (int begin = 0; begin < files.size() && error.isEmpty(); begin += KV_FILES_AT_ONCE)
        error = write_some(files, begin, std::min(begin + KV_FILES_AT_ONCE, files.size()), progress, written);
    return error.isEmpty() || files.size() < 2 ? error : error + '\n' + outcome(files, written);
}

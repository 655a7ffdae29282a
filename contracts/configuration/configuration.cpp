#include "contracts/configuration/configuration.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>
#include <QtCore/QXmlStreamWriter>

#include "contracts/services/nearest_name.h"
#include "contracts/services/whole_file.h"
#include "contracts/services/xml_file_reader.h"

// The format is described in docs/file-formats-configuration.md.

namespace {

constexpr const char* ROOT = "configuration";
constexpr int VERSION = 1;

// More entries in one list are taken for a fault.
constexpr int MAX_ENTRIES = 1000000;

// So many unknown elements are told one by one.
constexpr int MAX_TOLD = 100;

struct FLAG
{
    const char* element;
    bool CONFIGURATION::*member;
};

template <typename LIST>
struct NAMED_LIST
{
    const char* element;
    const char* entry;
    LIST CONFIGURATION::*member;
};

constexpr NAMED_LIST<QVector<QString>> NAME_LISTS[] = {
    {"processors", "processor", &CONFIGURATION::processors},
    {"directories", "directory", &CONFIGURATION::directories},
    {"global_rules", "global_rule", &CONFIGURATION::global_rules},
};

constexpr NAMED_LIST<QStringList> PATTERN_LISTS[] = {
    {"selected_providers", "pattern", &CONFIGURATION::selected_providers},
    {"selected_consumers", "pattern", &CONFIGURATION::selected_consumers},
};

constexpr FLAG FLAGS[] = {
    {"retail", &CONFIGURATION::retail},
    {"silent", &CONFIGURATION::silent},
    {"no_progress_dialog", &CONFIGURATION::no_progress_dialog},
    {"p4_option", &CONFIGURATION::p4_option},
    {"scan_perforce", &CONFIGURATION::scan_perforce},
    {"keep_output", &CONFIGURATION::keep_output},
    {"load_asset_graph", &CONFIGURATION::load_asset_graph},
    {"clean_asset_graph", &CONFIGURATION::clean_asset_graph},
    {"get_latest", &CONFIGURATION::get_latest},
};

constexpr const char* MERGE_ELEMENT = "merge_db_for_checkin";

template <typename ROW, std::size_t N>
const ROW* find_row(const ROW (&table)[N], const QString& element)
{
    for (const ROW& row : table)
        if (element == QLatin1String(row.element))
            return &row;
    return nullptr;
}

// Leaves out an element of a name that is not among `known`.
void pass_over(XML_FILE_READER& xml, const QStringList& known, QStringList& passed_over)
{
    const QString element = xml.name().toString();
    if (passed_over.size() < MAX_TOLD)
        passed_over.append(
            QStringLiteral("%1: <%2> is not known and is passed over%3")
                .arg(xml.place(), element, suggestion_for(element, known, QString('<'), QString('>'))));
    else if (passed_over.size() == MAX_TOLD)
        passed_over.append(xml.place() + ": there are still more unknown elements");
    xml.skip();
}

template <typename LIST>
void read_list(XML_FILE_READER& xml, const char* entry, LIST& list, QStringList& passed_over)
{
    list.clear();
    while (xml.next_child()) {
        if (xml.name() != QLatin1String(entry)) {
            pass_over(xml, {QLatin1String(entry)}, passed_over);
            continue;
        }
        xml.allow_attributes({});
        const QString text = xml.text().trimmed();
        if (text.isEmpty())
            xml.fail(QStringLiteral("<%1> is empty").arg(QLatin1String(entry)));
        else if (list.size() == MAX_ENTRIES)
            xml.fail(QStringLiteral("more than %1 entries in one list").arg(MAX_ENTRIES));
        else
            list.append(text);
    }
}

void read_number(XML_FILE_READER& xml, int& number)
{
    const QString element = xml.name().toString();
    const QString text = xml.text().trimmed();
    bool is_number = false;
    const int value = text.toInt(&is_number);
    if (is_number)
        number = value;
    else
        xml.fail(QStringLiteral("<%1> must be a whole number, not \"%2\"").arg(element, text));
}

template <typename ROW, std::size_t N>
void add_elements(const ROW (&table)[N], QStringList& elements)
{
    for (const ROW& row : table)
        elements.append(QLatin1String(row.element));
}

QStringList known_elements()
{
    QStringList elements{QLatin1String(MERGE_ELEMENT)};
    add_elements(NAME_LISTS, elements);
    add_elements(PATTERN_LISTS, elements);
    add_elements(FLAGS, elements);
    return elements;
}

void read_member(XML_FILE_READER& xml, const QString& element, CONFIGURATION& record,
                 QStringList& passed_over)
{
    if (const FLAG* const flag = find_row(FLAGS, element))
        xml.boolean(record.*flag->member);
    else if (const auto* const names = find_row(NAME_LISTS, element))
        read_list(xml, names->entry, record.*names->member, passed_over);
    else if (const auto* const patterns = find_row(PATTERN_LISTS, element))
        read_list(xml, patterns->entry, record.*patterns->member, passed_over);
    else
        read_number(xml, record.merge_db_for_checkin);
}

bool read_members(XML_FILE_READER& xml, CONFIGURATION& record, QStringList& passed_over)
{
    const QStringList known = known_elements();
    xml.allow_attributes({"version"});
    xml.check_version(VERSION);
    QSet<QString> met;
    while (xml.next_child()) {
        const QString element = xml.name().toString();
        if (!known.contains(element)) {
            pass_over(xml, known, passed_over);
            continue;
        }
        if (met.contains(element))
            xml.fail(QStringLiteral("<%1> stands twice").arg(element));
        met.insert(element);
        if (xml.allow_attributes({}))
            read_member(xml, element, record, passed_over);
    }
    return xml.finish();
}

template <typename LIST>
void write_list(QXmlStreamWriter& xml, const NAMED_LIST<LIST>& row, const LIST& list)
{
    xml.writeStartElement(row.element);
    for (const QString& entry : list)
        if (!entry.trimmed().isEmpty())
            xml.writeTextElement(row.entry, entry.trimmed());
    xml.writeEndElement();
}

// Empty when the record holds characters that can't stand in XML.
QByteArray text_of(const CONFIGURATION& record)
{
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(ROOT);
    xml.writeAttribute(QStringLiteral("version"), QString::number(VERSION));
    for (const auto& row : NAME_LISTS)
        write_list(xml, row, record.*row.member);
    for (const FLAG& flag : FLAGS)
        xml.writeTextElement(flag.element, record.*flag.member ? "true" : "false");
    xml.writeTextElement(MERGE_ELEMENT, QString::number(record.merge_db_for_checkin));
    for (const auto& row : PATTERN_LISTS)
        write_list(xml, row, record.*row.member);
    xml.writeEndElement();
    xml.writeEndDocument();
    return xml.hasError() ? QByteArray() : text;
}

// Some characters come back as others.
bool comes_back(const QByteArray& text)
{
    XML_FILE_READER xml{QString()};
    CONFIGURATION again;
    QStringList passed_over;
    return !text.isEmpty() && xml.open(text, ROOT) && read_members(xml, again, passed_over) &&
           text_of(again) == text;
}

bool holds(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && file.size() == text.size() &&
           file.readAll() == text;
}

} // namespace

bool CONFIGURATION::load(const QString& path, QString& error)
{
    QStringList passed_over;
    return load(path, error, passed_over);
}

bool CONFIGURATION::load(const QString& path, QString& error, QStringList& passed_over)
{
    XML_FILE_READER xml(path);
    CONFIGURATION record = *this;
    if (!xml.open(ROOT) || !read_members(xml, record, passed_over)) {
        error = xml.error();
        return false;
    }
    *this = record;
    return true;
}

bool CONFIGURATION::save(const QString& path, bool only_if_changed) const
{
    QString error;
    return save(path, only_if_changed, error);
}

bool CONFIGURATION::save(const QString& path, bool only_if_changed, QString& error) const
{
    const QByteArray text = text_of(*this);
    if (!comes_back(text)) {
        error = path + QStringLiteral(": can't be written: an entry has characters that XML can't hold");
        return false;
    }
    if (only_if_changed && holds(path, text))
        return true;
    error = write_whole_file(path, text);
    return error.isEmpty();
}

#include "record/record_reader.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>

#include <algorithm>

#include "contracts/services/file_replacement.h"
#include "record/record_file.h"
#include "record/record_rows.h"

namespace {

// The entry that counts of two of the same action.
bool is_newer(const BUILD_ENTRY& a, const BUILD_ENTRY& b)
{
    return a.ended != b.ended ? a.ended > b.ended : a.is_gone && !b.is_gone;
}

// Why nothing can be written to the record, or empty. Looking changes nothing.
QString write_fault(const QString& path)
{
    if (!takes_new_files(QFileInfo(path).path()))
        return QStringLiteral("the folder is not writable");
    QFile file(path);
    const bool is_writable = !file.exists() || file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly);
    return is_writable ? QString() : without_full_stop(file.errorString());
}

} // namespace

struct RECORD_CONTENT::PART
{
    QString name;
    QString path;
    int first = 0; // of its entries
    int count = 0;
    RECORD_ROWS rows;         // of the own record only
    quint64 sum = 0;          // of the seal, when it was read
    RECORD_FILE file;         // open for the details, outside of transactions
    RECORD_STATEMENT details; // none until somebody asks

    bool fetch(int place, const BUILD_ENTRY& entry, BUILD_ENTRY_DETAILS& result);
    bool has_changed();
};

// False after a fault and when the action has run since.
bool RECORD_CONTENT::PART::fetch(int place, const BUILD_ENTRY& entry, BUILD_ENTRY_DETAILS& result)
{
    if (!details.is_there())
        details = RECORD_STATEMENT(file, "SELECT name, checksum, packed FROM details WHERE slot = ?");
    details.bind(1, place - first);
    if (details.step()) {
        const QByteArray name = details.copy(0);
        const quint64 checksum = quint64(details.number(1));
        const QByteArray packed = details.copy(2);
        details.reset();
        result.name = QString::fromUtf8(name);
        if (checksum == details_checksum(entry, name, packed) && unpack_details(packed, result))
            return true;
    }
    if (!has_changed())
        file.fail(QStringLiteral("details of an action are not those that were written"));
    return false;
}

bool RECORD_CONTENT::PART::has_changed()
{
    return quint64(file.number("SELECT sum FROM seal WHERE id = 1")) != sum;
}

/// Reads the records of a folder one by one.
class RECORD_FOLDER
{
public:
    RECORD_FOLDER(const QString& folder, RECORD_ACCESS access)
        : m_folder(folder), m_access(access), m_content(new RECORD_CONTENT)
    {
    }

    void read(const QString& own_name);
    std::shared_ptr<const RECORD_CONTENT> content() const { return m_content; }

private:
    using PART = RECORD_CONTENT::PART;

    void read_record(const QString& name);
    bool read_part(PART& part);
    void check_writing(const QString& own_name);
    void tell(const QString& path, const QString& problem);
    void join(PART& part);
    void join_surroundings(RECORD_ROWS& rows);
    void find_newest();

    const QDir m_folder;
    const RECORD_ACCESS m_access;
    const std::shared_ptr<RECORD_CONTENT> m_content;
    QHash<QByteArray, quint32> m_numbers; // of the surroundings, by their bytes
};

void RECORD_FOLDER::read(const QString& own_name)
{
    m_content->m_parts.append(std::make_shared<PART>());
    m_content->m_parts.first()->name = own_name;
    if (QFileInfo::exists(m_folder.absoluteFilePath(own_name)))
        read_record(own_name);
    const QRegularExpression record(QStringLiteral("^gox_build_record(\\.[0-9]+-of-[0-9]+)?\\.sqlite$"));
    for (const QString& name : m_folder.entryList(QDir::Files | QDir::System, QDir::Name))
        if (record.match(name).hasMatch() && name != own_name)
            read_record(name);
    find_newest();
    check_writing(own_name);
}

void RECORD_FOLDER::read_record(const QString& name)
{
    const bool is_own = name == m_content->m_parts.first()->name;
    const std::shared_ptr<PART> part = is_own ? m_content->m_parts.first() : std::make_shared<PART>();
    part->name = name;
    part->path = m_folder.absoluteFilePath(name);
    if (read_part(*part)) {
        join(*part);
        if (is_own)
            m_content->m_libraries = part->rows.libraries;
        else
            m_content->m_parts.append(part);
        return;
    }
    const RECORD_FAULT fault = part->file.fault();
    part->file.close();
    part->rows = {};
    const bool is_damage = fault.kind == RECORD_FAULT::DAMAGED;
    m_content->m_has_passing_problem |= !is_damage;
    tell(part->path,
         fault.cause + (is_damage && !is_own ? QStringLiteral(", so everything is built until it is removed")
                                             : QStringLiteral(", so everything is built")));
}

// In one transaction, so that all rows are of the same moment.
bool RECORD_FOLDER::read_part(PART& part)
{
    const bool is_to_look = m_access == RECORD_ACCESS::READ_ONLY;
    bool is_empty = false;
    if (!part.file.open(part.path, is_to_look ? RECORD_FILE::LOOK : RECORD_FILE::READ) ||
        !part.file.run("BEGIN") || !part.file.check(is_empty))
        return false;
    if (!is_empty && !read_rows(part.file, part.rows))
        return false;
    part.sum = part.rows.sum;
    return part.file.run("COMMIT");
}

void RECORD_FOLDER::tell(const QString& path, const QString& problem)
{
    m_content->m_problems.append(path + ": " + problem);
}

void RECORD_FOLDER::join(PART& part)
{
    const bool is_own = &part == m_content->m_parts.first().get();
    QVector<BUILD_ENTRY>& entries = m_content->m_entries;
    part.first = entries.size();
    part.count = part.rows.entries.size();
    if (is_own) {
        entries = part.rows.entries;
        m_content->m_surroundings = part.rows.surroundings;
        for (int i = 0; i < part.rows.surroundings.size(); ++i)
            m_numbers.insert(pack_surroundings(part.rows.surroundings.at(i)), quint32(i));
    } else {
        join_surroundings(part.rows);
        entries += part.rows.entries;
        part.rows = {};
    }
}

void RECORD_FOLDER::join_surroundings(RECORD_ROWS& rows)
{
    QVector<quint32> numbers;
    for (const SURROUNDINGS& surroundings : qAsConst(rows.surroundings)) {
        const QByteArray packed = pack_surroundings(surroundings);
        if (!m_numbers.contains(packed)) {
            m_numbers.insert(packed, quint32(m_content->m_surroundings.size()));
            m_content->m_surroundings.append(surroundings);
        }
        numbers.append(m_numbers.value(packed));
    }
    for (BUILD_ENTRY& entry : rows.entries)
        entry.surroundings = numbers.at(int(entry.surroundings));
}

void RECORD_FOLDER::find_newest()
{
    const RECORD_CONTENT& content = *m_content;
    const auto key_at = [&](int place) { return content.key_at(place); };
    const QVector<BUILD_ENTRY>& entries = content.m_entries;
    m_content->m_newest.reserve(entries.size());
    for (int place = 0; place < entries.size(); ++place) {
        const BUILD_ENTRY& entry = entries.at(place);
        const int other = content.m_newest.find(entry.key, key_at);
        if (other == KEY_INDEX::NONE || is_newer(entry, entries.at(other)))
            m_content->m_newest.put(entry.key, place, key_at);
        m_content->m_last_end = qMax(content.m_last_end, entry.ended);
    }
}

void RECORD_FOLDER::check_writing(const QString& own_name)
{
    const QString path = m_folder.absoluteFilePath(own_name);
    const QString fault = write_fault(path);
    if (fault.isEmpty())
        return;
    tell(path, "can't be written: " + fault + ", so everything is built, and nothing is recorded");
    m_content->m_write_problem = m_content->m_problems.last();
}

RECORD_CONTENT::RECORD_CONTENT() = default;
RECORD_CONTENT::~RECORD_CONTENT() = default;

const BUILD_ENTRY* RECORD_CONTENT::find(quint64 key) const
{
    if (!m_problems.isEmpty())
        return nullptr;
    const int place = m_newest.find(key, [this](int other) { return key_at(other); });
    return place == KEY_INDEX::NONE ? nullptr : &m_entries.at(place);
}

std::optional<BUILD_ENTRY_DETAILS> RECORD_CONTENT::details_of(const BUILD_ENTRY& entry,
                                                              QString& problem) const
{
    const int place = m_newest.find(entry.key, [this](int other) { return key_at(other); });
    if (place == KEY_INDEX::NONE || !(m_entries.at(place) == entry))
        return {};
    PART& part = **std::find_if(m_parts.begin(), m_parts.end(), [place](const auto& candidate) {
        return place >= candidate->first && place < candidate->first + candidate->count;
    });
    if (part.file.fault())
        return {}; // told already
    BUILD_ENTRY_DETAILS details;
    if (part.fetch(place, entry, details))
        return details;
    if (part.file.fault())
        problem = part.path + ": " + part.file.fault().cause + ", so what depends on it is built";
    return {};
}

MANY_DETAILS::MANY_DETAILS(const RECORD_CONTENT& content) : m_content(content)
{
    for (const std::shared_ptr<RECORD_CONTENT::PART>& part : m_content.m_parts)
        part->file.run("BEGIN");
}

MANY_DETAILS::~MANY_DETAILS()
{
    for (const std::shared_ptr<RECORD_CONTENT::PART>& part : m_content.m_parts)
        part->file.run("COMMIT");
}

QVector<BUILD_ENTRY> RECORD_CONTENT::entries_of(const QString& record_name) const
{
    for (const std::shared_ptr<PART>& part : m_parts)
        if (part->name == record_name)
            return m_entries.mid(part->first, part->count);
    return {};
}

QVector<ACTION_DURATION> RECORD_CONTENT::durations() const
{
    QVector<ACTION_DURATION> result;
    for (const BUILD_ENTRY& entry : m_entries)
        if (!entry.is_gone && find(entry.key) == &entry)
            result.append({entry.key, entry.duration});
    return result;
}

const RECORD_ROWS& RECORD_CONTENT::own_rows() const
{
    return m_parts.first()->rows;
}

std::shared_ptr<const RECORD_CONTENT> read_records(const QString& folder, const QString& own_name,
                                                   RECORD_ACCESS access)
{
    RECORD_FOLDER reader(folder, access);
    reader.read(own_name);
    return reader.content();
}

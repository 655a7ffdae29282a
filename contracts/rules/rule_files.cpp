#include "contracts/rules/rule_files.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <algorithm>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_file_format.h"
#include "contracts/services/xml_file_reader.h"
#include "contracts/services/xml_file_writer.h"

namespace {

constexpr int NO_FILE = -1;
constexpr auto FINGERPRINT = QCryptographicHash::Sha1;

QByteArray fingerprint_on_disk(const QString& path)
{
    QFile file(path);
    QCryptographicHash hash(FINGERPRINT);
    const bool is_read = QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && hash.addData(&file);
    return is_read ? hash.result() : QByteArray();
}

// The place of each kind in `kinds`; those of `rules` that are not there yet go
// behind, by name.
QHash<QString, int> places_of_kinds(const QVector<const CACHED_RULE*>& rules, QStringList& kinds)
{
    QHash<QString, int> places;
    for (int i = 0; i < kinds.size(); ++i)
        places.insert(kinds.at(i), i);
    QSet<QString> new_kinds;
    for (const CACHED_RULE* const rule : rules)
        if (!places.contains(rule->name.toLower()))
            new_kinds.insert(rule->name.toLower());
    QStringList sorted = new_kinds.values();
    sorted.sort();
    for (const QString& kind : qAsConst(sorted)) {
        places.insert(kind, kinds.size());
        kinds.append(kind);
    }
    return places;
}

// Rules of one kind stay together and keep their order.
void arrange(QVector<const CACHED_RULE*>& rules, QStringList& kinds)
{
    const QHash<QString, int> places = places_of_kinds(rules, kinds);
    std::stable_sort(rules.begin(), rules.end(), [&](const CACHED_RULE* a, const CACHED_RULE* b) {
        return places.value(a->name.toLower()) < places.value(b->name.toLower());
    });
}

QVector<const CACHED_RULE*> pointers_to(const QVector<CACHED_RULE>& rules)
{
    QVector<const CACHED_RULE*> pointers;
    pointers.reserve(rules.size());
    for (const CACHED_RULE& rule : rules)
        pointers.append(&rule);
    return pointers;
}

QStringList kinds_in_order(const QVector<CACHED_RULE>& rules)
{
    QStringList kinds;
    QSet<QString> known;
    for (const CACHED_RULE& rule : rules) {
        const QString kind = rule.name.toLower();
        if (!known.contains(kind))
            kinds.append(kind);
        known.insert(kind);
    }
    return kinds;
}

// What could not be read back must not take the place of what can.
QString why_not_readable(const QString& path, const QByteArray& text)
{
    if (text.isEmpty())
        return QStringLiteral("a rule holds characters that a rule file can't hold");
    XML_FILE_READER xml(path);
    QVector<CACHED_RULE> rules;
    if (!xml.open(text, RULE_FILE_ROOT) || !read_rules(xml, rules))
        return QStringLiteral("it could not be read again: ") + xml.error();
    if (rule_file_text(pointers_to(rules)) != text)
        return QStringLiteral("a rule holds characters that would come back as others");
    return QString();
}

} // namespace

QString RULE_FILES::read(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder, QVector<CACHED_RULE*>& rules)
{
    const int known = m_by_path.value(path, NO_FILE);
    if (known != NO_FILE && m_files.at(known).unreadable.isEmpty())
        return QStringLiteral("%1: the file has been read already").arg(path);

    RULE_FILE file;
    file.path = path;
    file.folder = folder;
    QVector<CACHED_RULE> read;
    file.unreadable = parse(file, read);
    if (!file.unreadable.isEmpty() && !QFileInfo::exists(path))
        return file.unreadable; // nothing is there that could be overwritten
    const int index = enter(file);

    const PHYSICAL_PATH physical_folder(path.section('/', 0, -2));
    for (const CACHED_RULE& rule : qAsConst(read)) {
        rules.append(new CACHED_RULE(rule));
        rules.last()->path = folder;
        rules.last()->physical_path = physical_folder;
        m_origin.insert(rules.last(), index);
    }
    return file.unreadable;
}

QString RULE_FILES::parse(RULE_FILE& file, QVector<CACHED_RULE>& rules) const
{
    XML_FILE_READER xml(file.path);
    if (!xml.open(RULE_FILE_ROOT) || !read_rules(xml, rules)) {
        rules.clear();
        return xml.error();
    }
    file.disk = QCryptographicHash::hash(xml.content(), FINGERPRINT);
    file.kinds = kinds_in_order(rules);
    FILE_RULES in_order = pointers_to(rules);
    arrange(in_order, file.kinds);
    file.text = rule_file_text(in_order);
    return QString();
}

int RULE_FILES::enter(const RULE_FILE& file)
{
    int index = m_by_path.value(file.path, NO_FILE);
    if (index == NO_FILE) {
        index = m_files.size();
        m_files.append(file);
        m_by_path.insert(file.path, index);
    } else {
        m_files[index] = file;
    }
    if (file.folder != LOGICAL_PATH(QStringLiteral("<>")))
        m_file_of_folder.insert(file.folder, index);
    return index;
}

int RULE_FILES::file_of(const CACHED_RULE& rule)
{
    // A rule that was moved elsewhere leaves its file.
    const int origin = m_origin.value(&rule, NO_FILE);
    if (origin != NO_FILE && m_files.at(origin).folder == rule.path)
        return origin;
    // Where the rules of a folder lie in its "old_" companion, a new file in the
    // folder itself would hide them.
    const int folder_file = m_file_of_folder.value(rule.path, NO_FILE);
    if (folder_file != NO_FILE)
        return folder_file;

    PHYSICAL_PATH folder = rule.physical_path;
    if (folder == PHYSICAL_PATH())
        folder = PATHS::physical_path(rule.path);
    if (folder == PHYSICAL_PATH())
        return NO_FILE;
    RULE_FILE file;
    file.path = PHYSICAL_PATH(folder + "/rules.gox");
    file.folder = rule.path;
    return enter(file);
}

QString RULE_FILES::distribute(const QMultiMap<QString, CACHED_RULE*>& rules, QMap<int, FILE_RULES>& by_file)
{
    QStringList errors;
    for (int i = 0; i < m_files.size(); ++i)
        by_file.insert(i, FILE_RULES()); // a file that has lost its last rule is written too
    // Backwards, since equal keys stand newest first.
    for (auto place = rules.cend(); place != rules.cbegin();) {
        const CACHED_RULE* const rule = *--place;
        const int index = file_of(*rule);
        if (index == NO_FILE) {
            errors.append(QStringLiteral("%1: the rule \"%2\" belongs to no folder on disk")
                              .arg(rule->path, rule->name));
            continue;
        }
        by_file[index].append(rule);
        m_origin.insert(rule, index);
    }
    return errors.join('\n');
}

QString RULE_FILES::save(const QMultiMap<QString, CACHED_RULE*>& rules)
{
    QMap<int, FILE_RULES> by_file;
    QStringList errors{distribute(rules, by_file)};
    for (auto place = by_file.cbegin(); place != by_file.cend(); ++place)
        errors.append(save_file(m_files[place.key()], place.value()));
    errors.removeAll(QString());
    return errors.join('\n');
}

QString RULE_FILES::save_file(RULE_FILE& file, FILE_RULES rules) const
{
    const bool is_known = !file.disk.isEmpty();
    if (rules.isEmpty() && !is_known)
        return QString();
    QStringList kinds = file.kinds;
    arrange(rules, kinds);
    const QByteArray text = rule_file_text(rules);
    if (is_known && text == file.text)
        return QString();

    QString error = why_not_writable(file, text);
    if (error.isEmpty() && !QDir().mkpath(file.path.section('/', 0, -2)))
        error = QStringLiteral("%1: not saved, its folder can't be made").arg(file.path);
    if (error.isEmpty())
        error = write_file_whole(file.path, text);
    if (error.isEmpty()) {
        file.disk = QCryptographicHash::hash(text, FINGERPRINT);
        file.text = text;
        file.kinds = kinds;
    }
    return error;
}

QString RULE_FILES::why_not_writable(const RULE_FILE& file, const QByteArray& text) const
{
    const QString not_saved = QStringLiteral("%1: not saved, ").arg(file.path);
    if (!file.unreadable.isEmpty())
        return not_saved + QStringLiteral("because it could not be read: ") + file.unreadable;
    const bool exists = QFileInfo::exists(file.path);
    if (exists && file.disk.isEmpty())
        return not_saved + QStringLiteral("a file that has not been read is there already");
    if (exists && fingerprint_on_disk(file.path) != file.disk)
        return not_saved + QStringLiteral("it has changed on disk since it was read");

    const QString cause = why_not_readable(file.path, text);
    return cause.isEmpty() ? QString() : not_saved + cause;
}

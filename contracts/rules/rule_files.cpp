#include "contracts/rules/rule_files.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_file_edit.h"
#include "contracts/rules/rule_file_format.h"
#include "contracts/services/p4_connection.h"
#include "contracts/services/whole_file.h"
#include "contracts/services/xml_file_reader.h"

namespace {

constexpr int NO_FILE = -1;
constexpr int NO_PLACE = -1;

QByteArray fingerprint(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

// Rules of different kinds have no order among themselves.
QVector<const CACHED_RULE*> ordered_by_kind(QVector<const CACHED_RULE*> rules)
{
    const auto kind = [](const CACHED_RULE* rule) { return rule->name.trimmed().toLower(); };
    std::stable_sort(rules.begin(), rules.end(),
                     [&](const CACHED_RULE* a, const CACHED_RULE* b) { return kind(a) < kind(b); });
    return rules;
}

// What a file says, whatever its layout.
QByteArray fingerprint(const QVector<const CACHED_RULE*>& rules)
{
    QByteArray text;
    for (const CACHED_RULE* const rule : ordered_by_kind(rules))
        text += rule_element(*rule, RULE_FILE_STYLE());
    return fingerprint(text);
}

bool reads_as(const QByteArray& text, const QVector<const CACHED_RULE*>& rules)
{
    XML_FILE_READER xml{QString()};
    QVector<CACHED_RULE> read;
    return xml.open(text, RULE_FILE_ROOT) && read_rules(xml, read) && read.size() == rules.size() &&
           std::equal(rules.begin(), rules.end(), read.begin(),
                      [](const CACHED_RULE* a, const CACHED_RULE& b) { return mean_the_same(*a, b); });
}

bool can_be_written(const CACHED_RULE& rule)
{
    QVector<RULE_IN_FILE> only{{&rule, NO_PLACE}};
    return reads_as(edited_rule_file(empty_rule_file(), {}, only), {&rule});
}

QString why_not_writable(const CACHED_RULE& rule)
{
    const QString has_bad =
        QStringLiteral("the rule \"%1\" holds characters that can't stand in a rule file");
    for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property) {
        CACHED_RULE single;
        single.name = QStringLiteral("single");
        single.properties.insert(property.key(), *property);
        if (!can_be_written(single))
            return (has_bad + QStringLiteral(", in its property \"%2\"")).arg(rule.name, property.key());
    }
    CACHED_RULE bare = rule;
    bare.properties.clear();
    if (!can_be_written(bare))
        return has_bad.arg(rule.name);
    return QStringLiteral("the rule \"%1\" has a property twice").arg(rule.name);
}

// Why a text of these rules must not take the place of the file.
QString why_not_readable(const QString& path, const QByteArray& text,
                         const QVector<const CACHED_RULE*>& rules)
{
    if (reads_as(text, rules))
        return QString();
    for (const CACHED_RULE* const rule : rules)
        if (!can_be_written(*rule))
            return why_not_writable(*rule);
    XML_FILE_READER xml(path);
    QVector<CACHED_RULE> read;
    const bool is_read = xml.open(text, RULE_FILE_ROOT) && read_rules(xml, read);
    return QStringLiteral("with the changes it could not be read again") +
           (is_read ? QString() : QStringLiteral(": ") + xml.error());
}

// The rights themselves are looked at: an administrator may write to everything.
bool is_read_only(const QString& path)
{
    constexpr auto ANYBODY = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    return !(QFile::permissions(path) & ANYBODY) || !QFileInfo(path).isWritable();
}

// Each file gets one line, and what Perforce says may have several.
QString in_one_line(QString text)
{
    return text.replace('\n', ' ');
}

QString make_writable(const QString& path, P4_CONNECTION& p4)
{
    if (!QFileInfo::exists(path))
        return QDir().mkpath(path.section('/', 0, -2)) ? QString()
                                                       : QStringLiteral("its folder can't be made");
    if (!is_read_only(path))
        return QString();
    if (!p4.is_enabled())
        return QStringLiteral("it is read-only");
    const QString error = in_one_line(p4.open_for_edit({path}));
    if (!error.isEmpty())
        return QStringLiteral("it is read-only and could not be opened for edit: ") + error;
    return is_read_only(path) ? QStringLiteral("it is read-only, though it is open for edit") : QString();
}

} // namespace

QString RULE_FILES::read(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder, QVector<CACHED_RULE*>& rules)
{
    const int known = m_by_path.value(path, NO_FILE);
    if (known != NO_FILE && m_files.at(known).unreadable.isEmpty())
        return QStringLiteral("%1: the file has been read already").arg(path);

    QDateTime& last_change = m_last_change[static_cast<const QString&>(folder).toLower()];
    last_change = qMax(last_change, QFileInfo(path).lastModified().toUTC());
    RULE_FILE file;
    file.path = path;
    file.folder = folder;
    XML_FILE_READER xml(path);
    QVector<CACHED_RULE> read;
    if (!xml.open(RULE_FILE_ROOT) || !read_rules(xml, read)) {
        file.unreadable = xml.error();
        if (QFileInfo::exists(path)) // otherwise nothing is there that could be overwritten
            enter(file);
        return file.unreadable;
    }

    const PHYSICAL_PATH physical_folder(path.section('/', 0, -2));
    for (const CACHED_RULE& rule : qAsConst(read)) {
        rules.append(new CACHED_RULE(rule));
        rules.last()->path = folder;
        rules.last()->physical_path = physical_folder;
        file.places.insert(rules.last(), file.places.size());
    }
    file.disk = fingerprint(xml.content());
    file.rules = fingerprint(FILE_RULES(rules.cbegin(), rules.cend()));
    const int index = enter(file);
    for (const CACHED_RULE* const rule : qAsConst(rules))
        m_origin.insert(rule, index);
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

QString RULE_FILES::save(const QMultiMap<QString, CACHED_RULE*>& rules, P4_CONNECTION& p4)
{
    QMap<int, FILE_RULES> by_file;
    QStringList errors{distribute(rules, by_file)};
    QStringList written;
    for (auto place = by_file.cbegin(); place != by_file.cend(); ++place) {
        bool is_written = false;
        errors.append(save_file(m_files[place.key()], *place, p4, is_written));
        if (is_written && errors.last().isEmpty())
            written.append(QStringLiteral("%1: saved").arg(m_files.at(place.key()).path));
    }
    errors.removeAll(QString());
    return errors.isEmpty() ? QString() : (errors + written).join('\n');
}

QString RULE_FILES::save_file(RULE_FILE& file, const FILE_RULES& rules, P4_CONNECTION& p4,
                              bool& is_written) const
{
    const bool is_known = !file.disk.isEmpty();
    const bool is_changed = is_known ? fingerprint(rules) != file.rules : !rules.isEmpty();
    if (is_changed && rules.isEmpty() && !QFileInfo::exists(file.path)) {
        file.disk.clear(); // it went with its folder, and its rules have gone too
    } else if (is_changed) {
        const QString cause = write(file, rules, p4);
        if (!cause.isEmpty())
            return QStringLiteral("%1: not saved, %2").arg(file.path, cause);
        is_written = true;
        file.is_new_to_perforce = file.is_new_to_perforce || !is_known;
    }
    if (!file.is_new_to_perforce || !p4.is_enabled())
        return QString();
    const QString error = in_one_line(p4.open_for_add({file.path}));
    file.is_new_to_perforce = !error.isEmpty();
    return error.isEmpty() ? QString()
                           : QStringLiteral("%1: saved, but not opened for add: %2").arg(file.path, error);
}

QString RULE_FILES::write(RULE_FILE& file, const FILE_RULES& rules, P4_CONNECTION& p4) const
{
    if (!file.unreadable.isEmpty())
        return QStringLiteral("because it could not be read: ") + file.unreadable;
    QByteArray text = empty_rule_file();
    QVector<CACHED_RULE> old_rules;
    const bool exists = QFileInfo::exists(file.path);
    if (exists) {
        if (file.disk.isEmpty())
            return QStringLiteral("a file that has not been read is there already");
        XML_FILE_READER xml(file.path);
        const bool is_read = xml.open(RULE_FILE_ROOT) && read_rules(xml, old_rules);
        if (!is_read || fingerprint(xml.content()) != file.disk)
            return QStringLiteral("it has changed on disk since it was read");
        text = xml.content();
    }

    QVector<RULE_IN_FILE> in_file;
    for (const CACHED_RULE* const rule : ordered_by_kind(rules))
        in_file.append({rule, exists ? file.places.value(rule, NO_PLACE) : NO_PLACE});
    text = edited_rule_file(text, old_rules, in_file);
    FILE_RULES in_order;
    for (const RULE_IN_FILE& entry : qAsConst(in_file))
        in_order.append(entry.rule);

    QString cause = why_not_readable(file.path, text, in_order);
    if (cause.isEmpty())
        cause = make_writable(file.path, p4);
    if (cause.isEmpty()) // which begins with the path
        cause = write_whole_file(file.path, text).mid(static_cast<const QString&>(file.path).size() + 2);
    if (!cause.isEmpty())
        return cause;
    file.disk = fingerprint(text);
    file.rules = fingerprint(rules);
    file.places.clear();
    for (const RULE_IN_FILE& entry : qAsConst(in_file))
        file.places.insert(entry.rule, entry.place);
    return QString();
}

#include "contracts/rules/rule_files.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <algorithm>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_file_edit.h"
#include "contracts/rules/rule_file_format.h"
#include "contracts/rules/rule_key.h"
#include "contracts/services/file_replacement.h"
#include "contracts/services/p4_connection.h"
#include "contracts/services/whole_file.h"
#include "contracts/services/xml_file_reader.h"

namespace {

constexpr int NO_FILE = -1;

QByteArray hash_of(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

// Rules of different kinds have no order among themselves.
QVector<const CACHED_RULE*> ordered_by_kind(QVector<const CACHED_RULE*> rules)
{
    std::stable_sort(rules.begin(), rules.end(), [](const CACHED_RULE* a, const CACHED_RULE* b) {
        return name_key(a->name) < name_key(b->name);
    });
    return rules;
}

// What a file says, whatever its layout.
QByteArray digest_of_meaning(const QVector<const CACHED_RULE*>& rules)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    for (const CACHED_RULE* const rule : ordered_by_kind(rules))
        stream << meaning_of(*rule);
    return hash_of(bytes);
}

// Rules that a file is to hold, with their places in what stands in it.
QVector<RULE_IN_FILE> with_places(const QVector<const CACHED_RULE*>& rules,
                                  const QVector<STANDING_RULE>& standing)
{
    QHash<quint64, int> places;
    for (int place = 0; place < standing.size(); ++place)
        places.insert(standing.at(place).number, place);
    QVector<RULE_IN_FILE> in_file;
    for (const CACHED_RULE* const rule : ordered_by_kind(rules))
        in_file.append({rule, places.value(rule->identity().number(), NO_PLACE)});
    return in_file;
}

// Adds those rules of the file that have no place in `in_file`, where they stand.
void add_leaving(const QVector<CACHED_RULE>& old_rules, QVector<RULE_IN_FILE>& in_file)
{
    QSet<int> staying;
    for (const RULE_IN_FILE& entry : qAsConst(in_file))
        staying.insert(entry.place);
    for (int place = 0; place < old_rules.size(); ++place) {
        if (staying.contains(place))
            continue;
        const QString kind = name_key(old_rules.at(place).name);
        const auto next = std::find_if(in_file.begin(), in_file.end(), [&](const RULE_IN_FILE& entry) {
            const QString other_kind = name_key(entry.rule->name);
            return other_kind > kind || (other_kind == kind && entry.place > place);
        });
        in_file.insert(next, {&old_rules.at(place), place});
    }
}

QList<CACHED_RULE*> oldest_first(const QMultiMap<QString, CACHED_RULE*>& rules, const QString& key)
{
    QList<CACHED_RULE*> equals = rules.values(key);
    std::reverse(equals.begin(), equals.end());
    return equals;
}

// The rules `equals` with `arriving` where the first of those that leave stood.
QList<CACHED_RULE*> exchanged(const QList<CACHED_RULE*>& equals, const QSet<quint64>& leaving,
                              const QList<CACHED_RULE*>& arriving)
{
    QList<CACHED_RULE*> before, behind;
    bool is_behind = false;
    for (CACHED_RULE* const rule : equals) {
        if (leaving.contains(rule->identity().number()))
            is_behind = true;
        else
            (is_behind ? behind : before).append(rule);
    }
    return before + arriving + behind;
}

// On a disk that knows letter case, two spellings would be one file to the scan.
bool stands_in_other_case(const QString& path)
{
    const QDir folder(path.section('/', 0, -2));
    const auto all = QDir::AllEntries | QDir::Hidden | QDir::System;
    return folder.entryList(all, QDir::Unsorted).contains(path.section('/', -1), Qt::CaseInsensitive);
}

QString why_homeless(const CACHED_RULE& rule)
{
    return QStringLiteral("the rule \"%1\" belongs to no folder on disk").arg(rule.name);
}

// Each file gets one line, and what Perforce says may have several.
QString in_one_line(QString text)
{
    return text.replace('\n', ' ');
}

QString line_of_unwritten(const QString& path, const QString& because_of, const QString& cause,
                          bool is_written)
{
    if (because_of == path)
        return QStringLiteral("%1: not saved, %2").arg(path, cause);
    const QString action = is_written ? QStringLiteral("saved, and still holds the rules that have left it,")
                                      : QStringLiteral("not written,");
    return QStringLiteral("%1: %2 because %3 could not be saved: %4").arg(path, action, because_of, cause);
}

QString make_writable(const QString& path, P4_CONNECTION& p4)
{
    if (!QFileInfo::exists(path))
        return QDir().mkpath(path.section('/', 0, -2)) ? QString()
                                                       : QStringLiteral("its folder can't be made");
    if (why_not_writable(QFileInfo(path)).isEmpty())
        return QString();
    if (!p4.is_enabled())
        return QStringLiteral("it is read-only");
    const QString error = in_one_line(p4.open_for_edit({path}));
    return error.isEmpty() ? QString()
                           : QStringLiteral("it is read-only and could not be opened for edit: ") + error;
}

// Where a file is saved. A companion holds what was shipped and stays as it is.
PHYSICAL_PATH place_of_saving(const PHYSICAL_PATH& path)
{
    return PATHS::is_in_companion(path) ? PATHS::target_path(PATHS::logical_path(path)) : path;
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
    const QString error = load(path, folder, file, rules);
    if (!error.isEmpty()) {
        if (QFileInfo::exists(path)) // otherwise nothing is there that could be overwritten
            enter(file);
        return error;
    }
    const int index = enter(file);
    for (const CACHED_RULE* const rule : qAsConst(rules))
        m_origin.insert(rule->identity().number(), index);
    return QString();
}

QString RULE_FILES::load(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder, RULE_FILE& file,
                         QVector<CACHED_RULE*>& rules)
{
    file.path = path;
    file.folder = folder;
    XML_FILE_READER xml(path);
    QByteArray text;
    QVector<CACHED_RULE> read;
    if (!xml.open(RULE_FILE_ROOT, &text) || !read_rules(xml, read)) {
        file.unreadable = xml.error();
        return file.unreadable;
    }
    const PHYSICAL_PATH physical_folder(path.section('/', 0, -2));
    for (const CACHED_RULE& rule : qAsConst(read)) {
        rules.append(new CACHED_RULE(rule));
        rules.last()->path = folder;
        rules.last()->physical_path = physical_folder;
        file.standing.append(STANDING_RULE(rules.last()->identity()));
    }
    file.hash = hash_of(text);
    file.meaning = digest_of_meaning(FILE_RULES(rules.cbegin(), rules.cend()));
    return QString();
}

PHYSICAL_PATH RULE_FILES::path_of_folder(const LOGICAL_PATH& folder) const
{
    const int index = m_file_of_folder.value(folder, NO_FILE);
    return index == NO_FILE ? PHYSICAL_PATH() : m_files.at(index).path;
}

QMap<QString, QString> RULE_FILES::unreadable() const
{
    QMap<QString, QString> errors;
    for (const int index : m_file_of_folder)
        if (!m_files.at(index).unreadable.isEmpty())
            errors.insert(m_files.at(index).folder, m_files.at(index).unreadable);
    return errors;
}

QString RULE_FILES::read_again(const PHYSICAL_PATH& path, const LOGICAL_PATH& folder,
                               const QMultiMap<QString, CACHED_RULE*>& rules, RULE_FILE_READING& reading)
{
    const int index = m_by_path.value(path, NO_FILE);
    reading.modified = QFileInfo(path).lastModified().toUTC();
    QVector<CACHED_RULE*> read;
    const QString error = load(path, folder, reading.file, read);
    if (!error.isEmpty()) {
        if (index != NO_FILE && !m_files.at(index).unreadable.isEmpty())
            m_files[index].unreadable = error;
        return error;
    }
    QMap<QString, QList<CACHED_RULE*>> in_file;
    for (CACHED_RULE* const rule : qAsConst(read))
        in_file[rule_key(rule->path, rule->name)].append(rule);
    QSet<quint64> leaving;
    for (const STANDING_RULE& rule : m_files.value(index).standing)
        leaving.insert(rule.number);
    for (const CACHED_RULE* const rule : rules)
        if (rule->path == folder && leaving.contains(rule->identity().number()))
            in_file[rule_key(rule->path, rule->name)]; // which may hold none of the kind now
    for (auto kind = in_file.cbegin(); kind != in_file.cend(); ++kind)
        reading.rules.insert(kind.key(), exchanged(oldest_first(rules, kind.key()), leaving, *kind));
    return QString();
}

void RULE_FILES::exchange(RULE_FILE_READING& reading, QMultiMap<QString, CACHED_RULE*>& rules)
{
    RULE_FILE former;
    former.path = reading.file.path;
    former.folder = reading.file.folder;
    former = m_files.value(m_by_path.value(reading.file.path, NO_FILE), former);
    reading.file.is_new_to_perforce = former.is_new_to_perforce;
    const int index = enter(reading.file);
    reading.file = former;
    QDateTime& last_change = m_last_change[static_cast<const QString&>(former.folder).toLower()];
    last_change = qMax(last_change, reading.modified);
    for (auto kind = reading.rules.begin(); kind != reading.rules.end(); ++kind) {
        const QList<CACHED_RULE*> entering = *kind;
        *kind = oldest_first(rules, kind.key());
        rules.remove(kind.key());
        for (CACHED_RULE* const rule : entering) {
            rules.insert(kind.key(), rule);
            m_origin.insert(rule->identity().number(), index);
        }
    }
}

PHYSICAL_PATH RULE_FILES::path_of(const CACHED_RULE& rule) const
{
    const int origin = m_origin.value(rule.identity().number(), NO_FILE);
    return origin == NO_FILE ? PHYSICAL_PATH() : m_files.at(origin).path;
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
    const int origin = m_origin.value(rule.identity().number(), NO_FILE);
    if (origin != NO_FILE && m_files.at(origin).folder == rule.path)
        return origin;
    // Where the rules of a folder lie in its "old_" companion, a new file in the
    // folder itself hides them, so it gets them all.
    const int folder_file = m_file_of_folder.value(rule.path, NO_FILE);
    if (folder_file != NO_FILE)
        return folder_file;

    if (rule.physical_path == PHYSICAL_PATH())
        return NO_FILE;
    RULE_FILE file;
    file.path = PHYSICAL_PATH(rule.physical_path + "/rules.gox");
    file.folder = rule.path;
    return enter(file);
}

QMap<int, RULE_FILES::FILE_RULES> RULE_FILES::distribute(const QMultiMap<QString, CACHED_RULE*>& rules)
{
    QMap<int, FILE_RULES> by_file;
    for (int i = 0; i < m_files.size(); ++i)
        by_file.insert(i, FILE_RULES()); // a file that has lost its last rule is written too
    // Backwards, since equal keys stand newest first.
    for (auto place = rules.cend(); place != rules.cbegin();) {
        const CACHED_RULE* const rule = *--place;
        const int index = file_of(*rule);
        by_file[index].append(rule);
        m_origin.insert(rule->identity().number(), index);
    }
    return by_file;
}

RULE_MOVES RULE_FILES::moves_of(int index, const FILE_RULES& rules) const
{
    const QVector<STANDING_RULE> standing = m_files.value(index).standing;
    QSet<quint64> before;
    for (const STANDING_RULE& rule : standing)
        before.insert(rule.number);
    RULE_MOVES moves;
    QSet<quint64> after;
    for (const CACHED_RULE* const rule : rules) {
        after.insert(rule->identity().number());
        if (!before.contains(rule->identity().number()))
            moves.arriving.append(rule->identity().line());
    }
    for (const STANDING_RULE& rule : standing)
        if (!after.contains(rule.number))
            moves.leaving.append(rule.line);
    return moves;
}

QString RULE_FILES::save(const QMultiMap<QString, CACHED_RULE*>& rules, P4_CONNECTION& p4)
{
    const QMap<int, FILE_RULES> by_file = distribute(rules);
    QMap<int, RULE_MOVES> moves;
    for (auto place = by_file.cbegin(); place != by_file.cend(); ++place)
        moves.insert(place.key(), moves_of(place.key(), *place));
    for (RULE_FILE& file : m_files)
        file.is_written = false;
    const auto unwritten = write_without_loss(moves, [&](int index, bool keeps_leaving) {
        const FILE_RULES file_rules = by_file.value(index);
        return index == NO_FILE ? why_homeless(*file_rules.first())
                                : save_file(m_files[index], file_rules, keeps_leaving, p4);
    });

    QStringList errors;
    QStringList saved;
    for (const CACHED_RULE* const rule : by_file.value(NO_FILE))
        errors.append(QStringLiteral("%1: %2").arg(rule->path, why_homeless(*rule)));
    const auto name_of = [&](int index) {
        return index == NO_FILE ? QString(by_file[NO_FILE].first()->path) : QString(m_files.at(index).path);
    };
    for (int index = 0; index < m_files.size(); ++index) {
        RULE_FILE& file = m_files[index];
        m_by_path.insert(file.path, index); // it may have left a companion
        const UNWRITTEN_FILE why = unwritten.value(index);
        QString error = open_for_add(file, p4);
        if (unwritten.contains(index) && is_changed(file, by_file.value(index)))
            error = line_of_unwritten(file.path, name_of(why.because_of), why.cause, file.is_written);
        if (!error.isEmpty())
            errors.append(error);
        else if (file.is_written)
            saved.append(QStringLiteral("%1: saved").arg(file.path));
    }
    return errors.isEmpty() ? QString() : (errors + saved).join('\n');
}

bool RULE_FILES::is_changed(const RULE_FILE& file, const FILE_RULES& rules)
{
    return file.hash.isEmpty() ? !rules.isEmpty() : digest_of_meaning(rules) != file.meaning;
}

QString RULE_FILES::save_file(RULE_FILE& file, const FILE_RULES& rules, bool keeps_leaving, P4_CONNECTION& p4)
{
    if (!keeps_leaving && !is_changed(file, rules))
        return QString();
    if (rules.isEmpty() && !QFileInfo::exists(file.path)) {
        file.hash.clear(); // it went with its folder, and its rules have gone too
        file.standing.clear();
        return QString();
    }
    const bool is_new = file.hash.isEmpty();
    const QString cause = write(file, rules, keeps_leaving, p4);
    if (!cause.isEmpty())
        return cause;
    file.is_new_to_perforce = file.is_new_to_perforce || is_new;
    file.is_written = true;
    return QString();
}

QString RULE_FILES::open_for_add(RULE_FILE& file, P4_CONNECTION& p4)
{
    if (!file.is_new_to_perforce || !p4.is_enabled())
        return QString();
    const QString error = in_one_line(p4.open_for_add({file.path}));
    file.is_new_to_perforce = !error.isEmpty();
    return error.isEmpty() ? QString()
                           : QStringLiteral("%1: saved, but not opened for add: %2").arg(file.path, error);
}

// What stands in the file now, which must be what it held when it was read or
// written last. Why it must not be overwritten; empty when it may.
QString RULE_FILES::read_again(const RULE_FILE& file, QByteArray& text, QVector<CACHED_RULE>& rules)
{
    const QString not_read = QStringLiteral("a file that has not been read is there already");
    if (!QFileInfo::exists(file.path)) {
        text = empty_rule_file();
        return stands_in_other_case(file.path) ? not_read : QString();
    }
    if (!file.unreadable.isEmpty())
        return QStringLiteral("because it could not be read: ") + file.unreadable;
    if (file.hash.isEmpty())
        return not_read;
    XML_FILE_READER xml(file.path);
    const bool is_read = xml.open(RULE_FILE_ROOT, &text) && read_rules(xml, rules);
    return is_read && hash_of(text) == file.hash ? QString()
                                                 : QStringLiteral("it has changed on disk since it was read");
}

QString RULE_FILES::write(RULE_FILE& file, const FILE_RULES& rules, bool keeps_leaving, P4_CONNECTION& p4)
{
    QByteArray text;
    QVector<CACHED_RULE> old_rules;
    QString cause = read_again(file, text, old_rules);
    if (!cause.isEmpty())
        return cause;
    QVector<RULE_IN_FILE> in_file =
        with_places(rules, old_rules.isEmpty() ? QVector<STANDING_RULE>() : file.standing);
    if (keeps_leaving)
        add_leaving(old_rules, in_file);
    text = edited_rule_file(text, old_rules, in_file);
    FILE_RULES in_order;
    QVector<STANDING_RULE> standing;
    for (const RULE_IN_FILE& entry : qAsConst(in_file)) {
        in_order.append(entry.rule);
        standing.append(entry.place == NO_PLACE ? STANDING_RULE(entry.rule->identity())
                                                : file.standing.at(entry.place));
    }

    const PHYSICAL_PATH place = place_of_saving(file.path);
    cause = why_not_readable(place, text, in_order);
    if (cause.isEmpty() && place != file.path && QFileInfo::exists(place))
        cause = place + QStringLiteral(" has come to lie in front of it");
    if (cause.isEmpty())
        cause = make_writable(place, p4);
    if (cause.isEmpty()) // which begins with the path
        cause = write_whole_file(place, text).mid(static_cast<const QString&>(place).size() + 2);
    if (!cause.isEmpty())
        return cause;
    file.is_new_to_perforce = file.is_new_to_perforce || place != file.path;
    file.path = place;
    file.unreadable.clear();
    file.hash = hash_of(text);
    file.meaning = digest_of_meaning(in_order);
    file.standing = standing;
    return QString();
}

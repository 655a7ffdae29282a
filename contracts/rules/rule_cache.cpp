#include "contracts/rules/rule_cache.h"

#include <QtCore/QDataStream>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_files.h"
#include "contracts/rules/rule_key.h"
#include "contracts/services/digest.h"
#include "contracts/services/question_log.h"

namespace {

const LOGICAL_PATH& global_folder()
{
    static const LOGICAL_PATH folder(QStringLiteral("<>"));
    return folder;
}

} // namespace

RULE_CACHE::RULE_CACHE() : m_files(new RULE_FILES) {}

RULE_CACHE::~RULE_CACHE()
{
    qDeleteAll(rules);
}

QString RULE_CACHE::add_rules(const PHYSICAL_PATH& file)
{
    const LOGICAL_PATH folder = PATHS::logical_path(PHYSICAL_PATH(file.section('/', 0, -2)));
    if (folder == global_folder())
        return QStringLiteral("%1: the file lies outside the data roots").arg(file);
    return add_file(file, folder);
}

QString RULE_CACHE::add_global_rules(const PHYSICAL_PATH& file)
{
    return add_file(file, global_folder());
}

QString RULE_CACHE::add_file(const PHYSICAL_PATH& file, const LOGICAL_PATH& folder)
{
    QVector<CACHED_RULE*> oldest_first;
    const QString error = m_files->read(file, folder, oldest_first);
    for (CACHED_RULE* const rule : qAsConst(oldest_first))
        rules.insert(rule_key(rule->path, rule->name), rule);
    return error;
}

void RULE_CACHE::validate_cache(const LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>&)
{
    m_rule_folders.clear();
    for (const CACHED_RULE* const rule : qAsConst(rules))
        m_rule_folders.insert(QString(rule->path).toLower());
    m_indexed = rules;
}

void RULE_CACHE::add_new_file_to_cache(const LOGICAL_PATH&) {}

RULE RULE_CACHE::get(const LOGICAL_PATH& path, const QString& name) const
{
    QUESTION_LOG::rule_asked(path, name);
    return walk(path, name, nullptr);
}

RULE RULE_CACHE::answer(const LOGICAL_PATH& path, const QString& name) const
{
    return walk(path, name, nullptr);
}

// Where and in which order the rules stand is part of what they say; all else that
// a rule file holds is not.
DIGEST RULE_CACHE::digest() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    for (auto place = rules.cbegin(); place != rules.cend(); ++place) {
        const CACHED_RULE& rule = **place;
        stream << place.key() << rule.inherit_properties << rule.get_file_filters() << rule.properties.size();
        for (auto property = rule.properties.cbegin(); property != rule.properties.cend(); ++property)
            stream << name_key(property.key()) << property->toString();
    }
    return digest_of(bytes);
}

PHYSICAL_PATH RULE_CACHE::file_of(const CACHED_RULE& rule) const
{
    return m_files->path_of(rule);
}

PHYSICAL_PATH RULE_CACHE::file_of_folder(const LOGICAL_PATH& folder) const
{
    return m_files->path_of_folder(folder);
}

QMap<QString, QString> RULE_CACHE::unreadable_folders() const
{
    return m_files->unreadable();
}

QString RULE_CACHE::read_again(const PHYSICAL_PATH& file, RULE_FILE_READING& reading)
{
    const LOGICAL_PATH folder = PATHS::logical_path(PHYSICAL_PATH(file.section('/', 0, -2)));
    return m_files->read_again(file, folder, rules, reading);
}

void RULE_CACHE::exchange(RULE_FILE_READING& reading)
{
    m_files->exchange(reading, rules);
}

QDateTime RULE_CACHE::last_change(const LOGICAL_PATH& path, const QString& name) const
{
    QDateTime latest;
    walk(path, name, &latest);
    return latest;
}

RULE RULE_CACHE::walk(const LOGICAL_PATH& path, const QString& name, QDateTime* last_change) const
{
    const auto note = [&](const QString& folder) {
        if (last_change)
            *last_change = qMax(*last_change, m_files->last_change(folder));
    };
    RULE result;
    const QString& text = path;
    const QString kind = '*' + name.toLower();
    // The editor changes `rules` itself, which ends the sharing; then every
    // folder of the chain has to be looked up.
    const bool is_indexed = rules.isSharedWith(m_indexed);
    for (int end = text.lastIndexOf('/'); end > 0; end = text.lastIndexOf('/', end - 1)) {
        const QString folder = text.left(end).toLower();
        note(folder);
        if (is_indexed && !m_rule_folders.contains(folder))
            continue;
        if (!resolve(folder + kind, text.mid(end + 1), result))
            return result;
    }
    note(global_folder());
    resolve(global_folder() + kind, text, result);
    return result;
}

bool RULE_CACHE::resolve(const QString& key, const QString& path_below, RULE& result) const
{
    for (auto place = rules.constFind(key); place != rules.cend() && place.key() == key; ++place) {
        CACHED_RULE* const rule = *place;
        if (!rule->applies_to(path_below))
            continue;
        if (!result.found)
            result.found = rule;
        const auto& properties = rule->properties;
        for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
            const QString key_of_value = name_key(property.key());
            if (!result.values.contains(key_of_value))
                result.values.insert(key_of_value, {property.value(), rule});
        }
        if (!rule->inherit_properties)
            return false;
    }
    return true;
}

QString RULE_CACHE::save(P4_CONNECTION& p4)
{
    return m_files->save(rules, p4);
}

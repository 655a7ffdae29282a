#include <QtCore/QDir>

#include "contracts/paths/paths.h"
#include "contracts/rules/rule_cache.h"
#include "contracts/services/p4_connection.h"
#include "fuzz/fuzz_target.h"

/// A cache without a session.
struct RULE_CACHE_HOLDER
{
    RULE_CACHE cache;
};

namespace {

QString rule_file()
{
    static const QString path = [] {
        QDir().mkpath(scratch_path(QStringLiteral("tool")));
        QDir().mkpath(scratch_path(QStringLiteral("raw_data/unit")));
        require(PATHS::initialise(scratch_path(QStringLiteral("tool"))), QStringLiteral("no data roots"));
        return QStringLiteral("raw_data/unit/rules.gox");
    }();
    return path;
}

} // namespace

// Rules that were read can be asked, a save that has nothing to change leaves
// their file alone, and one that has finds its way in whatever XML it holds.
void take_input(const QByteArray& input)
{
    const PHYSICAL_PATH file(scratch_file(rule_file(), input));
    RULE_CACHE_HOLDER holder;
    if (!holder.cache.add_rules(file).isEmpty())
        return;
    holder.cache.validate_cache(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>());
    for (const CACHED_RULE* rule : qAsConst(holder.cache.rules))
        holder.cache.get(LOGICAL_PATH(QStringLiteral("<raw>/unit/deep/a file.tga")), rule->name);
    P4_CONNECTION p4(true, true, false);
    QString error = holder.cache.save(p4);
    require(error.isEmpty(), error);
    require(bytes_of(file) == input, QStringLiteral("unchanged rules were written"));

    for (CACHED_RULE* const rule : qAsConst(holder.cache.rules)) {
        rule->inherit_properties = !rule->inherit_properties;
        rule->set_file_filters(rule->get_file_filters().isEmpty() ? QStringLiteral("*.tga") : QString());
        for (QVariant& value : rule->properties)
            value = QStringLiteral("<new>");
    }
    error = holder.cache.save(p4);
    require(error.isEmpty(), error);
}

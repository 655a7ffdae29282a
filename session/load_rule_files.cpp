#include <QtCore/QCoreApplication>

#include "contracts/configuration/configuration.h"
#include "session/build_session.h"
#include "session/run_report.h"

namespace {

// A rule file that can't be read does not stop the run; an unattended run names
// it on the console.
void report(const QString& error)
{
    if (!error.isEmpty())
        RUN_REPORT::remark(error);
}

} // namespace

void BUILD_SESSION::load_rule_files()
{
    QVector<PHYSICAL_PATH> rule_files;
    auto place = file_map.begin();
    while (place != file_map.end()) {
        const QString& key = place.key();
        if (!key.endsWith(QLatin1String("/rules.gox")) || key.startsWith(QLatin1String("<retail>/"))) {
            ++place;
            continue;
        }
        rule_files.append(place.value()->physical);
        m_spellings.file_left(place.value()->physical);
        place = file_map.erase(place);
    }
    for (const PHYSICAL_PATH& file : qAsConst(rule_files))
        report(rule_cache.add_rules(file));
    for (const QString& name : configuration->global_rules)
        report(rule_cache.add_global_rules(
            PHYSICAL_PATH(QCoreApplication::applicationDirPath() + "/GOX/" + name)));
    rule_cache.validate_cache(file_map);
}

#include <QtCore/QCoreApplication>

#include <algorithm>

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
    std::sort(m_scanned_rule_files.begin(), m_scanned_rule_files.end()); // as the map has them
    for (const LOGICAL_PATH& key : qAsConst(m_scanned_rule_files)) {
        const auto place = file_map.find(key);
        if (place == file_map.end())
            continue;
        rule_files.append(place.value()->physical);
        m_spellings.file_left(place.value()->physical);
        file_map.erase(place);
    }
    m_scanned_rule_files.clear();
    for (const PHYSICAL_PATH& file : qAsConst(rule_files))
        report(rule_cache.add_rules(file));
    for (const QString& name : configuration->global_rules)
        report(rule_cache.add_global_rules(
            PHYSICAL_PATH(QCoreApplication::applicationDirPath() + "/GOX/" + name)));
    rule_cache.validate_cache(file_map);
}

#include "record/present_surroundings.h"

#include <QtCore/QFileInfo>

#include <algorithm>

#include "contracts/actions/processor_interface.h"
#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/services/asset_graph.h"
#include "contracts/services/question_log.h"
#include "session/build_session.h"

PRESENT_SURROUNDINGS::PRESENT_SURROUNDINGS(const BUILD_SESSION& session, const QVector<KNOWN_FILE>& known)
    : m_session(session), m_digests(known)
{
}

DIGEST PRESENT_SURROUNDINGS::rules()
{
    if (!m_rules)
        m_rules = m_session.rule_cache.digest();
    return *m_rules;
}

DIGEST PRESENT_SURROUNDINGS::graph()
{
    if (!m_graph)
        m_graph = m_session.asset_graph->digest();
    return *m_graph;
}

DIGEST PRESENT_SURROUNDINGS::library_of(const PROCESSOR_INTERFACE& processor)
{
    const auto known = m_libraries.constFind(&processor);
    if (known != m_libraries.cend())
        return *known;
    const QString library = m_session.processor_libraries.value(&processor);
    DIGEST digest = library.isEmpty() ? DIGEST() : m_digests.of(library).digest;
    if (stamp_of_file(library) != m_session.library_stamps.value(library))
        digest = DIGEST(); // that of another library than the one that is at work
    return *m_libraries.insert(&processor, digest);
}

DIGEST PRESENT_SURROUNDINGS::table(const QString& name) const
{
    return m_session.database ? m_session.database->table_digest(name) : DIGEST();
}

SURROUNDINGS PRESENT_SURROUNDINGS::of(const PROCESSOR_INTERFACE& processor, const ASKED_QUESTIONS& asked)
{
    SURROUNDINGS result;
    result.library = library_name(processor);
    result.library_digest = library_of(processor);
    result.asked_graph = asked.asset_graph;
    if (asked.asset_graph)
        result.graph_digest = graph();
    for (const QString& name : asked.tables)
        result.tables.append({name, table(name)});
    std::sort(result.tables.begin(), result.tables.end(),
              [](const RECORDED_TABLE& a, const RECORDED_TABLE& b) { return a.name < b.name; });
    return result;
}

bool PRESENT_SURROUNDINGS::hold(const SURROUNDINGS& former, const PROCESSOR_INTERFACE& processor)
{
    const DIGEST library = library_of(processor);
    if (library.is_null() || library != former.library_digest)
        return false;
    if (former.asked_graph && former.graph_digest != graph())
        return false;
    return std::all_of(former.tables.cbegin(), former.tables.cend(), [&](const RECORDED_TABLE& read) {
        return !read.digest.is_null() && read.digest == table(read.name);
    });
}

QString PRESENT_SURROUNDINGS::library_name(const PROCESSOR_INTERFACE& processor) const
{
    return QFileInfo(m_session.processor_libraries.value(&processor)).fileName();
}

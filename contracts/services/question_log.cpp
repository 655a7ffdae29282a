#include "contracts/services/question_log.h"

#include <atomic>
#include <mutex>

namespace {

// Up to here a walk over the vector is quicker than a set.
const int MANY_RULES = 16;

std::atomic<ASKED_QUESTIONS*> s_listener{nullptr};
std::mutex s_mutex; // held by whoever writes to the listener or changes it

// A listener that goes while somebody waits for the mutex is not written to.
template <typename NOTE>
bool tell_listener(NOTE note)
{
    if (!s_listener.load(std::memory_order_relaxed))
        return false;
    const std::lock_guard<std::mutex> lock(s_mutex);
    ASKED_QUESTIONS* const listener = s_listener.load(std::memory_order_relaxed);
    if (listener)
        note(*listener);
    return listener != nullptr;
}

} // namespace

void ASKED_QUESTIONS::add(const RULE_QUESTION& question)
{
    if (rules.size() >= MANY_RULES && m_known_rules.isEmpty())
        for (const RULE_QUESTION& known : qAsConst(rules))
            m_known_rules.insert(known);
    if (m_known_rules.isEmpty() ? rules.contains(question) : m_known_rules.contains(question))
        return;
    if (!m_known_rules.isEmpty())
        m_known_rules.insert(question);
    rules.append(question);
    // A plugin spells a kind anew for each question.
    if (rules.size() > 1 && rules.at(rules.size() - 2).kind == question.kind)
        rules.last().kind = rules.at(rules.size() - 2).kind;
}

void ASKED_QUESTIONS::add_table(const QString& table)
{
    if (!tables.contains(table))
        tables.append(table);
}

void ASKED_QUESTIONS::add(const ASKED_QUESTIONS& other)
{
    for (const RULE_QUESTION& question : other.rules)
        add(question);
    for (const QString& table : other.tables)
        add_table(table);
    asset_graph |= other.asset_graph;
}

void QUESTION_LOG::listen(ASKED_QUESTIONS* listener)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_listener.store(listener, std::memory_order_relaxed);
}

void QUESTION_LOG::rule_asked(const LOGICAL_PATH& path, const QString& kind)
{
    tell_listener([&](ASKED_QUESTIONS& listener) { listener.add({path, kind}); });
}

void QUESTION_LOG::table_asked(const QString& table)
{
    tell_listener([&](ASKED_QUESTIONS& listener) { listener.add_table(table); });
}

bool QUESTION_LOG::graph_asked()
{
    return tell_listener([](ASKED_QUESTIONS& listener) { listener.asset_graph = true; });
}

#include "contracts/services/question_log.h"

#include <atomic>
#include <mutex>

#include "contracts/services/digest.h"

namespace {

// Up to here a walk over the vector is quicker.
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
    if (rules.size() < MANY_RULES) {
        if (rules.contains(question))
            return;
    } else {
        if (m_places.size() < 2 * rules.size())
            make_places();
        int& number = m_places[place_of(question)];
        if (number != 0)
            return;
        number = rules.size() + 1;
    }
    rules.append(question);
    // A plugin spells a kind anew for each question.
    if (rules.size() > 1 && rules.at(rules.size() - 2).kind == question.kind)
        rules.last().kind = rules.at(rules.size() - 2).kind;
}

// Where the question stands, or an empty place for it.
int ASKED_QUESTIONS::place_of(const RULE_QUESTION& question) const
{
    const quint64 last = quint64(m_places.size() - 1); // all bits set
    quint64 place = hash_64(question.kind, hash_64(question.path)) & last;
    while (m_places.at(int(place)) != 0 && !(rules.at(m_places.at(int(place)) - 1) == question))
        place = (place + 1) & last;
    return int(place);
}

void ASKED_QUESTIONS::make_places()
{
    int size = 4 * MANY_RULES;
    while (size < 4 * rules.size())
        size *= 2;
    m_places = QVector<int>(size);
    for (int i = 0; i < rules.size(); ++i)
        m_places[place_of(rules.at(i))] = i + 1;
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

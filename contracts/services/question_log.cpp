#include "contracts/services/question_log.h"

#include <atomic>
#include <mutex>

#include "contracts/services/digest.h"

namespace {

// Up to here a walk over the vector is quicker.
const int MANY_RULES = 16;
constexpr quint64 NUMBER = 0xffffffff; // of a question, in a place

std::atomic<ASKED_QUESTIONS*> s_listener{nullptr};
std::mutex s_mutex; // held by whoever writes to the listener or changes it

quint64 hash_of(const RULE_QUESTION& question)
{
    return hash_64(question.kind, hash_64(question.path)) & ~NUMBER;
}

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
            grow();
        const quint64 hash = hash_of(question);
        quint64& place = place_of(hash, &question);
        if (place != 0)
            return;
        place = hash | quint64(rules.size() + 1);
    }
    rules.append(question);
    // A plugin spells a kind anew for each question.
    if (rules.size() > 1 && rules.at(rules.size() - 2).kind == question.kind)
        rules.last().kind = rules.at(rules.size() - 2).kind;
}

// Where the question stands, or an empty place for it; for null an empty place.
quint64& ASKED_QUESTIONS::place_of(quint64 hash, const RULE_QUESTION* question)
{
    const quint64 last = quint64(m_places.size() - 1); // all bits set
    quint64 index = (hash >> 32) & last;
    quint64* const places = m_places.data();
    const auto is_it = [&](quint64 place) {
        return question && (place & ~NUMBER) == hash && rules.at(int(place & NUMBER) - 1) == *question;
    };
    while (places[index] != 0 && !is_it(places[index]))
        index = (index + 1) & last;
    return places[index];
}

void ASKED_QUESTIONS::grow()
{
    QVector<quint64> known = m_places;
    if (known.isEmpty())
        for (int i = 0; i < rules.size(); ++i)
            known.append(hash_of(rules.at(i)) | quint64(i + 1));
    int size = 4 * MANY_RULES;
    while (size < 4 * rules.size())
        size *= 2;
    m_places = QVector<quint64>(size);
    for (const quint64 place : qAsConst(known))
        if (place != 0)
            place_of(place & ~NUMBER, nullptr) = place;
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

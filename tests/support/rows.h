#pragma once

#include <QtTest/QTest>

#include <tuple>
#include <utility>

/// The rows of a data-driven test, a call each, with columns that need no names:
///
///     using ORDER = ROWS<QByteArray, QStringList>;
///     void order_data() { const ORDER row; row("as collected", "action a", {"a"}); }
///     void order() { const auto [script, expected] = ORDER::values(); ... }
template <typename... COLUMNS>
class ROWS
{
public:
    ROWS() { add_columns(std::index_sequence_for<COLUMNS...>()); }

    void operator()(const char* name, const COLUMNS&... values) const
    {
        (QTest::newRow(name) << ... << values);
    }

    /// Of the row whose turn it is.
    static std::tuple<COLUMNS...> values() { return read(std::index_sequence_for<COLUMNS...>()); }

private:
    static constexpr const char* s_names[] = {"0", "1", "2", "3", "4", "5", "6", "7"};

    template <std::size_t... INDEX>
    static void add_columns(std::index_sequence<INDEX...>)
    {
        (QTest::addColumn<COLUMNS>(s_names[INDEX]), ...);
    }
    template <std::size_t... INDEX>
    static std::tuple<COLUMNS...> read(std::index_sequence<INDEX...>)
    {
        return {*static_cast<COLUMNS*>(QTest::qData(s_names[INDEX], qMetaTypeId<COLUMNS>()))...};
    }
};

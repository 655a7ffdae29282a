#pragma once

#include <QtCore/QString>

#include <initializer_list>
#include <type_traits>

// How this folder puts its errors. Any thread.

/// The text of an error: `form`, where the first value stands for "%1" and so on.
template <typename... VALUES>
QString kv_text(const char* form, const VALUES&... values)
{
    const auto text_of = [](const auto& value) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(value)>>)
            return QString::number(value);
        else
            return QString(value);
    };
    if constexpr (sizeof...(values) > 0)
        return QString(form).arg(text_of(values)...);
    else
        return QString(form);
}

/// The first of several that is not empty.
inline QString kv_first(std::initializer_list<QString> problems)
{
    for (const QString& problem : problems)
        if (!problem.isEmpty())
            return problem;
    return QString();
}

/// The same as kv_text if something is wrong, else empty.
template <typename... VALUES>
QString kv_problem(bool is_wrong, const char* form, const VALUES&... values)
{
    return is_wrong ? kv_text(form, values...) : QString();
}

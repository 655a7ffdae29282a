#pragma once

#include <QtCore/QByteArray>

#include <cstring>

/// The place in the bytes of an XML text behind what starts at `from` and holds
/// no elements: a comment, raw text, an instruction; the end of the text where
/// it is not ended. `from` itself for anything else. Any thread.
inline int behind_raw_part(const QByteArray& content, int from)
{
    constexpr const char* PARTS[][2] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (const auto& part : PARTS) {
        const int size = int(std::strlen(part[0]));
        if (std::strncmp(content.constData() + from, part[0], std::size_t(size)) != 0)
            continue;
        const int end = content.indexOf(part[1], from + size);
        return end < 0 ? content.size() : end + int(std::strlen(part[1]));
    }
    return from;
}

#include "contracts/rules/text_edits.h"

#include <algorithm>

#include "contracts/services/xml_raw_part.h"

namespace {

bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

int start_of_blanks(const QByteArray& text, int place)
{
    while (place > 0 && is_blank(text.at(place - 1)))
        --place;
    return place;
}

} // namespace

bool is_line_end(const QByteArray& text, int place)
{
    return place >= text.size() || text.at(place) == '\n' || text.at(place) == '\r';
}

QByteArray indent_before(const QByteArray& text, int place)
{
    const int start = start_of_blanks(text, place);
    const bool is_line_start = start > 0 && is_line_end(text, start - 1);
    return is_line_start ? QByteArray("").append(text.mid(start, place - start)) : QByteArray();
}

int end_of_line_or(const QByteArray& text, int place)
{
    int end = place;
    while (!is_line_end(text, end)) {
        const int behind = is_blank(text.at(end))       ? end + 1
                           : text.mid(end, 4) == "<!--" ? behind_raw_part(text, end)
                                                        : end;
        if (behind == end)
            return place;
        end = behind;
    }
    return end;
}

void TEXT_EDITS::remove_with_indent(int begin, int end)
{
    begin = start_of_blanks(m_text, begin);
    if (begin > 0 && m_text.at(begin - 1) == '\n')
        --begin;
    if (begin > 0 && m_text.at(begin - 1) == '\r')
        --begin;
    replace(begin, end, QByteArray());
}

QByteArray TEXT_EDITS::result()
{
    // What is inserted in front of a part that goes comes first.
    std::stable_sort(m_edits.begin(), m_edits.end(), [](const EDIT& a, const EDIT& b) {
        return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
    });
    QByteArray result;
    int place = 0;
    for (const EDIT& edit : qAsConst(m_edits)) {
        result += m_text.mid(place, edit.begin - place) + edit.by;
        place = edit.end;
    }
    return result + m_text.mid(place);
}

#pragma once

#include <QtCore/QString>

/// Replaces each letter by what `map` makes of it, a uint from a uint, and keeps
/// the length of the text: a letter of one code unit that would need two, or the
/// other way round, stays. `map` must change of the ASCII letters the capitals
/// alone, and those to small ones. Any thread.
template <typename MAP>
void map_letters(QChar* text, int size, MAP map)
{
    for (int i = 0; i < size; ++i) {
        const ushort c = text[i].unicode();
        if (c < 0x80) {
            if (c >= 'A' && c <= 'Z')
                text[i] = QChar(ushort(c + ('a' - 'A')));
        } else if (QChar::isHighSurrogate(c) && i + 1 < size && text[i + 1].isLowSurrogate()) {
            const uint letter = map(QChar::surrogateToUcs4(c, text[i + 1].unicode()));
            if (letter > 0xffff) {
                text[i] = QChar(QChar::highSurrogate(letter));
                text[i + 1] = QChar(QChar::lowSurrogate(letter));
            }
            ++i;
        } else {
            const uint letter = map(uint(c));
            if (letter <= 0xffff)
                text[i] = QChar(ushort(letter));
        }
    }
}

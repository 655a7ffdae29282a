#include "contracts/paths/letter_case.h"

namespace {

uint lower(uint letter)
{
    return QChar::toLower(QChar::toCaseFolded(letter));
}

} // namespace

QString lower_case_by_letter(const QString& text)
{
    QString result = text;
    lower_case_by_letter(result.data(), result.size());
    return result;
}

void lower_case_by_letter(QChar* text, int size)
{
    for (int i = 0; i < size; ++i) {
        const ushort c = text[i].unicode();
        if (c < 0x80) {
            if (c >= 'A' && c <= 'Z')
                text[i] = QChar(ushort(c + ('a' - 'A')));
        } else if (QChar::isHighSurrogate(c) && i + 1 < size && text[i + 1].isLowSurrogate()) {
            const uint letter = lower(QChar::surrogateToUcs4(c, text[i + 1].unicode()));
            if (letter > 0xffff) {
                text[i] = QChar(QChar::highSurrogate(letter));
                text[i + 1] = QChar(QChar::lowSurrogate(letter));
            }
            ++i;
        } else {
            const uint letter = lower(uint(c));
            if (letter <= 0xffff)
                text[i] = QChar(ushort(letter));
        }
    }
}

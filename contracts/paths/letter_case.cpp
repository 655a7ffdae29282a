#include "contracts/paths/letter_case.h"

namespace {

uint lower(uint letter)
{
    return QChar::toLower(QChar::toCaseFolded(letter));
}

// Lower case for the letters of ASCII; false when there are others. Most paths have
// no others, and without a branch a letter takes a fraction of the time.
bool lower_case_of_ascii(QChar* text, int size)
{
    uint all_bits = 0;
    for (int i = 0; i < size; ++i) {
        const uint c = text[i].unicode();
        all_bits |= c;
        text[i] = QChar(ushort(c | uint(c - 'A' < 26) << 5));
    }
    return all_bits < 0x80;
}

} // namespace

QString lower_case_by_letter(const QString& text)
{
    QString result = text;
    lower_case_by_letter(result.data(), result.size());
    return result;
}

bool begins_with_folder(const QString& path, const QString& folder)
{
    if (path.size() < folder.size())
        return false;
    for (int i = folder.size() - 1; i >= 0; --i) {
        const QChar a = path.at(i);
        const QChar b = folder.at(i);
        if (a != b && a.toCaseFolded() != b.toCaseFolded()) // or halves of letters
            return a.isSurrogate() && path.startsWith(folder, Qt::CaseInsensitive);
    }
    return true;
}

void lower_case_by_letter(QChar* text, int size)
{
    if (lower_case_of_ascii(text, size))
        return;
    for (int i = 0; i < size; ++i) {
        const ushort c = text[i].unicode();
        if (c < 0x80)
            continue;
        if (QChar::isHighSurrogate(c) && i + 1 < size && text[i + 1].isLowSurrogate()) {
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

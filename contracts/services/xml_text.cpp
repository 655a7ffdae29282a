#include "contracts/services/xml_text.h"

static bool is_xml_letter(QChar letter)
{
    const ushort code = letter.unicode();
    return code >= 0x20 ? code < 0xfffe : code == '\t' || code == '\n' || code == '\r';
}

int first_not_for_xml(const QString& text, int from)
{
    for (int i = from; i < text.size(); ++i) {
        const bool is_whole =
            text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (!is_whole && (text.at(i).isSurrogate() || !is_xml_letter(text.at(i))))
            return i;
        i += is_whole;
    }
    return -1;
}

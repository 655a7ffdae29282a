#pragma once

#include <QtCore/QString>

#include <algorithm>

#include "contracts/export.h"

/// Lower case for paths: each letter becomes the lower case of its folded form, so
/// that two letters which any comparison without regard to case takes for one
/// become one letter here (a final sigma and a sigma, a long s and an s). The length
/// of the text never changes, as it does in full case mapping: a letter of one code
/// unit that would need two, or the other way round, stays. Any thread.
GOX_CONTRACTS_EXPORT QString lower_case_by_letter(const QString& text);

/// The same in place, for `size` code units.
GOX_CONTRACTS_EXPORT void lower_case_by_letter(QChar* text, int size);

/// Whether `path` begins as `folder` does, letter case apart: what QString::startsWith
/// says, told sooner where it does not. Folders of one tree begin alike, so their ends
/// are looked at first. Any thread.
GOX_CONTRACTS_EXPORT bool begins_with_folder(const QString& path, const QString& folder);

/// Whether a text, of QChar or of bytes, is ASCII without capitals: then it is its
/// own lower case, as most paths are. Any thread.
template <typename LETTER>
bool is_plainly_lower_case(const LETTER* text, int size)
{
    return std::all_of(text, text + size, [](LETTER c) {
        const ushort letter = QChar(c).unicode();
        return letter < 0x80 && !(letter >= 'A' && letter <= 'Z');
    });
}

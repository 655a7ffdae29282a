#pragma once

#include <QtCore/QHash>
#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVector>

#include "contracts/export.h"

/// One wildcard pattern, made ready for many questions.
///
///   ?    any one character, a slash included
///   *    any number of characters of one name
///   ...  any number of characters, slashes included
///
/// Everything else stands for itself. A pattern speaks of the whole path, from
/// its first to its last character. What a question costs grows with the path
/// and with the pattern and in no other way, however the wildcards stand.
///
/// A value class; any thread may ask.
class GOX_CONTRACTS_EXPORT FILE_PATTERN
{
public:
    /// `pattern` in lower case, without a leading "-".
    explicit FILE_PATTERN(const QString& pattern = QString());

    /// `path` in lower case (lower_case_by_letter).
    bool matches(const QString& path) const;

private:
    struct TOKEN;
    enum class MIDDLE
    {
        NONE,
        ONE_NAME,
        TREE,
        MIXED
    };

    // A word of a row that is not all zero: a pattern of very many different
    // characters has large rows with next to nothing in them.
    struct CELL
    {
        int word;
        quint64 bits;
    };

    static QVector<TOKEN> tokens_of(const QString& pattern);
    void take_middle(const QVector<TOKEN>& tokens, int first, int last);
    void take_literals(QVector<QPair<int, int>>& literals);
    void set_bit(QVector<quint64>& bits, int bit) const;
    int row_of(ushort character) const;
    int add_row(ushort character);
    bool middle_matches(const QChar* text, int size) const;

    QString m_prefix; // the literal text before the first wildcard
    QString m_suffix; // the literal text behind the last one
    MIDDLE m_middle = MIDDLE::NONE;

    // What lies between the two, as an automaton over sets of bits: bit i is
    // set while the first i characters of the middle (stars aside) are met.
    int m_length = 0;                // characters that the middle asks for
    int m_words = 0;                 // words of 64 bits in one set
    QVector<quint64> m_stay_in_name; // bits that stay on any character but a slash
    QVector<quint64> m_stay;         // bits that stay on any character
    QVector<quint64> m_stay_on_half; // bits that stay on the second half of a character
    QVector<quint64> m_any;          // bits that a "?" moves on
    int m_row_count = 0;             // known characters
    QVector<CELL> m_cells;           // row by row the bits that a known character moves on
    QVector<int> m_first_cells;      // of each row, and behind the last one
    QVector<int> m_ascii_rows;       // character below 128 to row, -1 for none
    QHash<ushort, int> m_other_rows; // the same for the rest
};

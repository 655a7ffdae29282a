#include "contracts/rules/file_pattern.h"

#include <QtCore/QVarLengthArray>

#include <algorithm>

struct FILE_PATTERN::TOKEN
{
    enum KIND
    {
        LITERAL,
        ONE,
        NAME,
        TREE
    } kind;
    QChar character; // of a LITERAL

    bool is_star() const { return kind == NAME || kind == TREE; }
};

namespace {

constexpr int BITS = 64;
constexpr int ASCII = 128;
constexpr int NO_ROW = -1;

} // namespace

QVector<FILE_PATTERN::TOKEN> FILE_PATTERN::tokens_of(const QString& pattern)
{
    QVector<TOKEN> tokens;
    tokens.reserve(pattern.size());
    for (int i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern.at(i);
        if (c == '.' && pattern.midRef(i, 3) == QLatin1String("...")) {
            tokens.append({TOKEN::TREE, QChar()});
            i += 2;
        } else if (c == '*') {
            tokens.append({TOKEN::NAME, QChar()});
        } else if (c == '?') {
            tokens.append({TOKEN::ONE, QChar()});
        } else {
            tokens.append({TOKEN::LITERAL, c});
        }
    }
    return tokens;
}

FILE_PATTERN::FILE_PATTERN(const QString& pattern)
{
    const QVector<TOKEN> tokens = tokens_of(pattern);
    int first = 0;
    while (first < tokens.size() && tokens.at(first).kind == TOKEN::LITERAL)
        m_prefix += tokens.at(first++).character;
    if (first == tokens.size())
        return;

    int last = tokens.size();
    while (tokens.at(last - 1).kind == TOKEN::LITERAL)
        --last;
    for (int i = last; i < tokens.size(); ++i)
        m_suffix += tokens.at(i).character;
    take_middle(tokens, first, last);
}

void FILE_PATTERN::take_middle(const QVector<TOKEN>& tokens, int first, int last)
{
    const auto begin = tokens.begin() + first;
    const auto end = tokens.begin() + last;
    m_length = int(std::count_if(begin, end, [](const TOKEN& token) { return !token.is_star(); }));
    if (m_length == 0) {
        const bool has_tree = std::any_of(begin, end, [](const TOKEN& t) { return t.kind == TOKEN::TREE; });
        m_middle = has_tree ? MIDDLE::TREE : MIDDLE::ONE_NAME;
        return;
    }
    m_middle = MIDDLE::MIXED;
    m_words = (m_length + 1 + BITS - 1) / BITS;
    for (QVector<quint64>* bits : {&m_stay_in_name, &m_stay, &m_stay_on_half, &m_any})
        *bits = QVector<quint64>(m_words, 0);
    m_ascii_rows = QVector<int>(ASCII, NO_ROW);

    QVector<QPair<int, int>> literals; // row and bit
    int met = 0;
    for (auto token = begin; token != end; ++token) {
        if (token->kind == TOKEN::NAME) {
            set_bit(m_stay_in_name, met);
        } else if (token->kind == TOKEN::TREE) {
            set_bit(m_stay, met);
        } else if (token->kind == TOKEN::ONE) {
            set_bit(m_any, met++);
            set_bit(m_stay_on_half, met);
        } else {
            literals.append({add_row(token->character.unicode()), met++});
        }
    }
    take_literals(literals);
}

void FILE_PATTERN::take_literals(QVector<QPair<int, int>>& literals)
{
    std::sort(literals.begin(), literals.end());
    for (const QPair<int, int>& literal : qAsConst(literals)) {
        const int word = literal.second / BITS;
        if (m_first_cells.size() == literal.first)
            m_first_cells.append(m_cells.size());
        if (m_cells.size() == m_first_cells.last() || m_cells.last().word != word)
            m_cells.append({word, 0});
        m_cells.last().bits |= quint64(1) << (literal.second % BITS);
    }
    m_first_cells.append(m_cells.size());
}

void FILE_PATTERN::set_bit(QVector<quint64>& bits, int bit) const
{
    bits[bit / BITS] |= quint64(1) << (bit % BITS);
}

int FILE_PATTERN::row_of(ushort character) const
{
    return character < ASCII ? m_ascii_rows.at(character) : m_other_rows.value(character, NO_ROW);
}

int FILE_PATTERN::add_row(ushort character)
{
    int row = row_of(character);
    if (row != NO_ROW)
        return row;
    row = m_row_count++;
    if (character < ASCII)
        m_ascii_rows[character] = row;
    else
        m_other_rows.insert(character, row);
    return row;
}

bool FILE_PATTERN::matches(const QString& path) const
{
    if (m_middle == MIDDLE::NONE)
        return path == m_prefix;
    const int size = path.size() - m_prefix.size() - m_suffix.size();
    if (size < m_length || !path.startsWith(m_prefix) || !path.endsWith(m_suffix))
        return false;
    const QChar* const text = path.constData() + m_prefix.size();
    if (m_middle == MIDDLE::TREE)
        return true;
    if (m_middle == MIDDLE::ONE_NAME)
        return std::find(text, text + size, QChar('/')) == text + size;
    return middle_matches(text, size);
}

bool FILE_PATTERN::middle_matches(const QChar* text, int size) const
{
    QVarLengthArray<quint64, 4> met(m_words);
    std::fill(met.begin(), met.end(), 0);
    met[0] = 1;
    for (int i = 0; i < size; ++i) {
        const QChar c = text[i];
        const bool is_slash = c == '/';
        // Two units that stand for one character count as one for a "?".
        const bool is_half = c.isLowSurrogate() && i > 0 && text[i - 1].isHighSurrogate();
        const int row = row_of(c.unicode());
        int cell = row == NO_ROW ? 0 : m_first_cells.at(row);
        const int cells_end = row == NO_ROW ? 0 : m_first_cells.at(row + 1);
        quint64 carry = 0;
        quint64 alive = 0;
        for (int w = 0; w < m_words; ++w) {
            const quint64 before = met[w];
            quint64 accepts = is_half ? 0 : m_any.at(w);
            if (cell != cells_end && m_cells.at(cell).word == w)
                accepts |= m_cells.at(cell++).bits;
            const quint64 stays =
                m_stay.at(w) | (is_slash ? 0 : m_stay_in_name.at(w)) | (is_half ? m_stay_on_half.at(w) : 0);
            const quint64 moved = before & accepts;
            met[w] = (moved << 1) | carry | (before & stays);
            carry = moved >> (BITS - 1);
            alive |= met[w];
        }
        if (!alive)
            return false;
    }
    return (met[m_length / BITS] >> (m_length % BITS)) & 1;
}

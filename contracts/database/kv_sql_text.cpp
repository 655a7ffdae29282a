#include "contracts/database/kv_sql_text.h"

#include "contracts/database/kv_schema_rules.h"

namespace {

bool is_word_letter(QChar c)
{
    return c != QChar::ByteOrderMark && (c.isLetterOrNumber() || c == '_' || c.unicode() >= 0x80);
}

// The names behind these may hold quotes; a byte order mark is a blank for SQLite
// between words and a letter within one.
bool is_wrong_sign(QChar c)
{
    return c == '$' || c == '@' || c == ':' || c == '#' || c == QChar::ByteOrderMark || c.isNull();
}

// Walks over the words of a text exactly as SQLite tells them apart: what it
// took for a string and SQLite for a word would pass unseen.
class SQL_WORDS
{
public:
    explicit SQL_WORDS(const QString& sql) : m_sql(sql) {}

    QString word;           // in lower case
    bool is_quoted = false; // so it is no keyword
    QString wrong_sign;     // empty unless one was met that can't be passed

    // Steps to the next word; false at the end and at a wrong sign.
    bool next()
    {
        while (m_place < m_sql.size() && wrong_sign.isEmpty()) {
            const QChar c = m_sql.at(m_place);
            is_quoted = c == '"' || c == '`' || c == '[' || c == '\'';
            if (is_quoted || is_word_letter(c)) {
                const bool is_text = c == '\'' && !is_before_table();
                word = (is_quoted ? quoted(c == '[' ? QLatin1Char(']') : c) : bare()).toLower();
                m_before = is_quoted ? QStringLiteral("'") : word;
                if (!is_text)
                    return true;
            } else if (starts("--")) {
                m_place = behind("\n");
            } else if (starts("/*")) {
                m_place = behind("*/");
            } else {
                pass_sign(c);
            }
        }
        return false;
    }

private:
    // SQLite takes a text in single quotes for a name where only a name can stand.
    bool is_before_table() const
    {
        static const QStringList SIGNS{"from", "join", "in", ",", "(", "."};
        return SIGNS.contains(m_before);
    }

    void pass_sign(QChar c)
    {
        if (is_wrong_sign(c))
            wrong_sign = c.isPrint()
                             ? QString(c)
                             : QStringLiteral("U+%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
        else if (!c.isSpace())
            m_before = c;
        ++m_place;
    }

    bool starts(const char* text) const { return m_sql.midRef(m_place, 2) == QLatin1String(text); }

    int behind(const char* text) const
    {
        const int place = m_sql.indexOf(QLatin1String(text), m_place + 2);
        return place < 0 ? m_sql.size() : place + int(qstrlen(text));
    }

    // A quote within is doubled and gives two words; no name of a table holds one.
    QString quoted(QChar end)
    {
        const int start = m_place + 1;
        const int place = m_sql.indexOf(end, start);
        m_place = place < 0 ? m_sql.size() : place + 1;
        return m_sql.mid(start, place < 0 ? -1 : place - start);
    }

    QString bare()
    {
        const int start = m_place;
        while (m_place < m_sql.size() && is_word_letter(m_sql.at(m_place)))
            ++m_place;
        return m_sql.mid(start, m_place - start);
    }

    const QString& m_sql;
    int m_place = 0;
    QString m_before; // the last word in lower case or sign; a single quote for a quoted word
};

} // namespace

QString kv_query_text_problem(const QString& sql, QSet<QString>& words)
{
    if (sql.size() > KV_MAX_QUERY_LENGTH)
        return QStringLiteral("it is longer than %1 characters").arg(KV_MAX_QUERY_LENGTH);
    SQL_WORDS walk(sql);
    if (!walk.next() || (walk.word != QLatin1String("select") && walk.word != QLatin1String("values")))
        return QStringLiteral("it must begin with SELECT: a query can only read");
    while (walk.next()) {
        if (!walk.is_quoted && walk.word == QLatin1String("with"))
            return QStringLiteral("it can't use WITH: such a query might never end");
        if (walk.word.startsWith(QLatin1String("pragma_")) || walk.word.startsWith(QLatin1String("sqlite_")))
            return QStringLiteral("it can't use \"%1\"").arg(walk.word.left(KV_QUOTED_LENGTH));
        words.insert(walk.word);
    }
    return walk.wrong_sign.isEmpty()
               ? QString()
               : QStringLiteral("it can't use the sign \"%1\": values are given by \"?\"")
                     .arg(walk.wrong_sign);
}

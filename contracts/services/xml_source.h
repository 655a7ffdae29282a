#pragma once

#include <QtCore/QIODevice>
#include <QtCore/QString>

#include <memory>

/// The bytes of an XML text on their way to QXmlStreamReader, watched for what the
/// parser must not see: bytes that are not UTF-8, for which it would name a wrong
/// place, and what would cost it memory or time without bound, which is a tag or
/// text that never ends and an element of very many attributes (these cost the
/// square of their number). What stands in front of such a thing is given out,
/// then reading fails and `problem` says why. For one thread at a time.
class XML_SOURCE : public QIODevice
{
public:
    /// Counts from 1, columns in characters.
    struct PLACE
    {
        qint64 line = 1;
        qint64 column = 1;
    };

    struct LIMITS
    {
        qint64 bytes;   ///< of the whole text
        qint64 piece;   ///< bytes that the parser reads without reporting anything
        int attributes; ///< of one element
    };

    /// Reads from `bytes`, which is open. What is given out is appended to `copy`
    /// too, unless it is null.
    XML_SOURCE(std::unique_ptr<QIODevice> bytes, const LIMITS& limits, QByteArray* copy);

    /// The parser has reported something; the next piece begins.
    void begin_piece() { m_piece = 0; }

    const QString& problem() const { return m_problem; } ///< empty while all is well
    const PLACE& problem_place() const { return m_problem_place; }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 size) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    enum STATE
    {
        TEXT,
        TAG,
        VALUE, // within quotes in a tag
        RAW,   // a comment, raw text or instruction
    };

    void fail(const QString& problem, const PLACE& place);
    void judge_end(qint64 count);
    bool is_utf8(uchar byte);
    void watch(char c);
    void watch_tag(char c);

    const std::unique_ptr<QIODevice> m_bytes;
    const LIMITS m_limits;
    QByteArray* const m_copy; // not owned
    qint64 m_total = 0;
    qint64 m_piece = 0;
    QString m_problem;
    PLACE m_problem_place;

    PLACE m_place;          // of what comes next, or of the character that is not complete
    PLACE m_tag;            // where the current one begins
    int m_following = 0;    // bytes of a character that are still to come
    uchar m_least_next = 0; // the bounds of the next one of them
    uchar m_greatest_next = 0;

    STATE m_state = TEXT;
    quint64 m_latest = 0; // bytes of a tag or raw part, the latest is the lowest
    quint64 m_raw_end = 0;
    char m_quote = 0;
    int m_values = 0; // of the current tag
};

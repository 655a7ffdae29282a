#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

/// An XML file as QXmlStreamReader reads it piece by piece, kept from what would
/// cost the parser memory or time without bound: a tag or text that never ends,
/// and an element of very many attributes (these cost the square of their
/// number); and from bytes that are not UTF-8, for which the parser would name a
/// wrong place. The bytes up to such a thing are given out, then reading fails
/// and `problem` says why. For one thread at a time.
class STREAMED_XML_FILE : public QFile
{
public:
    /// A piece is whatever the parser reads without reporting anything.
    STREAMED_XML_FILE(const QString& path, qint64 max_piece, int max_attributes);

    /// The parser has reported something; the next piece begins.
    void begin_piece() { m_piece = 0; }

    const QString& problem() const { return m_problem; } ///< empty while all is well

protected:
    qint64 readData(char* data, qint64 size) override;

private:
    enum STATE
    {
        TEXT,
        OPENING, // behind a "<" that may begin a comment and the like
        TAG,
        VALUE, // within quotes in a tag
        RAW,   // a comment, raw text or instruction, up to m_end
    };

    qint64 valid_bytes(const char* data, qint64 size);
    qint64 watch(const char* data, qint64 size);
    void watch_opening(char c);
    void watch_tag(char c);
    void watch_raw(char c);

    const qint64 m_max_piece;
    const int m_max_attributes;
    qint64 m_piece = 0;
    int m_following = 0; // bytes of a UTF-8 character that are still to come
    STATE m_state = TEXT;
    QByteArray m_opening;
    char m_quote = 0;
    const char* m_end = nullptr;
    int m_end_matched = 0;
    int m_values = 0; // of the current tag
    QString m_problem;
};

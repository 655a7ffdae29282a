#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QXmlStreamReader>

#include <initializer_list>
#include <memory>

#include "contracts/services/xml_source.h"

/// Reads an XML file that nobody vouches for: its size, nesting, attributes and the
/// length of a single tag or text are bounded, document type declarations (and so
/// entities of its own) are refused, and the first thing wrong ends the reading with
/// a text that names the place. Encodings other than UTF-8 are not read. The file is
/// read as the walk goes on, and never held in memory as a whole.
///
/// A caller walks down the elements:
///
///     XML_FILE_READER xml(path);
///     if (xml.open("rules"))
///         while (xml.next_child())
///             if (xml.name() == "rule")
///                 read_rule(xml);   // itself: next_child() until false, or text(), or skip()
///             else
///                 xml.skip();
///     if (!xml.finish())
///         return xml.error();
///
/// Each child that `next_child` enters must be left before the next: by walking
/// its own children until false, by `text` or by `skip`. After an error every
/// operation answers false or empty, so loops end by themselves. A stray text
/// between elements is an error too. For one thread at a time.
class XML_FILE_READER
{
public:
    static constexpr qint64 MAX_BYTES = qint64(64) << 20;
    static constexpr int MAX_NESTING = 64;      ///< elements within each other, the root counts
    static constexpr int MAX_ATTRIBUTES = 1000; ///< of one element
    static constexpr int MAX_PIECE = 16 << 20;  ///< bytes or characters of one text

    explicit XML_FILE_READER(const QString& path, qint64 max_bytes = MAX_BYTES,
                             int max_nesting = MAX_NESTING);
    ~XML_FILE_READER();

    /// Opens the file and enters its root element, which must be called `root`. The
    /// bytes go to `copy` too, if it is not null, all of them once `finish` is true.
    bool open(const char* root, QByteArray* copy = nullptr);

    /// The same for text that is at hand; the path serves the error texts only.
    bool open(const QByteArray& content, const char* root);

    /// Enters the next child of the current element. False at the end of the
    /// current element, which is left by that, and after an error.
    bool next_child();

    /// The same for the children of <`parent`>, which are called like one of `allowed`: any
    /// other is an error.
    bool next_child(const char* parent, std::initializer_list<const char*> allowed);

    /// The current element's name, valid until the next step.
    QStringRef name() const { return m_xml.name(); }

    /// All attributes of the current element, valid until the next step.
    QXmlStreamAttributes attributes() const { return m_xml.attributes(); }

    bool has_attribute(const char* attribute) const;
    QString attribute(const char* attribute) const; ///< empty when absent

    /// Only these attributes may stand in the current element; any other is an
    /// error, since a misspelt one would be lost without a word.
    bool allow_attributes(std::initializer_list<const char*> allowed);

    /// The root's attribute "version" is absent or at most `newest`: a file of a
    /// later version is refused, as it may mean what this program can't know.
    bool check_version(int newest);

    /// Leaves the current element, which may hold text only, and gives that
    /// text as it stands, spaces included.
    QString text();

    /// `text` without spaces at its ends, read as "true" or "false".
    bool boolean(bool& out);

    /// Leaves the current element with everything in it.
    void skip();

    /// Reads to the end of the document. True when all was well.
    bool finish();

    int line() const { return int(m_xml.lineNumber()); } ///< where the reading stands, from 1
    QString place() const;                               ///< the same as "file:line:column"

    /// Ends the reading with `cause` at the place where it stands. The first
    /// error counts. Always false.
    bool fail(const QString& cause);

    bool failed() const { return !m_error.isEmpty(); }

    /// "file:line:column: cause", or "file: cause" for a file that can't be
    /// opened; empty when all was well. Line and column count from 1.
    const QString& error() const { return m_error; }

private:
    bool cannot_open(const QString& cause);
    bool start(std::unique_ptr<QIODevice> bytes, const char* root, QByteArray* copy);
    bool enter_root(const char* root);
    bool has_come_to_problem(QXmlStreamReader::TokenType token) const;
    XML_SOURCE::PLACE here() const;
    bool fail_at(const QString& cause, const XML_SOURCE::PLACE& place);
    QXmlStreamReader::TokenType step();

    QString m_path;
    qint64 m_max_bytes;
    int m_max_nesting;
    std::unique_ptr<XML_SOURCE> m_source; // what m_xml reads from, once it is open
    QXmlStreamReader m_xml;
    int m_depth = 0; // elements that are open
    QString m_error;
};

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

/// Replacements in a text, gathered by its old places and carried out at once.
/// Those of one place happen in the order in which they were added, and none may
/// reach into another.
class TEXT_EDITS
{
public:
    explicit TEXT_EDITS(const QByteArray& text) : m_text(text) {}

    void replace(int begin, int end, const QByteArray& by) { m_edits.append({begin, end, by}); }
    void insert(int place, const QByteArray& text) { replace(place, place, text); }

    /// Removes a part and the spaces in front of it, with the line end if
    /// nothing else stands in front of it on its line.
    void remove_with_indent(int begin, int end);

    QByteArray result();

private:
    struct EDIT
    {
        int begin;
        int end;
        QByteArray by;
    };

    QByteArray m_text;
    QVector<EDIT> m_edits;
};

/// The spaces between the start of the line and `place`; null when something
/// else stands there.
QByteArray indent_before(const QByteArray& text, int place);

/// Where text that is to follow the part that ends at `place` can be inserted:
/// behind a comment on the same line when nothing follows that, otherwise
/// `place`.
int end_of_line_or(const QByteArray& text, int place);

/// Whether the line ends at `place`.
bool is_line_end(const QByteArray& text, int place);

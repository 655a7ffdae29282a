#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringRef>

#include "contracts/export.h"

/// The name of a file that is the same wherever the file lies: a logical root
/// ("<raw>", "<working>" or "<retail>"), folders and a file name with forward
/// slashes between them, as PATHS::logical_path spells it.
///
/// A value class around one QString, as cheap to copy as that; it stands
/// wherever a constant QString reference is wanted. Logical paths compare
/// exactly. Any thread may use its own copies.
class LOGICAL_PATH
{
public:
    LOGICAL_PATH() = default; ///< empty text; needed by Qt's containers
    explicit LOGICAL_PATH(const QString& text) : m_text(text) {}

    operator const QString&() const { return m_text; }

    QString left(int n) const { return m_text.left(n); }
    QStringRef midRef(int position, int n = -1) const { return m_text.midRef(position, n); }

    /// section('/', 1, -1) removes the root.
    QString section(QChar separator, int start, int end = -1) const
    {
        return m_text.section(separator, start, end);
    }

    /// The order of file maps: within a folder its own files come first, then
    /// each sub-folder whole; names compare by UTF-16 code unit, the shorter
    /// name first. So all paths below a folder lie together, and the first of
    /// them is found by a search for the folder's path with a slash behind it.
    GOX_CONTRACTS_EXPORT bool operator<(const QString& other) const;

    friend bool operator==(const LOGICAL_PATH& a, const LOGICAL_PATH& b) { return a.m_text == b.m_text; }
    friend bool operator!=(const LOGICAL_PATH& a, const LOGICAL_PATH& b) { return a.m_text != b.m_text; }
    friend uint qHash(const LOGICAL_PATH& path, uint seed = 0) { return ::qHash(path.m_text, seed); }

private:
    QString m_text;
};

Q_DECLARE_TYPEINFO(LOGICAL_PATH, Q_MOVABLE_TYPE);

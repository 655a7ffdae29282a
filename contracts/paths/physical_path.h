#pragma once

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QStringRef>

#include <utility>

#include "contracts/export.h"

/// An absolute path on disk with forward slashes, in the disk's spelling.
///
/// A value class around one QString, as cheap to copy as that; it stands
/// wherever a constant QString reference is wanted. As keys and with `==`,
/// physical paths compare without regard to case; the operations on text below
/// are those of QString. Any thread may use its own copies.
class PHYSICAL_PATH
{
public:
    PHYSICAL_PATH() = default; ///< an empty path: no place on disk
    explicit PHYSICAL_PATH(const QString& text) : m_text(text) {}
    explicit PHYSICAL_PATH(QString&& text) : m_text(std::move(text)) {}

    operator const QString&() const { return m_text; }

    QString left(int n) const { return m_text.left(n); }
    QString right(int n) const { return m_text.right(n); }
    QString mid(int position, int n = -1) const { return m_text.mid(position, n); }
    QStringRef midRef(int position, int n = -1) const { return m_text.midRef(position, n); }

    /// section('/', 0, -2) gives the parent folder.
    QString section(QChar separator, int start, int end = -1) const
    {
        return m_text.section(separator, start, end);
    }
    QString toLower() const { return m_text.toLower(); }

    /// Removes trailing slashes in place.
    GOX_CONTRACTS_EXPORT void remove_end_slashes();

    friend bool operator==(const PHYSICAL_PATH& a, const PHYSICAL_PATH& b)
    {
        return a.m_text.compare(b.m_text, Qt::CaseInsensitive) == 0;
    }
    friend bool operator!=(const PHYSICAL_PATH& a, const PHYSICAL_PATH& b) { return !(a == b); }
    friend uint qHash(const PHYSICAL_PATH& path, uint seed = 0)
    {
        return ::qHash(path.m_text.toCaseFolded(), seed);
    }

private:
    QString m_text;
};

Q_DECLARE_TYPEINFO(PHYSICAL_PATH, Q_MOVABLE_TYPE);

#pragma once

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVector>

namespace QTSHARED {

/// Tells whether a file is still the one that was read. A size of -1 matches
/// nothing: the file was so new that it could have changed again unseen.
struct AGF_STAMP
{
    qint64 size = -1;
    qint64 modified = 0; ///< of the contents; milliseconds since 1970, UTC
    qint64 changed = 0;  ///< of the file's own record in its folder; the same

    friend bool operator==(const AGF_STAMP& a, const AGF_STAMP& b)
    {
        return a.size >= 0 && a.size == b.size && a.modified == b.modified && a.changed == b.changed;
    }
};

/// An asset that a file defines, and what it uses, by number.
struct ASSET_USES
{
    int asset = 0;
    QVector<int> uses; ///< free of repeats
};

/// What one `.agf` file says.
struct AGF_FRAGMENTS
{
    AGF_STAMP stamp;
    QString path; ///< that it was read from; empty when it comes from a cache
    QVector<ASSET_USES> assets;
};

/// The contents of a graph. Assets have numbers, so that a name stands in
/// memory once however often it is used.
struct ASSET_GRAPH_DATA
{
    QVector<QString> names; ///< by number; a name that nothing mentions any longer may stay
    QHash<QString, int> numbers;
    QMap<QString, AGF_FRAGMENTS> files; ///< by the name under which they are kept

    int number(const QString& name)
    {
        const auto known = numbers.constFind(name);
        if (known != numbers.constEnd())
            return known.value();
        numbers.insert(name, names.size());
        names.append(name);
        return names.size() - 1;
    }
};

} // namespace QTSHARED

Q_DECLARE_TYPEINFO(QTSHARED::ASSET_USES, Q_MOVABLE_TYPE);

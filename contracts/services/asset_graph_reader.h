#pragma once

#include <QtCore/QString>
#include <QtCore/QVector>

namespace QTSHARED {

constexpr int AGF_VERSION = 1;       ///< of the `.agf` format that is read here
constexpr int MAX_ASSET_NAME = 4096; ///< characters
constexpr qint64 MAX_AGF_BYTES = 64 << 20;

/// An asset as its file names it.
struct AGF_ASSET
{
    QString name;
    QVector<QString> uses; ///< in the order of the file, free of repeats
};

/// Reads an `.agf` file into `assets`, which is left as it was on an error. The
/// result is the error with file, line and column, empty on success.
QString read_agf(const QString& path, QVector<AGF_ASSET>& assets);

} // namespace QTSHARED

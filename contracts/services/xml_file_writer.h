#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Replaces the file `path` by `content`, whole or not at all. Empty on
/// success, otherwise "file: cause"; then the file is as it was. Any thread.
QString write_file_whole(const QString& path, const QByteArray& content);

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Files as tests want them: what can't be read or written here is a fault of
/// the test's own surroundings and ends the test program with a text.
namespace FILES {

/// The whole file; empty when there is none.
QByteArray bytes(const QString& path);

/// Writes the file and the folders above it. A valid `time` becomes its
/// modification time.
void write(const QString& path, const QByteArray& bytes, const QDateTime& time = QDateTime());

void set_time(const QString& path, const QDateTime& time);

/// Every file below the folder, relative to it, sorted.
QStringList below(const QString& folder);

/// `count` hours after a fixed moment in the past: times for files that are to
/// be older or newer than each other.
QDateTime hour(int count);

} // namespace FILES

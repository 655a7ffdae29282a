#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

#include "contracts/export.h"

class QSaveFile;

// Writing a file whole or not at all. Everything is written under a temporary
// name in the same folder, which has to exist, and then takes the place of the
// file. On a failure, a full disk included, the file stays as it was and the
// temporary one is removed; only a crash leaves it, its name that of the file and
// behind it a dot and up to seven letters and digits.
//
// A new file gets the permissions that any new file gets, a replaced one keeps
// its own. A read-only file is not replaced, whoever runs the program. A link
// stays, and what it points to is written. Errors read "file: can't be written:
// cause". Any thread.

/// For files that people made and files that can't be made again: comes back
/// when the disk has the bytes, so that a power cut leaves the old file or the
/// new one. That wait costs milliseconds, on a busy disk tenths of a second.
/// Empty on success.
GOX_CONTRACTS_EXPORT QString write_whole_file(const QString& path, const QByteArray& bytes);

/// The first half of write_whole_file, for files that have to change together:
/// `file` is opened and holds `bytes`, and its `commit` puts it in place.
GOX_CONTRACTS_EXPORT QString prepare_whole_file(QSaveFile& file, const QByteArray& bytes);

/// For targets, which can be built again: does not wait for the disk. After a
/// power cut a target that was written in the last minute can be the old one, or
/// empty though its date is new. On Windows a target that another program has open is
/// waited for half a second. Empty on success.
GOX_CONTRACTS_EXPORT QString write_target(const QString& path, const QByteArray& bytes);

/// A target that is written in pieces, like write_target. A device as any other,
/// so streams and image writers can write to it. The first failure is kept:
/// whatever is written after it is refused, and `commit` tells it.
///
///     TARGET_FILE file(path);
///     QDataStream(&file) << rows;
///     const QString error = file.commit();
class GOX_CONTRACTS_EXPORT TARGET_FILE : public QIODevice
{
public:
    /// Opens the temporary file.
    explicit TARGET_FILE(const QString& path);
    /// Without `commit` nothing has happened.
    ~TARGET_FILE() override;

    /// For a library or a program that writes to a name of its own: ends writing
    /// by this device and gives the path of the temporary file. Whatever lies
    /// there at `commit` becomes the target. Empty after a failure.
    QString temporary_path();

    /// Ends writing and puts the file in place. Empty on success, or what failed
    /// first.
    QString commit();

    /// What failed first; empty as long as nothing did.
    const QString& error() const { return m_error; }

    qint64 size() const override { return m_file.size(); }
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 size) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    void create_temporary();
    void end_writing();
    void fail(const QString& cause);

    const QString m_path;  // as it was given
    const QString m_place; // what is replaced: m_path, or what it is a link to
    QFile m_file;          // the temporary file
    bool m_is_there = false;
    QFile::Permissions m_permissions;
    QString m_error;
};

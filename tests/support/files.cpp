#include "tests/support/files.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

QByteArray FILES::bytes(const QString& path)
{
    QFile file(path);
    if (!file.exists())
        return QByteArray();
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
    return file.readAll();
}

void FILES::write(const QString& path, const QByteArray& bytes, const QDateTime& time)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
    file.close();
    if (time.isValid())
        set_time(path, time);
}

void FILES::set_time(const QString& path, const QDateTime& time)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.setFileTime(time, QFileDevice::FileModificationTime))
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
}

QStringList FILES::below(const QString& folder)
{
    const QDir base(folder);
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (walk.hasNext())
        files.append(base.relativeFilePath(walk.next()));
    files.sort();
    return files;
}

QDateTime FILES::hour(int count)
{
    return QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC).addSecs(count * 3600);
}

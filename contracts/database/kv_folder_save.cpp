#include "contracts/database/kv_files.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>

#include <algorithm>

#include "contracts/database/kv_text.h"
#include "contracts/database/progress_callback.h"
#include "contracts/services/file_replacement.h"

namespace {

constexpr int PROBE_BYTES = 4096; // more than a lock takes
constexpr char WAITING[] = "/unfinished_save";
constexpr char PART[] = "/unfinished_save.part";
constexpr char LOCK[] = "/unfinished_save.lock";
constexpr char TO_REMOVE[] = ".removed"; // behind the name of a file that is to go

QString cannot_write(const QString& path, const QString& cause)
{
    return kv_text("%1: can't be written: %2", path, cause);
}

// Of the file that one which waits is to replace or to remove.
QString name_of(const QString& waiting)
{
    return waiting.endsWith(TO_REMOVE) ? waiting.chopped(int(qstrlen(TO_REMOVE))) : waiting;
}

// Why the file can't be replaced now. One that is to go may be gone already.
QString hindrance_of(const KV_FILE_TO_WRITE& file)
{
    const FILE_STAMP stamp = kv_file_stamp(file.path);
    const bool is_gone = file.is_removal() && stamp.size < 0;
    return stamp == file.stamp || is_gone ? why_not_replaceable(behind_links(file.path))
                                          : "somebody else changed it since it was read";
}

// Nobody loses by it, so it is no error; but somebody has to see to it.
void warn_of_waiting(const QString& folder, const QString& hindrance)
{
    if (!hindrance.isEmpty())
        qWarning("%s\nThe new files are saved in %s, and the database is read from there. Once nothing "
                 "hinders them, the next save or the next start that may write puts them in their places.",
                 qUtf8Printable(hindrance), qUtf8Printable(folder + WAITING));
}

// One save of a folder, of which there is one at a time.
class FOLDER_SAVE
{
public:
    FOLDER_SAVE(const QString& folder, PROGRESS_CALLBACK* progress)
        : m_folder(folder), m_progress(progress), m_lock(folder + LOCK)
    {
        m_lock.setStaleLockTime(0); // only that of a process that is gone
    }

    // Leaves nothing that is of no worth. What can't be removed hinders the next save.
    ~FOLDER_SAVE()
    {
        if (m_lock.isLocked())
            QDir(m_folder + PART).removeRecursively();
    }

    // Gets the folder for this save and goes on with one that was cut off.
    QString begin()
    {
        QString error = lock();
        if (error.isEmpty())
            error = kv_unfinished_save_problem(m_folder);
        if (error.isEmpty())
            error = put_in_place();
        if (error.isEmpty() && !QDir(m_folder + PART).removeRecursively())
            error = cannot_write(m_folder + PART, "what is left there can't be removed");
        return error;
    }

    // Until the new files are whole and wait, nothing has happened to the old ones;
    // from then on they are saved, even if one still can't take its place.
    QString write(const QVector<KV_FILE_TO_WRITE>& files)
    {
        if (!QDir().mkdir(m_folder + PART))
            return cannot_write(m_folder, "a folder can't be made in it");
        for (int i = 0; i < 2 * files.size(); ++i) {
            const KV_FILE_TO_WRITE& file = files.at(i % files.size());
            const bool is_prepared = i >= files.size(); // which took its time: looked at once more
            if (!is_prepared)
                report("Writing %1", file.path, i, files.size());
            QString cause = hindrance_of(file);
            if (cause.isEmpty() && !is_prepared)
                cause = prepare(file);
            if (!cause.isEmpty())
                return cannot_write(file.path, cause);
        }
        QFile part(m_folder + PART);
        if (!part.rename(m_folder + WAITING))
            return cannot_write(m_folder + WAITING, part.errorString());
        warn_of_waiting(m_folder, put_in_place());
        return QString();
    }

private:
    QString lock()
    {
        if (m_lock.tryLock(0))
            return QString();
        const QString path = m_folder + LOCK;
        if (m_lock.error() == QLockFile::LockFailedError) {
            qint64 process = 0;
            QString host, program;
            m_lock.getLockInfo(&process, &host, &program);
            return kv_text("%1: another process saves this folder (number %2 on \"%3\"); when that is "
                           "not so, remove this file",
                           path, process, host);
        }
        // The lock does not say why it can't be had; a file does.
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
            write_all(file, QByteArray(PROBE_BYTES, ' ').constData(), PROBE_BYTES);
        const QString error = cannot_write(path, file.errorString());
        if (file.isOpen())
            file.remove();
        return error;
    }

    QString prepare(const KV_FILE_TO_WRITE& file) const
    {
        const QString part = m_folder + PART + '/' + QFileInfo(file.path).fileName();
        if (!file.is_removal())
            return kv_write_file(part, file);
        QFile mark(part + TO_REMOVE);
        return mark.open(QIODevice::WriteOnly) ? QString() : mark.errorString();
    }

    // Files go first: the new name of one may differ in letter case only.
    QString put_in_place() const
    {
        QStringList names = QDir(m_folder + WAITING).entryList(QDir::Files | QDir::Hidden, QDir::Name);
        std::stable_partition(names.begin(), names.end(),
                              [](const QString& name) { return name.endsWith(QLatin1String(TO_REMOVE)); });
        for (int i = 0; i < names.size(); ++i) {
            const QString name = name_of(names.at(i));
            report("Saving %1", m_folder + '/' + name, i, names.size());
            QFile next(m_folder + WAITING + '/' + names.at(i)), old(behind_links(m_folder + '/' + name));
            QString cause = why_not_replaceable(old.fileName());
            if (cause.isEmpty() && old.exists() && !old.remove())
                cause = old.errorString();
            else if (cause.isEmpty() && !(name == names.at(i) ? next.rename(old.fileName()) : next.remove()))
                cause = next.errorString();
            if (!cause.isEmpty())
                return cannot_write(m_folder + '/' + name, cause);
        }
        QDir().rmdir(m_folder + WAITING);
        return QString();
    }

    void report(const char* step, const QString& path, int done, int total) const
    {
        if (m_progress)
            m_progress->progress(kv_text(step, path), done, total);
    }

    const QString m_folder;
    PROGRESS_CALLBACK* const m_progress;
    QLockFile m_lock;
};

} // namespace

// A file that waits may take its place between the two questions.
QString kv_file_to_read(const QString& path)
{
    const QFileInfo info(path);
    const QString waiting = info.path() + WAITING + '/' + info.fileName();
    return QFileInfo::exists(waiting) || (!info.exists() && QFileInfo::exists(waiting)) ? waiting : path;
}

QString kv_unfinished_save_problem(const QString& folder)
{
    const QDir waiting(folder + WAITING);
    for (const QFileInfo& file : waiting.entryInfoList(QDir::Files | QDir::Hidden, QDir::Name)) {
        const QString name = name_of(file.fileName());
        const QFileInfo place(behind_links(folder + '/' + name));
        if (place.exists() && file.lastModified() < place.lastModified())
            return kv_text("%1: somebody changed this file after a save of it was cut off; what was to "
                           "be saved is %2: remove one of the two files",
                           folder + '/' + name, file.filePath());
    }
    return QString();
}

void kv_finish_save(const QString& folder)
{
    if (QFileInfo::exists(folder + WAITING))
        warn_of_waiting(folder, FOLDER_SAVE(folder, nullptr).begin());
    else if (QFileInfo::exists(folder + PART))
        FOLDER_SAVE(folder, nullptr).begin();
}

QString kv_save_files(const QString& folder, const QVector<KV_FILE_TO_WRITE>& files,
                      PROGRESS_CALLBACK* progress)
{
    FOLDER_SAVE save(folder, progress);
    QString error = save.begin();
    if (error.isEmpty())
        error = save.write(files);
    if (error.isEmpty() || files.size() < 2)
        return error;
    QStringList names;
    for (const KV_FILE_TO_WRITE& file : files)
        names.append(QFileInfo(file.path).fileName());
    return error + kv_text("\nno file was written: %1", names.join(QStringLiteral(", ")));
}

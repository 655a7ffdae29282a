#include "contracts/database/kv_folder_save.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>

#include <algorithm>

#include "contracts/database/progress_callback.h"
#include "contracts/services/file_replacement.h"

namespace {

constexpr int PROBE_BYTES = 4096; // more than a lock takes
constexpr char WAITING[] = "/unfinished_save";
constexpr char PART[] = "/unfinished_save.part";
constexpr char OLD[] = "/unfinished_save.old";
constexpr char LOCK[] = "/unfinished_save.lock";
constexpr char CHANGED[] = "somebody else changed it since it was read";
constexpr char TO_REMOVE[] = ".removed"; // behind the name of a file that is to go

QString cannot_write(const QString& path, const QString& cause)
{
    return QStringLiteral("%1: can't be written: %2").arg(path, cause);
}

// A file that is to go may be gone already.
bool is_as_it_was(const KV_FILE_TO_WRITE& file)
{
    const KV_FILE_STAMP stamp = KV_FILE_STAMP::of(file.path);
    return stamp == file.stamp || (file.content.is_nothing() && stamp.size < 0);
}

QString move(const QString& from, const QString& to)
{
    QFile file(from);
    return file.rename(to) ? QString() : cannot_write(to, file.errorString());
}

bool remove_folder(const QString& path)
{
    return !QFileInfo::exists(path) || QDir(path).removeRecursively();
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
            clear_up();
    }

    // Gets the folder for this save and goes on with one that was cut off.
    QString begin()
    {
        QString error = lock();
        if (error.isEmpty())
            error = kv_unfinished_save_problem(m_folder);
        if (error.isEmpty())
            error = put_in_place();
        return error.isEmpty() ? clear_up() : error;
    }

    QString prepare(const QVector<KV_FILE_TO_WRITE>& files)
    {
        if (!QDir().mkdir(m_folder + PART))
            return cannot_write(m_folder, QStringLiteral("a folder can't be made in it"));
        for (int i = 0; i < files.size(); ++i) {
            report("Writing %1", files.at(i).path, i, files.size());
            const QString cause = prepare(files.at(i));
            if (!cause.isEmpty())
                return cannot_write(files.at(i).path, cause);
        }
        return QString();
    }

    // After an error everything is as it was. What was prepared took its time.
    QString replace(const QVector<KV_FILE_TO_WRITE>& files)
    {
        for (const KV_FILE_TO_WRITE& file : files)
            if (!is_as_it_was(file))
                return cannot_write(file.path, CHANGED);
        QString error = move(m_folder + PART, m_folder + WAITING);
        if (!error.isEmpty())
            return error;
        error = put_in_place();
        const QString hindrance = error.isEmpty() ? QString() : put_back();
        if (hindrance.isEmpty())
            return error;
        qWarning("%s\n%s\nThe files are saved in %s and take their places with the next save.",
                 qUtf8Printable(error), qUtf8Printable(hindrance), qUtf8Printable(m_folder + WAITING));
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
            return QStringLiteral("%1: another process saves this folder (number %2 on \"%3\"); when that is "
                                  "not so, remove this file")
                .arg(path)
                .arg(process)
                .arg(host);
        }
        // The lock does not say why it can't be had; a file does.
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered))
            return cannot_write(path, file.errorString());
        write_all(file, QByteArray(PROBE_BYTES, ' ').constData(), PROBE_BYTES);
        const QString error = cannot_write(path, file.errorString());
        file.remove();
        return error;
    }

    QString prepare(const KV_FILE_TO_WRITE& file) const
    {
        const QString place = behind_links(file.path);
        const QString part = m_folder + PART + '/' + QFileInfo(file.path).fileName();
        const QString cause = is_as_it_was(file) ? why_not_replaceable(place) : QString(CHANGED);
        if (!cause.isEmpty() || !file.content.is_nothing())
            return cause.isEmpty() ? kv_write_file(part, file.content, place) : cause;
        QFile mark(part + TO_REMOVE);
        return mark.open(QIODevice::WriteOnly) ? QString() : mark.errorString();
    }

    // Files go first: the new name of one may differ in letter case only.
    QString put_in_place()
    {
        m_placed.clear();
        m_aside.clear();
        QDir().mkdir(m_folder + OLD);
        QStringList names = QDir(m_folder + WAITING).entryList(QDir::Files | QDir::Hidden, QDir::Name);
        std::stable_partition(names.begin(), names.end(),
                              [](const QString& name) { return name.endsWith(QLatin1String(TO_REMOVE)); });
        for (int i = 0; i < names.size(); ++i) {
            QString name = names.at(i);
            const bool is_to_go = name.endsWith(QLatin1String(TO_REMOVE));
            if (is_to_go)
                name.chop(int(qstrlen(TO_REMOVE)));
            report("Saving %1", m_folder + '/' + name, i, names.size());
            const QString error = is_to_go ? take_away(name) : put_in_place(name);
            if (!error.isEmpty())
                return error;
        }
        QDir().rmdir(m_folder + WAITING);
        return QString();
    }

    QString put_in_place(const QString& name)
    {
        QString error = put_aside(name);
        if (error.isEmpty())
            error = move(m_folder + WAITING + '/' + name, place(name));
        if (error.isEmpty())
            m_placed.append(name);
        return error;
    }

    QString take_away(const QString& name)
    {
        const QString error = put_aside(name);
        if (error.isEmpty())
            QFile::remove(m_folder + WAITING + '/' + name + TO_REMOVE);
        return error;
    }

    QString put_aside(const QString& name)
    {
        const QString cause = why_not_replaceable(place(name));
        if (!cause.isEmpty())
            return cannot_write(m_folder + '/' + name, cause);
        if (!QFileInfo::exists(place(name)))
            return QString();
        const QString old = m_folder + OLD + '/' + name;
        QFile::remove(old);
        const QString error = move(place(name), old);
        if (error.isEmpty())
            m_aside.append(name);
        return error;
    }

    // The new files wait again, until all old ones are back: so it counts as saved
    // as long as any is missing.
    QString put_back()
    {
        QString error;
        while (!m_placed.isEmpty() && error.isEmpty()) {
            const QString name = m_placed.takeLast();
            error = move(place(name), m_folder + WAITING + '/' + name);
        }
        while (!m_aside.isEmpty() && error.isEmpty()) {
            const QString name = m_aside.takeLast();
            error = move(m_folder + OLD + '/' + name, place(name));
        }
        return error.isEmpty() ? move(m_folder + WAITING, m_folder + PART) : error;
    }

    QString clear_up() const
    {
        const bool is_waiting = QFileInfo::exists(m_folder + WAITING); // and may need the old files
        return remove_folder(m_folder + PART) && (is_waiting || remove_folder(m_folder + OLD))
                   ? QString()
                   : cannot_write(m_folder + PART, QStringLiteral("what is left there can't be removed"));
    }

    QString place(const QString& name) const { return behind_links(m_folder + '/' + name); }

    void report(const char* step, const QString& path, int done, int total) const
    {
        if (m_progress)
            m_progress->progress(QString::fromLatin1(step).arg(path), done, total);
    }

    const QString m_folder;
    PROGRESS_CALLBACK* const m_progress;
    QLockFile m_lock;
    QStringList m_aside;  // names of files that left their places
    QStringList m_placed; // and of those that took them
};

} // namespace

KV_FILE_STAMP KV_FILE_STAMP::of(const QString& path)
{
    const QFileInfo info(kv_file_to_read(path));
    KV_FILE_STAMP stamp;
    if (info.exists()) {
        stamp.time = info.lastModified().toUTC();
        stamp.size = info.size();
    }
    return stamp;
}

// A save that begins meanwhile takes the old file away only when the new one waits.
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
        QString name = file.fileName();
        if (name.endsWith(QLatin1String(TO_REMOVE)))
            name.chop(int(qstrlen(TO_REMOVE)));
        const QFileInfo place(behind_links(folder + '/' + name));
        if (place.exists() && file.lastModified() < place.lastModified())
            return QStringLiteral(
                       "%1: somebody changed this file after a save of it was cut off; what was to "
                       "be saved is %2: remove one of the two files")
                .arg(folder + '/' + name, file.filePath());
    }
    return QString();
}

QString kv_finish_save(const QString& folder)
{
    for (const char* const part : {WAITING, PART, OLD})
        if (QFileInfo::exists(folder + part))
            return FOLDER_SAVE(folder, nullptr).begin();
    return QString();
}

QString kv_save_files(const QString& folder, const QVector<KV_FILE_TO_WRITE>& files,
                      PROGRESS_CALLBACK* progress)
{
    FOLDER_SAVE save(folder, progress);
    QString error = save.begin();
    if (error.isEmpty())
        error = save.prepare(files);
    if (error.isEmpty())
        error = save.replace(files);
    if (error.isEmpty() || files.size() < 2)
        return error;
    QStringList names;
    for (const KV_FILE_TO_WRITE& file : files)
        names.append(QFileInfo(file.path).fileName());
    return error + QStringLiteral("\nno file was written: %1").arg(names.join(QStringLiteral(", ")));
}

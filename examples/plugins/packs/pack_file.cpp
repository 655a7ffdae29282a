#include "packs/pack_file.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <zip.h>

#include <memory>

#include "contracts/services/whole_file.h"

namespace {

// The first moment that a zip file can name: 1 January 1980, 0:00.
const zip_uint16_t FIRST_DATE = 1 << 5 | 1;
const zip_uint16_t FIRST_TIME = 0;
// A plain file that its owner may write, as Unix says it in the upper half.
const zip_uint32_t MODE = 0100644u << 16;
const double PROGRESS_STEP = 0.01;

// Without zip_close, which is the success, nothing reaches the disk.
using ARCHIVE = std::unique_ptr<zip_t, decltype(&zip_discard)>;

QString open_error(const QString& path, int code)
{
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    const QString text =
        QStringLiteral("%1: can't be written: %2").arg(path, QString::fromUtf8(zip_error_strerror(&error)));
    zip_error_fini(&error);
    return text;
}

QString archive_error(const QString& path, zip_t* archive)
{
    return QStringLiteral("%1: can't be written: %2").arg(path, QString::fromUtf8(zip_strerror(archive)));
}

// libzip opens its files late and does not say which one was to blame.
QString unreadable_member(const PACK_MEMBER& member)
{
    if (member.path.isEmpty())
        return {};
    QFile file(member.path);
    if (file.open(QIODevice::ReadOnly))
        return {};
    return QStringLiteral("%1 can't be read: %2").arg(member.path, file.errorString());
}

// libzip opens files in a way in which Windows takes no more than 260 letters, unless
// the path says so.
QByteArray place_of(const QString& path)
{
#ifdef Q_OS_WIN
    const QString native = QDir::toNativeSeparators(QDir::cleanPath(path));
    return (native.startsWith("\\\\") ? "\\\\?\\UNC" + native.mid(1) : "\\\\?\\" + native).toUtf8();
#else
    return path.toUtf8();
#endif
}

zip_source_t* source_of(zip_t* archive, const PACK_MEMBER& member)
{
    if (member.path.isEmpty())
        return zip_source_buffer(archive, member.text.constData(), zip_uint64_t(member.text.size()), 0);
    return zip_source_file(archive, place_of(member.path).constData(), 0, -1);
}

bool add_member(zip_t* archive, const PACK_MEMBER& member)
{
    zip_source_t* const source = source_of(archive, member);
    if (!source)
        return false;
    const zip_int64_t index =
        zip_file_add(archive, member.name.toUtf8().constData(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        return false;
    }
    const zip_uint64_t place = zip_uint64_t(index);
    return zip_file_set_dostime(archive, place, FIRST_TIME, FIRST_DATE, 0) == 0 &&
           zip_file_set_external_attributes(archive, place, 0, ZIP_OPSYS_UNIX, MODE) == 0;
}

void report_progress(zip_t*, double done, void* data)
{
    const PACK_PROGRESS& progress = *static_cast<const PACK_PROGRESS*>(data);
    progress.current = int(done * progress.total);
}

int is_stopped(zip_t*, void* data)
{
    return static_cast<const PACK_PROGRESS*>(data)->stop ? 1 : 0;
}

bool register_callbacks(zip_t* archive, const PACK_PROGRESS& progress)
{
    void* const data = const_cast<PACK_PROGRESS*>(&progress);
    return zip_register_progress_callback_with_state(archive, PROGRESS_STEP, report_progress, nullptr,
                                                     data) == 0 &&
           zip_register_cancel_callback_with_state(archive, is_stopped, nullptr, data) == 0;
}

// `path` is for messages alone.
QString write_archive(const QString& temporary, const QString& path, const QVector<PACK_MEMBER>& members,
                      const PACK_PROGRESS& progress)
{
    int code = 0;
    ARCHIVE archive(zip_open(place_of(temporary).constData(), ZIP_CREATE | ZIP_TRUNCATE, &code),
                    &zip_discard);
    if (!archive)
        return open_error(path, code);
    for (const PACK_MEMBER& member : members) {
        const QString reason = unreadable_member(member);
        if (!reason.isEmpty())
            return reason;
        if (!add_member(archive.get(), member))
            return archive_error(path, archive.get());
    }
    if (!register_callbacks(archive.get(), progress) || zip_close(archive.get()) != 0)
        return archive_error(path, archive.get());
    archive.release(); // closed, and with that gone
    return {};
}

} // namespace

// libzip would put a pack in the place of a read-only one, and of a link.
QString write_pack(const QString& path, const QVector<PACK_MEMBER>& members, const PACK_PROGRESS& progress)
{
    TARGET_FILE file(path);
    const QString temporary = file.temporary_path();
    const QString error =
        temporary.isEmpty() ? file.error() : write_archive(temporary, path, members, progress);
    return error.isEmpty() ? file.commit() : error;
}

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextCodec>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include <sanitizer/allocator_interface.h>

#include "fuzz/fuzz_target.h"

namespace {

// Heap in use, and the most of it since the last input began.
std::atomic<qint64> s_in_use(0);
std::atomic<qint64> s_most(0);

void count_allocation(const volatile void*, std::size_t size)
{
    const qint64 now = s_in_use += qint64(size);
    if (now > s_most)
        s_most = now;
}

void count_release(const volatile void* memory)
{
    if (memory)
        s_in_use -= qint64(__sanitizer_get_allocated_size(memory));
}

const QTemporaryDir& scratch_folder()
{
    static const QTemporaryDir folder;
    return folder;
}

} // namespace

void require(bool is_so, const QString& text)
{
    if (is_so)
        return;
    std::fprintf(stderr, "FINDING: %s\n", qUtf8Printable(text));
    std::abort();
}

QString scratch_path(const QString& name)
{
    return scratch_folder().filePath(name);
}

QString scratch_file(const QString& name, const QByteArray& bytes)
{
    QFile file(scratch_path(name));
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush(),
            file.fileName() + ": " + file.errorString());
    return file.fileName();
}

QByteArray bytes_of(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    require(__sanitizer_install_malloc_and_free_hooks(count_allocation, count_release) != 0,
            QStringLiteral("the heap can't be watched"));
    // A time zone, a codec and the like are set up by the first to need them.
    take_input(QByteArray());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const qint64 before = s_in_use;
    s_most = before;
    take_input(QByteArray(reinterpret_cast<const char*>(data), int(size)));
    const qint64 most = s_most - before;
    require(most <= MEMORY_BASE + MEMORY_FACTOR * qint64(size),
            QStringLiteral("%1 bytes of memory for an input of %2").arg(most).arg(size));
    return 0;
}

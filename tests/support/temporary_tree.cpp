#include "tests/support/temporary_tree.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <filesystem>
#include <system_error>

#include "tests/support/files.h"

namespace {

namespace fs = std::filesystem;

fs::path native(const QString& path)
{
    return fs::path(path.toStdU16String());
}

void give_permissions(const QString& path, uint mode)
{
    std::error_code error;
    fs::permissions(native(path), fs::perms(mode), error);
    if (error)
        qFatal("%s: %s", qPrintable(path), error.message().c_str());
}

void link_or_copy(const QString& from, const QString& to)
{
    std::error_code error;
    fs::create_hard_link(native(from), native(to), error);
    if (error && !QFile::copy(from, to))
        qFatal("%s could not be laid out as %s", qPrintable(from), qPrintable(to));
}

// Folders only: the files may be hard links to what the build made.
void give_folders(const QString& top, uint mode)
{
    give_permissions(top, mode);
    for (const QString& name : QDir(top).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
        const QString folder = top + '/' + name;
        if (!QFileInfo(folder).isSymLink())
            give_folders(folder, mode);
    }
}

} // namespace

TEMPORARY_TREE::TEMPORARY_TREE(const QString& name)
{
    if (!m_folder.isValid())
        qFatal("no temporary folder: %s", qPrintable(m_folder.errorString()));
    m_folder.setAutoRemove(false);
    // A temporary folder may lie behind a link, and the program knows the real place only.
    m_top = QFileInfo(m_folder.path()).canonicalFilePath();
    if (!name.isEmpty())
        m_top += '/' + name;
    for (const char* folder : {"tool", "raw_data/db", "working_data", "retail_build"})
        make_folder(QLatin1String(folder));
}

TEMPORARY_TREE::~TEMPORARY_TREE()
{
    give_folders(m_folder.path(), 0755);
    std::error_code error; // a test may have left what QTemporaryDir can't remove: names that are no UTF-8
    fs::remove_all(native(m_folder.path()), error);
}

QString TEMPORARY_TREE::path(const QString& relative) const
{
    return relative.isEmpty() ? m_top : m_top + '/' + relative;
}

void TEMPORARY_TREE::make_folder(const QString& relative) const
{
    if (!QDir().mkpath(path(relative)))
        qFatal("%s could not be made", qPrintable(path(relative)));
}

void TEMPORARY_TREE::remove(const QString& relative) const
{
    std::error_code error;
    fs::remove_all(native(path(relative)), error);
    if (error)
        qFatal("%s: %s", qPrintable(path(relative)), error.message().c_str());
}

void TEMPORARY_TREE::set_permissions(const QString& relative, uint mode) const
{
    give_permissions(path(relative), mode);
}

void TEMPORARY_TREE::open_to_everybody() const
{
    give_folders(m_folder.path(), 0777);
}

void TEMPORARY_TREE::lay_out_program() const
{
    for (const char* file : {GOX_PROGRAM_FILE, GOX_LAYOUT_FILE, GOX_CONTRACTS_FILE})
        link_or_copy(QStringLiteral(GOX_TOOL_DIR "/") + file, path(QStringLiteral("tool/") + file));
}

void TEMPORARY_TREE::add_plugin(const QString& name, const QString& file_name) const
{
    const QString built = QStringLiteral("GOX_%1." GOX_BUILD_TAG ".dll").arg(name);
    link_or_copy(QStringLiteral(GOX_TOOL_DIR "/plugins/") + built,
                 path(QStringLiteral("tool/") + (file_name.isEmpty() ? built : file_name)));
}

QString TEMPORARY_TREE::program() const
{
    return path(QStringLiteral("tool/" GOX_PROGRAM_FILE));
}

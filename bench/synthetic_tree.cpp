#include "bench/synthetic_tree.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <fcntl.h>
#include <unistd.h>

#include "bench/measure.h"

namespace {

constexpr int FILES_A_PART = 25;
constexpr int PARTS = 4;
constexpr int KINDS = 8;
constexpr int FILES_A_UNIT = FILES_A_PART * PARTS * KINDS; // over all kinds

const char* const KIND_NAMES[KINDS] = {"Textures", "models",  "Sounds",     "levels",
                                       "scripts",  "FX_data", "Animations", "ui"};
const char* const PART_NAMES[PARTS] = {"Diffuse", "lod0", "LOD1", "shared"};
const char* const SUFFIXES[] = {"tga", "dds", "xml", "WAV", "fbx"};

QByteArray rule_file()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rules version=\"1\">\n"
           "    <rule name=\"Texture\" inherit=\"true\">\n        <files>....tga, -.../old_*</files>\n"
           "        <property name=\"Max size\">512</property>\n    </rule>\n</rules>\n";
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        give_up(path + ": " + file.errorString());
}

} // namespace

SYNTHETIC_TREE::SYNTHETIC_TREE(const QString& cache, int raw_count, int old_count, int working_count)
    : path(QString("%1/tree_%2_%3_%4")
               .arg(QDir(cache).absolutePath())
               .arg(raw_count)
               .arg(old_count)
               .arg(working_count)),
      raw_files(raw_count),
      old_files(old_count),
      working_files(working_count)
{
    if (!QFile::exists(marker()))
        make();
}

SYNTHETIC_TREE SYNTHETIC_TREE::of_size(const QString& cache, int files)
{
    return SYNTHETIC_TREE(cache, files - files / 20 - files / 10, files / 20, files / 10);
}

QString SYNTHETIC_TREE::file_name(int number)
{
    const int in_part = number % FILES_A_PART;
    const int part = number / FILES_A_PART % PARTS;
    const char* const kind = KIND_NAMES[number / (FILES_A_PART * PARTS) % KINDS];
    const int unit = number / FILES_A_UNIT + 1;
    const bool is_capital = number % 7 < 3;
    return QString::asprintf("%s/unit%d/%s/%s%d_%s_%03d.%s", kind, unit, PART_NAMES[part],
                             is_capital ? "Unit" : "unit", unit, PART_NAMES[part], in_part,
                             SUFFIXES[number % 5]);
}

QString SYNTHETIC_TREE::old_file_name(int number)
{
    const QStringList parts = file_name(number).split('/');
    return parts[0].toUpper() + '/' + parts[1].toUpper() + '/' + parts[2] + "/Old_" + parts[3];
}

void SYNTHETIC_TREE::make() const
{
    // Whoever stopped half way left no marker.
    if (QDir(path).exists() && !QDir(path).removeRecursively())
        give_up(path + ": cannot be removed");
    for (const char* const folder : {"tool", "raw_data", "old_raw_data", "working_data", "retail_build"})
        if (!QDir().mkpath(path + '/' + folder))
            give_up(path + '/' + folder + ": cannot be made");
    make_files("raw_data", raw_files, file_name);
    make_rules();
    make_files("old_raw_data", old_files, old_file_name);
    make_files("working_data", working_files, file_name);
    write(marker(), QByteArray());
}

void SYNTHETIC_TREE::make_files(const QString& root, int count, QString (*name)(int)) const
{
    QString made;
    for (int i = 0; i < count; ++i) {
        const QString file = path + '/' + root + '/' + name(i);
        const QString folder = file.left(file.lastIndexOf('/'));
        if (folder != made && !QDir().mkpath(folder))
            give_up(folder + ": cannot be made");
        made = folder;
        const int descriptor =
            open(QFile::encodeName(file).constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
        if (descriptor < 0)
            give_up(file + ": " + qt_error_string());
        close(descriptor);
    }
}

void SYNTHETIC_TREE::make_rules() const
{
    for (int i = 0; i < raw_files; i += FILES_A_UNIT / 2)
        write(path + "/raw_data/" + file_name(i).section('/', 0, 1) + "/rules.gox", rule_file());
}

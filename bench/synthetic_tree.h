#pragma once

#include <QtCore/QString>

/// A data tree of empty files with names as games have them: folders such as
/// unit1, unit10 and unit100 side by side, mixed letter case, about 25 files a
/// folder, a rule file here and there.
///
/// Files are counted from 0. Raw files come first, then those of the old
/// companion (whose folders are spelled otherwise), then working files, so that
/// every working file is at least as new as all raw ones, and as the working
/// files before it.
class SYNTHETIC_TREE
{
public:
    /// Finds the tree in the folder `cache` or makes it there; ends the program
    /// when that fails.
    SYNTHETIC_TREE(const QString& cache, int raw_files, int old_files, int working_files);

    /// A tree as start-ups meet it, of about `files` files in all.
    static SYNTHETIC_TREE of_size(const QString& cache, int files);

    const QString path; ///< absolute, no trailing slash
    const int raw_files;
    const int old_files;
    const int working_files;
    int files() const { return raw_files + old_files + working_files; } ///< rule files apart

    /// Such as "Textures/unit12/Diffuse/Unit12_Diffuse_003.tga", below a root.
    static QString file_name(int number);
    static QString old_file_name(int number);

private:
    void make() const;
    void make_files(const QString& root, int count, QString (*name)(int)) const;
    void make_rules() const;
    QString marker() const { return path + "/complete"; }
};

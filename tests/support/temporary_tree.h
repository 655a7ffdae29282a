#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

#include "tests/support/files.h"

/// A data tree in a temporary folder: `tool/`, `raw_data/` with an empty
/// database folder, `working_data/` and `retail_build/`, removed at the end
/// whatever permissions a test has left behind. Paths are relative to the tree,
/// such as "raw_data/unit/a.txt". With a name, the tree is a folder of that name
/// in the temporary one.
class TEMPORARY_TREE
{
public:
    explicit TEMPORARY_TREE(const QString& name = QString());
    ~TEMPORARY_TREE();

    /// Absolute; the tree itself without an argument.
    QString path(const QString& relative = QString()) const;

    void write(const QString& relative, const QByteArray& bytes, const QDateTime& time = QDateTime()) const
    {
        FILES::write(path(relative), bytes, time);
    }
    void make_folder(const QString& relative) const;
    void remove(const QString& relative) const; ///< a file, or a folder with all that is in it
    bool exists(const QString& relative) const { return QFileInfo::exists(path(relative)); }
    /// Empty when there is no such file.
    QByteArray read(const QString& relative) const { return FILES::bytes(path(relative)); }

    /// Permissions as chmod takes them, such as 0555.
    void set_permissions(const QString& relative, uint mode) const;

    /// Lets an unprivileged user write everywhere in the tree: folders become
    /// 0777. Files that are there already stay as they are.
    void open_to_everybody() const;

    /// The program and gox_contracts into `tool/`, by hard link where the file
    /// system allows it.
    void lay_out_program() const;

    /// A built plugin into `tool/`: "scripted" is GOX_scripted.<tag>.dll. With
    /// `file_name` it gets that name instead.
    void add_plugin(const QString& name, const QString& file_name = QString()) const;

    /// tool/script.txt, what the scripted plugin reads.
    void write_script(const QByteArray& script) const { write(QStringLiteral("tool/script.txt"), script); }

    /// The program's file in `tool/`.
    QString program() const;

private:
    Q_DISABLE_COPY(TEMPORARY_TREE)

    QTemporaryDir m_folder;
    QString m_top;
};

#pragma once

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include "tests/support/files.h"

/// Puts a stand-in for the Perforce client in front on PATH, for this process
/// and those that it starts, until the scene ends. What it answers is written
/// in tests/support/p4_stand_in.cpp.
class P4_SCENE
{
public:
    P4_SCENE()
    {
        qputenv("PATH", GOX_P4_STAND_IN_DIR + QByteArray(1, QDir::listSeparator().toLatin1()) + m_path);
        qputenv("GOX_TEST_P4", QFile::encodeName(m_folder.path()));
    }
    ~P4_SCENE() { qputenv("PATH", m_path); }

    /// The steps that it takes on a command, a line each.
    void answers(const QString& command, const QByteArray& steps) const
    {
        FILES::write(m_folder.filePath(command + ".txt"), steps);
    }

    /// Its calls so far, each a line of arguments and the names behind it.
    QByteArray calls() const { return FILES::bytes(m_folder.filePath(QStringLiteral("calls.txt"))); }

private:
    QTemporaryDir m_folder;
    QByteArray m_path = qgetenv("PATH");
};

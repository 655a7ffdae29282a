#pragma once

#include <QtCore/QProcess>
#include <QtCore/QString>

/// A display with nobody in front of it, as long as it lives, for one program after
/// another. GUI and GUI-less programs.
class VIRTUAL_DISPLAY
{
public:
    VIRTUAL_DISPLAY()
    {
        m_server.start(QStringLiteral("Xvfb"),
                       {"-displayfd", "1", "-screen", "0", "800x600x24", "-listen", "tcp", "-noreset"});
        if (m_server.waitForReadyRead())
            m_name = ':' + QString::fromLatin1(m_server.readLine()).trimmed();
    }
    ~VIRTUAL_DISPLAY()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }

    /// For the environment variable DISPLAY, and behind "localhost" as well; empty where the
    /// machine has no such server.
    const QString& name() const { return m_name; }

private:
    Q_DISABLE_COPY(VIRTUAL_DISPLAY)

    QProcess m_server;
    QString m_name;
};

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

/// A terminal to write to, as long as it lives.
class TERMINAL
{
public:
    explicit TERMINAL(unsigned short columns)
    {
        const struct winsize size = {25, columns, 0, 0};
        if (::openpty(&m_master, &m_slave, nullptr, nullptr, &size) != 0)
            qFatal("no terminal");
        ::fcntl(m_master, F_SETFL, O_NONBLOCK);
    }
    ~TERMINAL()
    {
        ::close(m_slave); // open until now, so that what was written stays to be read
        ::close(m_master);
    }

    QString path() const { return QString::fromLatin1(::ttyname(m_slave)); }

    /// The lines that are to be seen on it now, the last one without a line end.
    QStringList lines()
    {
        char bytes[4096];
        for (ssize_t count; (count = ::read(m_master, bytes, sizeof bytes)) > 0;)
            m_bytes.append(bytes, int(count));
        QStringList lines = QString::fromUtf8(m_bytes).replace("\r\n", "\n").split('\n');
        for (QString& line : lines)
            line = line.section("\r\x1b[K", -1); // starts anew on an empty line
        return lines;
    }

private:
    Q_DISABLE_COPY(TERMINAL)

    int m_master;
    int m_slave;
    QByteArray m_bytes;
};
#endif

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

#ifdef Q_OS_UNIX
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

/// A terminal to write to, as long as it lives.
class TERMINAL
{
public:
    explicit TERMINAL(unsigned short columns) : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        struct winsize size = {};
        size.ws_col = columns;
        if (::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0 ||
            ::ioctl(m_master, TIOCSWINSZ, &size) != 0)
            qFatal("no terminal");
        m_slave = ::open(qPrintable(path()), O_RDWR | O_NOCTTY); // what was written stays to be read
    }
    ~TERMINAL()
    {
        ::close(m_slave);
        ::close(m_master);
    }

    QString path() const { return QString::fromLatin1(::ptsname(m_master)); }

    /// The lines that are to be seen on it now, the last one without a line end.
    const QStringList& lines()
    {
        char bytes[4096];
        for (ssize_t count; (count = ::read(m_master, bytes, sizeof bytes)) > 0;)
            m_bytes.append(bytes, int(count));
        m_lines.clear();
        for (QString line : QString::fromUtf8(m_bytes).replace("\r\n", "\n").split('\n'))
            m_lines.append(line.section("\r\x1b[K", -1)); // starts anew on an empty line
        return m_lines;
    }

private:
    Q_DISABLE_COPY(TERMINAL)

    int m_master;
    int m_slave;
    QByteArray m_bytes;
    QStringList m_lines;
};
#endif

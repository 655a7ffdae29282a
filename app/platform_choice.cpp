#include "app/platform_choice.h"

#include <QtCore/QByteArray>
#include <QtGui/QFont>
#include <QtGui/QGuiApplication>

#include <cstring>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include "session/run_report.h"

namespace {

bool s_is_chosen_here = false;
QtMessageHandler s_former_handler = nullptr;

bool is_windowless(const QString& platform)
{
    return platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
}

// What Qt says about platforms that are tried in vain.
bool is_about_choice(const QMessageLogContext& context, const QString& text)
{
    if (text.startsWith(QLatin1String("Failed to create wl_display")))
        return true;
    return context.category && !std::strncmp(context.category, "qt.qpa.", 7) &&
           text.startsWith(QLatin1String("could not "), Qt::CaseInsensitive);
}

// What it says where no window is seen anyway.
bool is_about_windows(const QString& text)
{
    return text.startsWith(QLatin1String("This plugin does not support ")) ||
           (text.startsWith(QLatin1String("QStandardPaths: ")) &&
            (text.contains(QLatin1String("XDG_RUNTIME_DIR")) ||
             text.contains(QLatin1String("runtime directory"))));
}

void quiet_handler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const bool is_noise = (s_is_chosen_here && is_about_choice(context, text)) ||
                          (is_about_windows(text) && is_windowless(QGuiApplication::platformName()));
    if (!is_noise || type == QtFatalMsg)
        s_former_handler(type, context, text);
}

#ifdef Q_OS_WIN

HHOOK s_box_hook = nullptr;

// What Qt can't make a platform of it tells in a box where it finds no console window, as
// in a job of a build server, and waits there for ever. It is told standard error as well.
LRESULT CALLBACK refuse_boxes(int code, WPARAM first, LPARAM second)
{
    const auto is_box = [&] {
        const WORD dialog_class = 0x8002; // which has no other name
        return reinterpret_cast<CBT_CREATEWNDW*>(second)->lpcs->lpszClass == MAKEINTRESOURCEW(dialog_class);
    };
    return code == HCBT_CREATEWND && is_box() ? 1 : CallNextHookEx(s_box_hook, code, first, second);
}

// Without a console of its own Qt would tell a debugger alone what is wrong. Without
// windows it looks for fonts in a folder of its own, which no installation has.
void prepare_qt()
{
    if (qEnvironmentVariableIsEmpty("QT_FORCE_STDERR_LOGGING"))
        qputenv("QT_FORCE_STDERR_LOGGING", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_FONTDIR"))
        qputenv("QT_QPA_FONTDIR", qgetenv("SystemRoot") + "\\Fonts");
    s_box_hook = SetWindowsHookExW(WH_CBT, refuse_boxes, nullptr, GetCurrentThreadId());
}

void end_preparation()
{
    UnhookWindowsHookEx(s_box_hook);
}

void name_font() {} // which are known there, and at another size

// A service has windows that nobody sees.
bool has_visible_station()
{
    USEROBJECTFLAGS flags = {};
    return !GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) ||
           (flags.dwFlags & WSF_VISIBLE);
}

QByteArray platforms_to_try()
{
    return has_visible_station() ? QByteArray() : QByteArray("offscreen;windows");
}

#else

const int ANSWER_LIMIT = 3000; // milliseconds

bool connects(const addrinfo& address)
{
    const int socket = ::socket(address.ai_family, address.ai_socktype, address.ai_protocol);
    if (socket < 0)
        return false;
    ::fcntl(socket, F_SETFL, O_NONBLOCK);
    bool is_open = ::connect(socket, address.ai_addr, address.ai_addrlen) == 0;
    pollfd waited{socket, POLLOUT, 0};
    if (!is_open && ::poll(&waited, 1, ANSWER_LIMIT) == 1) {
        int error = 0;
        socklen_t size = sizeof error;
        is_open = ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
    }
    ::close(socket);
    return is_open;
}

// A display of this machine answers or refuses at once. For one of a machine that
// is gone the system would wait for minutes.
bool may_answer(const QByteArray& display)
{
    const int colon = display.lastIndexOf(':');
    const QByteArray host = display.left(colon);
    if (colon <= 0 || host == "unix" || host.startsWith('/'))
        return !display.isEmpty();
    const int first_port = 6000;
    const QByteArray port =
        QByteArray::number(first_port + display.mid(colon + 1).split('.').first().toInt());
    addrinfo wanted = {};
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.constData(), port.constData(), &wanted, &found) != 0)
        return false;
    bool answers = false;
    for (const addrinfo* address = found; address && !answers; address = address->ai_next)
        answers = connects(*address);
    ::freeaddrinfo(found);
    return answers;
}

void prepare_qt() {}
void end_preparation() {}

// The first widget asks for the default font, and the system takes as long to find out
// which one that is as all else in a small run. Its usual name says the same.
void name_font()
{
    QGuiApplication::setFont(QFont(QStringLiteral("Sans Serif")));
}

bool has_visible_station()
{
    return true;
}

// Qt's own order, with an end that always works.
QByteArray platforms_to_try()
{
    const bool has_wayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    const bool is_wayland_session = has_wayland && qgetenv("XDG_SESSION_TYPE") == "wayland";
    QByteArray platforms;
    if (is_wayland_session)
        platforms += "wayland;";
    if (may_answer(qgetenv("DISPLAY")))
        platforms += "xcb;";
    if (has_wayland && !is_wayland_session)
        platforms += "wayland;";
    return platforms + "offscreen";
}

#endif

bool is_chosen_by_caller(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i)
        if (!std::strcmp(argv[i], "-platform") || !std::strcmp(argv[i], "--platform"))
            return true;
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

} // namespace

void choose_platform(int argc, char** argv)
{
    prepare_qt();
    s_former_handler = qInstallMessageHandler(quiet_handler);
    const QByteArray platforms = is_chosen_by_caller(argc, argv) ? QByteArray() : platforms_to_try();
    s_is_chosen_here = !platforms.isEmpty();
    if (s_is_chosen_here)
        qputenv("QT_QPA_PLATFORM", platforms);
}

bool find_display()
{
    end_preparation();
    const bool has_display = !is_windowless(QGuiApplication::platformName()) && has_visible_station();
    if (!has_display)
        name_font();
    if (!s_is_chosen_here)
        return has_display;
    s_is_chosen_here = false;
    if (has_display) {
        qunsetenv("QT_QPA_PLATFORM"); // the choice is not that of the tools that actions start
        return true;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"})
        if (!qEnvironmentVariableIsEmpty(name))
            RUN_REPORT::error(QStringLiteral("The display %1 can't be reached: the run goes on without one.")
                                  .arg(qEnvironmentVariable(name)));
    return false;
}

#include "tests/support/watched_test.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSettings>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <algorithm>

namespace {

// What the offscreen platform has to say is no fault of ours.
const QStringList PLATFORM_WARNINGS = {"This plugin does not support", "propagateSizeHints",
                                       "QStandardPaths: ", "Could not find the Qt platform theme"};

QStringList s_allowed;
QtMessageHandler s_former_handler = nullptr;

bool holds_any(const QString& text, const QStringList& parts)
{
    return std::any_of(parts.begin(), parts.end(), [&](const QString& part) { return text.contains(part); });
}

bool on_main_thread()
{
    return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
}

// A warning of another thread is only printed: Qt Test can't fail there, and
// what ctest looks for in the output does it.
void watching_handler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const bool is_warning = type == QtWarningMsg || type == QtCriticalMsg;
    if (is_warning && holds_any(text, s_allowed))
        return;
    if (is_warning && !holds_any(text, PLATFORM_WARNINGS) && on_main_thread())
        QTest::qFail(qPrintable(QStringLiteral("unexpected warning: ") + text), context.file, context.line);
    else if (s_former_handler)
        s_former_handler(type, context, text);
}

} // namespace

WATCHED_TEST::WATCHED_TEST()
{
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settings.path());
}

WATCHED_TEST::~WATCHED_TEST() = default;

void WATCHED_TEST::allow_warning(const QString& part)
{
    s_allowed.append(part);
}

void WATCHED_TEST::initTestCase_data()
{
    s_allowed.clear();
    s_former_handler = qInstallMessageHandler(watching_handler);
}

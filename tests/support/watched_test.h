#pragma once

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

/// Base of test classes that fail on an unexpected Qt warning: with string
/// based connections, "No such slot" is the only sign of a misspelt one. A test
/// that brings a warning about on purpose names it with allow_warning first.
/// Settings that the windows keep go into a folder of the test's own.
class WATCHED_TEST : public QObject
{
    Q_OBJECT

public:
    WATCHED_TEST();
    ~WATCHED_TEST() override;

    /// Until the end of the test class, warnings with this text in them pass.
    static void allow_warning(const QString& part);

private slots:
    // Called before everything else of the class, once Qt Test has installed
    // its own handler.
    void initTestCase_data();

private:
    QTemporaryDir m_settings;
};

/// Leaves the test function; QSKIP itself draws a warning of the compiler.
#define GOX_SKIP(reason)                                                                                     \
    do {                                                                                                     \
        QTest::qSkip(reason, __FILE__, __LINE__);                                                            \
        return;                                                                                              \
    } while (false)

#include "tests/support/transcript.h"

#include <QtGui/QKeySequence>
#include <QtGui/QWheelEvent>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>

#include <algorithm>

#include "tests/support/window_text.h"

namespace {

const int PATIENCE = 10000; // milliseconds
const QString REST = QStringLiteral("...");

QStringList without(QStringList lines, const QStringList& others)
{
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [&](const QString& line) { return others.contains(line); }),
                lines.end());
    return lines;
}

QPoint place_of(const QStringList& with)
{
    return {with[0].toInt(), with[1].toInt()};
}

} // namespace

TRANSCRIPT::TRANSCRIPT()
{
    steps["look"] = [](const QStringList&) {};
    steps["press"] = [this](const QStringList& with) {
        window->activateWindow(); // a dialog may have been there
        if (!QTest::qWaitFor([this] { return window->isActiveWindow() || !window->isVisible(); }))
            qFatal("the window does not become active");
        press_keys(focus(), with.first());
    };
    steps["type"] = [this](const QStringList& with) { QTest::keyClicks(focus(), with.join(' ')); };
    steps["click"] = [this](const QStringList& with) {
        QWidget* const widget = window->findChild<QWidget*>(with.first());
        QTest::mouseClick(widget, Qt::LeftButton, {}, {8, widget->height() / 2}); // on a check box too
    };
    add_mouse("hold", QEvent::MouseButtonPress, Qt::LeftButton);
    add_mouse("hold_right", QEvent::MouseButtonPress, Qt::RightButton);
    add_mouse("move", QEvent::MouseMove, Qt::LeftButton);
    add_mouse("release", QEvent::MouseButtonRelease, Qt::LeftButton);
    add_mouse("double", QEvent::MouseButtonDblClick, Qt::LeftButton);
    steps["wheel"] = [this](const QStringList& with) {
        QWheelEvent event(place_of(with), window->mapToGlobal(place_of(with)), {}, {0, with[2].toInt() * 120},
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(window, &event);
    };
    steps["call"] = [this](const QStringList& with) {
        QMetaObject::invokeMethod(window, qPrintable(with.first()));
    };
    steps["answer"] = [this](const QStringList& with) {
        with.first() == "yes" ? answers.press_yes() : answers.press_default();
    };
    steps["answer_file"] = [this](const QStringList& with) { answer_file(with); };
    steps["resize"] = [this](const QStringList& with) { window->resize(with[0].toInt(), with[1].toInt()); };
}

void TRANSCRIPT::answer_file(const QStringList& with)
{
    answers.answer_with([this, with](QDialog* dialog) {
        QLineEdit* const name = dialog->findChild<QLineEdit*>("fileNameEdit");
        press_keys(dialog->findChild<QComboBox*>("fileTypeCombo"), with[1]);
        name->setText(folder + '/' + with[0]);
        QTest::keyClick(name, Qt::Key_Return);
    });
}

void TRANSCRIPT::add_mouse(const char* step, QEvent::Type type, Qt::MouseButton button)
{
    steps[step] = [this, type, button](const QStringList& with) {
        QMouseEvent event(type, place_of(with), window->mapToGlobal(place_of(with)), button, button, {});
        QApplication::sendEvent(window, &event);
    };
}

QWidget* TRANSCRIPT::focus() const
{
    return window->focusWidget() ? window->focusWidget() : window.data();
}

QStringList TRANSCRIPT::all_seen() const
{
    QStringList lines = WINDOW_TEXT::form(*window).split('\n');
    lines += "focus " + focus()->objectName();
    for (int i = 0; i < answers.texts.size(); ++i)
        lines += QString("box %1: ").arg(i + 1) + QString(answers.texts[i]).replace('\n', " / ");
    return (lines + seen()).replaceInStrings(folder.isEmpty() ? QString("*") : folder, "*");
}

QString TRANSCRIPT::run(const QString& expected) const
{
    QStringList taken, before, after, fresh;
    const QStringList parts = ('\n' + expected).split(QStringLiteral("\n> ")).mid(1);
    for (const QString& part : parts) {
        const QStringList wanted = part.split('\n').mid(1);
        const QStringList step = part.section('\n', 0, 0).split(' ');
        if (!steps.contains(step.first()))
            qFatal("\"%s\" is no step", qPrintable(step.first()));
        (*steps.find(step.first()))(step.mid(1));
        const auto is_as_expected = [&] {
            after = all_seen();
            fresh = without(after, before);
            if (!wanted.isEmpty() && wanted.last() == REST && without(wanted, fresh) == QStringList{REST})
                fresh = wanted;
            return fresh == wanted;
        };
        const bool is_right = QTest::qWaitFor(is_as_expected, PATIENCE);
        taken << "> " + step.join(' ') << fresh;
        if (!is_right)
            break;
        before = after;
    }
    return taken.join('\n');
}

void press_keys(QWidget* widget, const QString& keys)
{
    const int key = QKeySequence(keys)[0];
    QTest::keyClick(widget, Qt::Key(key & ~Qt::KeyboardModifierMask),
                    Qt::KeyboardModifiers(key & int(Qt::KeyboardModifierMask)));
}

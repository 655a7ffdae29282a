#include "tests/support/window_transcript.h"

#include <QtCore/QDir>
#include <QtGui/QKeySequence>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QLineEdit>

#include "tests/support/window_looks.h"

namespace {

void answer(QDialog* dialog, const QString& text)
{
    if (QLineEdit* const name = dialog->findChild<QLineEdit*>("fileNameEdit")) {
        name->setText(text);
        return text.isEmpty() ? dialog->reject() : dialog->accept();
    }
    for (QAbstractButton* const button : dialog->findChildren<QAbstractButton*>())
        if (button->text().remove('&') == text || (text == "focus" && button == dialog->focusWidget()))
            return QTest::mouseClick(button, Qt::LeftButton);
    text == "focus" ? dialog->reject() : press_keys(dialog, text);
}

QPoint place_of(const QString& with)
{
    return {with.section(' ', 0, 0).toInt(), with.section(' ', 1, 1).toInt()};
}

} // namespace

WINDOW_TRANSCRIPT::WINDOW_TRANSCRIPT()
{
    add("open", [this](const QString&) {
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
    });
    add("close", [this](const QString&) { window->close(); });
    add("visible", [this](const QString&) { return window->isVisible() ? "yes" : "no"; });
    add("form", [this](const QString&) { return form(); });
    add("changes", [this](const QString&) {
        const QStringList before = m_form.split('\n');
        QStringList lines = form().split('\n');
        for (const QString& line : before)
            lines.removeAll(line);
        return lines.join('\n');
    });
    add("looks", [this](const QString&) {
        QStringList lines = WINDOW_LOOKS::stops(top());
        for (const int percent : {100, 125, 150})
            for (const QString& line : WINDOW_LOOKS::cut_off(top(), percent))
                lines += QString("%1 %: %2").arg(QString::number(percent), line);
        return lines.join('\n');
    });
    add("click", [this](const QString& name) {
        QWidget* const target = widget(name);
        QTest::mouseClick(target, Qt::LeftButton, {}, {8, target->height() / 2}); // on a check box too
    });
    add("press", [this](const QString& keys) { press("-", keys); });
    add("key", [this](const QString& s) { press(s.section(' ', 0, 0), s.section(' ', 1)); });
    add("type",
        [this](const QString& s) { QTest::keyClicks(widget(s.section(' ', 0, 0)), s.section(' ', 1)); });
    add("resize", [this](const QString& size) { window->resize(place_of(size).x(), place_of(size).y()); });
    add("call", [this](const QString& slot) { QMetaObject::invokeMethod(window, qPrintable(slot)); });
    add("answer", [this](const QString& texts) {
        for (const QString& text : texts.split(", "))
            answers.answer_with([text](QDialog* dialog) { answer(dialog, text); });
    });
    add("look", [](const QString&) {});
    add_mouse("hold", QEvent::MouseButtonPress, Qt::LeftButton);
    add_mouse("hold_right", QEvent::MouseButtonPress, Qt::RightButton);
    add_mouse("move", QEvent::MouseMove, Qt::LeftButton);
    add_mouse("release", QEvent::MouseButtonRelease, Qt::LeftButton);
    add_mouse("double", QEvent::MouseButtonDblClick, Qt::LeftButton);
    add("wheel", [this](const QString& with) {
        const QPoint place = place_of(with), turn(0, with.section(' ', 2).toInt() * 120);
        QWheelEvent event(place, window->mapToGlobal(place), {}, turn, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(window, &event);
    });
}

QString WINDOW_TRANSCRIPT::told(QString said)
{
    if (watch)
        return said;
    for (const QString& text : qAsConst(answers.texts))
        said += (said.isEmpty() ? "box: " : "\nbox: ") + text;
    answers.texts.clear();
    return said;
}

QWidget& WINDOW_TRANSCRIPT::top() const
{
    QWidget* const popup = QApplication::activePopupWidget();
    QWidget* const modal = QApplication::activeModalWidget();
    return popup ? *popup : modal ? *modal : *window;
}

QWidget* WINDOW_TRANSCRIPT::widget(const QString& name) const
{
    QWidget* const focus = top().focusWidget() ? top().focusWidget() : &top();
    QWidget* const found = name == "-" ? focus : top().findChild<QWidget*>(name);
    if (!found)
        qFatal("no widget: %s", qPrintable(name));
    return found;
}

void WINDOW_TRANSCRIPT::press(const QString& name, const QString& keys) const
{
    if (watch)
        window->activateWindow(); // a dialog may have been there
    if (watch && !QTest::qWaitFor([this] { return window->isActiveWindow() || !window->isVisible(); }))
        qFatal("the window does not become active");
    for (const QString& key : keys.split(' ')) {
        press_keys(widget(name), key);
        QCoreApplication::processEvents(); // Return leaves an editor later
    }
    // Shortcuts hold buttons down a while.
    for (const QPointer<QAbstractButton> button : window->findChildren<QAbstractButton*>())
        QTRY_VERIFY(!button || !button->isDown());
}

QString WINDOW_TRANSCRIPT::tip_at(QWidget* widget, const QPoint& place)
{
    QToolTip::showText(QPoint(), QStringLiteral("none"));
    return tool_tip_at(widget, place);
}

QString WINDOW_TRANSCRIPT::form()
{
    const auto* const menu = qobject_cast<const QMenu*>(&top());
    return m_form = menu ? WINDOW_TEXT::menu(*menu) : WINDOW_TEXT::form(top());
}

void WINDOW_TRANSCRIPT::add_mouse(const char* word, QEvent::Type type, Qt::MouseButton button)
{
    add(word, [this, type, button](const QString& with) {
        const QPoint place = place_of(with);
        QMouseEvent event(type, place, window->mapToGlobal(place), button, button, {});
        QApplication::sendEvent(window, &event);
    });
}

QStringList WINDOW_TRANSCRIPT::seen()
{
    if (!watch)
        return {};
    QStringList lines = WINDOW_TEXT::form(*window).split('\n');
    lines += "focus " + (window->focusWidget() ? window->focusWidget() : window.data())->objectName();
    for (int i = 0; i < answers.texts.size(); ++i)
        lines += QString("box %1: ").arg(i + 1) + QString(answers.texts[i]).replace('\n', " / ");
    const QString place = folder.isEmpty() ? QString("*") : folder;
    lines.replaceInStrings(QDir::toNativeSeparators(place + '/'), "*/");
    return (lines + watch()).replaceInStrings(place, "*");
}

void press_keys(QWidget* widget, const QString& keys)
{
    const int key = QKeySequence(keys)[0];
    QTest::keyClick(widget, Qt::Key(key & ~Qt::KeyboardModifierMask),
                    Qt::KeyboardModifiers(key & int(Qt::KeyboardModifierMask)));
}

#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QStyleFactory>
#include <QtWidgets/QVBoxLayout>

#include "app/readable_style.h"
#include "contracts/services/colour_contrast.h"
#include "tests/support/watched_test.h"

namespace {

QPalette dark_palette()
{
    QPalette palette(QColor("#353535"));
    palette.setColor(QPalette::Base, "#191919");
    palette.setColor(QPalette::Disabled, QPalette::Text, "#404040"); // as some themes have it
    palette.setColor(QPalette::Disabled, QPalette::WindowText, "#505050");
    return palette;
}

/// The best contrast that the box has, along its middle, with what is left of it.
double outline_of(QWidget& widget, const QPoint& left)
{
    const QImage image = widget.grab().toImage();
    double best = 1;
    for (int x = left.x(); x < left.x() + 20; ++x)
        best = std::max(best, contrast(image.pixelColor(x, left.y()), image.pixelColor(left)));
    return best;
}

} // namespace

/// What can be made out in each style and in palettes of each kind.
class TST_READABLE_STYLE : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void faint_things_can_be_seen_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QPalette>("palette");
        for (const QString& key : QStyleFactory::keys()) {
            const QScopedPointer<QStyle> style(QStyleFactory::create(key));
            QTest::newRow(qPrintable(key + ", light")) << key << style->standardPalette();
            QTest::newRow(qPrintable(key + ", dark")) << key << dark_palette();
        }
    }
    void faint_things_can_be_seen()
    {
        QFETCH(QString, key);
        QFETCH(QPalette, palette);
        QApplication::setStyle(new READABLE_STYLE(key));
        QApplication::setPalette(palette);
        QWidget window;
        QVBoxLayout column(&window);
        QCheckBox box;
        QRadioButton radio;
        QListWidget list;
        (new QListWidgetItem("a", &list))->setCheckState(Qt::Unchecked);
        for (QWidget* const widget : std::initializer_list<QWidget*>{&box, &radio, &list})
            column.addWidget(widget);
        window.show();
        QVERIFY(outline_of(box, {0, box.height() / 2}) >= LEAST_CONTRAST);
        QVERIFY(outline_of(radio, {0, radio.height() / 2}) >= LEAST_CONTRAST);
        const QPoint middle = list.visualItemRect(list.item(0)).center();
        QVERIFY(outline_of(*list.viewport(), {0, middle.y()}) >= LEAST_CONTRAST);
        QPalette is = palette; // as that of the desktop, which each style is shown
        QApplication::style()->polish(is);
        for (const auto& [text, ground] :
             {std::pair(QPalette::WindowText, QPalette::Window), std::pair(QPalette::Text, QPalette::Base),
              std::pair(QPalette::ButtonText, QPalette::Button)}) {
            const QColor disabled = is.color(QPalette::Disabled, text), enabled = is.color(text);
            QVERIFY(contrast(disabled, is.color(QPalette::Disabled, ground)) >= LEAST_CONTRAST);
            QVERIFY(contrast(disabled, enabled) > 1.5); // and still look disabled
        }
    }
};

QTEST_MAIN(TST_READABLE_STYLE)
#include "tst_readable_style.moc"

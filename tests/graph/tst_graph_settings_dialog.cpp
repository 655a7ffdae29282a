#include <QtTest/QtTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

#include "graph/graph_settings_dialog.h"
#include "graph/graphviz_viewer_widget.h"
#include "tests/session/step_scene.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"

class tst_graph_settings_dialog : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void initTestCase();
    void form();
    void generate();
};

void tst_graph_settings_dialog::initTestCase()
{
    LAYOUT_RUN::set_program(QStringLiteral(GOX_TOOL_DIR "/gox_layout." GOX_BUILD_TAG ".bin"));
}

void tst_graph_settings_dialog::form()
{
    STEP_SCENE scene;
    GRAPH_SETTINGS_DIALOG dialog(scene.session, nullptr, Qt::WindowFlags());
    QCOMPARE(dialog.windowTitle(), QString("GOX - Graph Settings"));
    QCOMPARE(dialog.size(), QSize(232, 167));
    QStringList rows;
    const QFormLayout* const form = dialog.findChild<QFormLayout*>("formLayout");
    for (int row = 0; row < form->rowCount(); ++row) {
        QWidget* const field = form->itemAt(row, QFormLayout::FieldRole)->widget();
        const QLabel* const label = qobject_cast<QLabel*>(form->labelForField(field));
        QCOMPARE(label->buddy(), field);
        QString text = label->objectName() + ' ' + label->text() + ' ' + field->objectName();
        if (const QComboBox* const box = qobject_cast<QComboBox*>(field))
            for (int i = 0; i < box->count(); ++i)
                text += (i == box->currentIndex() ? " *" : " ") + box->itemText(i);
        else
            text += qobject_cast<QCheckBox*>(field)->isChecked() ? " on" : " off";
        rows.append(text);
    }
    const QStringList expected{"label Type: type *Data flow Dependencies Pulling",
                               "label_2 Coverage: coverage *Selected Selected + 1 level All",
                               "label_3 Long action names: long_action_names off",
                               "label_4 Filenames: filenames *Short Long Extension only",
                               "label_5 Join identical: join_identical off"};
    QCOMPARE(rows, expected);
}

void tst_graph_settings_dialog::generate()
{
    STEP_SCENE scene;
    STEP_PROCESSOR* const processor = scene.add_processor("p");
    for (const char* name : {"same", "same", "other"})
        processor->add(name);
    scene.start_up();
    processor->actions[2]->add_dependency(*processor->actions[0], false);

    GRAPH_SETTINGS_DIALOG dialog(scene.session, nullptr, Qt::WindowFlags());
    DIALOG_ANSWERS answers;
    answers.answer_with([](QDialog* settings) {
        QTest::keyClick(settings->findChild<QComboBox*>("type"), Qt::Key_Down);
        QTest::keyClick(settings->findChild<QComboBox*>("coverage"), Qt::Key_End);
        QTest::keyClick(settings->findChild<QCheckBox*>("join_identical"), Qt::Key_Space);
        QTimer::singleShot(0, settings->findChild<QPushButton*>("pushButton"), SLOT(click()));
    });
    answers.answer_with([&](QDialog* window) {
        QVERIFY(!dialog.isVisible());
        auto* const viewer = window->findChild<GRAPHVIZ_VIEWER_WIDGET*>();
        QTRY_VERIFY(viewer->state() == GRAPHVIZ_VIEWER_WIDGET::STATE::SHOWN);
        QCOMPARE(viewer->picture()->nodes.size(), 2);
        QCOMPARE(viewer->picture()->nodes[0].text, QString("same"));
        QCOMPARE(viewer->picture()->edges.size(), 1);
        QVERIFY(viewer->picture()->edges[0].style == PICTURE_LINE::FULL);
        QTest::keyClick(window, Qt::Key_Escape);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    const QStringList expected{"GOX - Graph Settings", "GOX - Dependencies"};
    QCOMPARE(answers.texts, expected);
}

QTEST_MAIN(tst_graph_settings_dialog)
#include "tst_graph_settings_dialog.moc"

#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QtTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QScrollArea>

#include "contracts/database/kv_xml_query_interface.h"
#include "contracts/services/asset_graph.h"
#include "contracts/services/file_list_dialog.h"
#include "contracts/services/plain_message_box.h"
#include "contracts/services/tallyline_context.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_looks.h"
#include "tests/support/window_text.h"

/// What the start-up makes of its services.
class TST_START_UP_SERVICES : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void windows_data()
    {
        add_cases("contracts/services/start_up_windows.cases", {"splash", "files", "looks"});
    }
    void windows()
    {
        PROGRESS_WIDGET splash(nullptr, Qt::WindowFlags());
        splash.set_progress("a <b>step</b>");
        const QString before = WINDOW_TEXT::form(splash);
        splash.update_bulletin_board(BULLETIN_BOARD::CATEGORY_GOX);
        GOX_COMPARE_TEXT(before + '\n' + WINDOW_TEXT::form(splash), current_case()["splash"]);
        splash.update_bulletin_board(BULLETIN_BOARD::CATEGORY_NONE);
        splash.show();
        QVERIFY(splash.minimumSize() == splash.maximumSize());
        const int lowest = splash.height(), width = splash.width();
        splash.update_bulletin_board(BULLETIN_BOARD::CATEGORY_GOX);
        const int low = splash.height();
        splash.set_progress(QString("a long text ").repeated(50));
        const int high = splash.height();
        splash.set_progress("a short text");
        splash.update_bulletin_board(BULLETIN_BOARD::CATEGORY_NONE);
        QVERIFY(low > lowest && high > low);
        QCOMPARE(splash.size(), QSize(width, high)); // it does not jump from text to text
        const QColor frame = splash.palette().color(QPalette::Disabled, QPalette::Text);
        QCOMPARE(splash.grab().toImage().pixelColor(0, 0), frame);
        splash.update_bulletin_board(BULLETIN_BOARD::CATEGORY_GOX);
        int end = 0;
        for (const QLabel* label : splash.findChildren<QLabel*>()) {
            QVERIFY2(label->y() >= end, qPrintable(label->text()));
            end = label->geometry().bottom();
        }
        QFont small = splash.font();
        small.setPixelSize(11);
        splash.setFont(small);
        splash.hide();
        splash.show();
        QCOMPARE(splash.findChild<QLabel*>()->font().pixelSize(), 22); // of the title
        FILE_LIST_DIALOG dialog("a title", "a <b>text</b>", "take", {"a.txt", "b.txt"}, "leave", true,
                                nullptr, {});
        auto* const list = dialog.findChild<QListWidget*>();
        list->item(0)->setCheckState(Qt::Unchecked);
        GOX_COMPARE_TEXT(dialog.objectName() + ": " + WINDOW_TEXT::form(dialog) + '\n' +
                             dialog.get_selected_files().join(' '),
                         current_case()["files"]);
        dialog.show();
        QVERIFY(list->width() > dialog.width() / 2);
        QStringList looks = WINDOW_LOOKS::stops(dialog);
        for (const int percent : {100, 125, 150})
            looks += WINDOW_LOOKS::cut_off(dialog, percent);
        GOX_COMPARE_TEXT(looks.join('\n'), current_case()["looks"]);
    }

    // With a long text the buttons must not lie beyond the screen's edge.
    void boxes()
    {
        QStringList seen;
        for (const int line_ends : {19, 20, 200}) {
            const QString text = QString("<b>line</b>\n").repeated(line_ends);
            const auto look = [&](QDialog* box) {
                const auto* label = box->findChild<QLabel*>("qt_msgbox_label");
                const bool is_whole = label->text() == text && label->textFormat() == Qt::PlainText;
                const bool is_low = box->height() < 30 * label->fontMetrics().lineSpacing();
                seen += QString::number(line_ends) + (is_whole ? " whole" : "") + (is_low ? " low" : "") +
                        (box->findChild<QScrollArea*>() ? " scrolls" : "");
                QTest::keyClick(box, Qt::Key_Return);
            };
            DIALOG_ANSWERS answers;
            answers.answer_with(look);
            show_plain_box(QMessageBox::Warning, nullptr, text);
            answers.answer_with(look);
            seen += confirm_in_plain_box(nullptr, text) ? "yes" : "no";
        }
        GOX_COMPARE_TEXT(seen.join(", "), "19 whole low, 19 whole low, no, "
                                          "20 whole low scrolls, 20 whole low scrolls, no, "
                                          "200 whole low scrolls, 200 whole low scrolls, no");
    }

    void packets()
    {
        QUdpSocket server;
        QVERIFY(server.bind(QHostAddress::LocalHost));
        Tallyline::Context context("127.0.0.1", server.localPort(), "a tool,x=1", 44);
        const Tallyline::Context::PACKET packet = context.AllocatePacket();
        context.AddField(packet, "a key", "in \"C:\\x\"");
        context.AddField(packet, "number", "-12");
        context.Send(context.AllocatePacket()); // says nothing
        context.Send(packet);
        QTRY_VERIFY(server.hasPendingDatagrams());
        QCOMPARE(server.receiveDatagram().data(),
                 QByteArray("a\\ tool\\,x\\=1,number=44 a\\ key=\"in \\\"C:\\\\x\\\"\",number=-12i\n"));
    }

    void database_of_a_build_server_is_read_only()
    {
        for (const auto& [option, no_progress_dialog] :
             {std::pair("--offline", false), std::pair("--build_server", false),
              std::pair("--offline", true)}) {
            STEP_SCENE scene;
            scene.give_option(option);
            QVERIFY(QDir().mkpath(scene.session->database_path()));
            QTextStream log(&scene.log_text);
            QVERIFY(scene.session->connect_database(QString(), log, no_progress_dialog));
            QCOMPARE(scene.session->database->is_read_only(),
                     QByteArray(option) == "--build_server" || no_progress_dialog);
        }
    }

    void asset_graph_is_loaded_and_cleaned()
    {
        STEP_SCENE scene;
        PROGRESS_WIDGET splash(nullptr, Qt::WindowFlags());
        QTSHARED::set_absolute_to_relative_path_callback_for_asset_graph(
            [](const QString& path) { return PATHS::logical_path(PHYSICAL_PATH(path)).section('/', 1, -1); });
        scene.tree.write("raw_data/a.agf", "<agf><asset name='raw'/></agf>");
        scene.tree.write("raw_data/b.agf", "<agf><asset name='gone'/></agf>");
        scene.tree.write("working_data/A.agf", "<agf><asset name='working'/></agf>");
        QVERIFY(scene.start_up());
        scene.session->load_asset_graph(splash);
        QCOMPARE(splash.progress(), QString("Loading asset graph... 0%"));
        // Of one name the last file counts.
        QCOMPARE(scene.session->asset_graph->assets(), QStringList({"gone", "working"}));
        const LOGICAL_PATH kept("<raw>/a.agf");
        FILE_ENTRY* const file = scene.session->file_map.value(kept);
        scene.session->file_map = LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>();
        scene.session->file_map.insert(kept, file);
        scene.session->clean_asset_graph(splash);
        QCOMPARE(splash.progress(), QString("Cleaning asset graph... 0%"));
        QCOMPARE(scene.session->asset_graph->get_all_agf_filenames(), QStringList("a.agf"));
    }
};

QTEST_MAIN(TST_START_UP_SERVICES)
#include "tst_start_up_services.moc"

#include <QtCore/QStandardPaths>
#include <QtCore/QXmlStreamReader>
#include <QtGui/QScreen>
#include <QtTest/QtTest>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>

#include <memory>

#include "graph/action_graph.h"
#include "graph/graphviz.h"
#include "graph/graphviz_viewer_widget.h"
#include "graph/picture_files.h"
#include "graph/picture_painter.h"
#include "graph/to_graphviz.h"
#include "tests/support/dialog_answers.h"
#include "tests/support/files.h"
#include "tests/support/full_disk.h"
#include "tests/support/rows.h"
#include "tests/support/tool_tip.h"
#include "tests/support/watched_test.h"

namespace {

const int PATIENCE = 60000; // milliseconds: the machine may have much else to do

const QString LAYOUT_PROGRAM = QStringLiteral(GOX_TOOL_DIR "/gox_layout." GOX_BUILD_TAG ".bin");

const QStringList HOSTILE_LABELS = {"\"quoted\"", "a\\nb\\l\\N\\", "<b>bold</b>", "&lt;&amp;", "rock&roll",
                                    "{a|b}",      "Höhle 洞 😀",    "%1 \t",       "",          " "};

void fill_chain(ACTION_GRAPH& graph, int nodes)
{
    for (int i = 0; i < nodes; ++i) {
        graph.add_node(QString("node %1").arg(i), i % 2);
        if (i > 0)
            graph.add_edge(graph.nodes[i / 2], graph.nodes[i], i % 3 == 0);
    }
}

/// A shown viewer whose Graphviz graph is closed already.
std::unique_ptr<GRAPHVIZ_VIEWER_WIDGET> open_viewer(const ACTION_GRAPH& graph)
{
    const GRAPHVIZ& graphviz = GRAPHVIZ::instance();
    GVC_s* const context = graphviz.make_context();
    Agraph_s* const made = to_graphviz(graph);
    auto viewer = std::make_unique<GRAPHVIZ_VIEWER_WIDGET>(context, made, nullptr);
    graphviz.close_graph(made);
    graphviz.free_context(context);
    viewer->resize(800, 600);
    viewer->show();
    viewer->activateWindow();
    viewer->setFocus();
    if (!QTest::qWaitForWindowActive(viewer.get(), PATIENCE))
        qFatal("the window did not become active");
    return viewer;
}

std::unique_ptr<GRAPHVIZ_VIEWER_WIDGET> open_chain(int nodes)
{
    ACTION_GRAPH graph;
    fill_chain(graph, nodes);
    return open_viewer(graph);
}

bool is_shown(const GRAPHVIZ_VIEWER_WIDGET& viewer)
{
    return QTest::qWaitFor([&] { return viewer.state() == GRAPHVIZ_VIEWER_WIDGET::STATE::SHOWN; }, PATIENCE);
}

QPointF pixel_of(const GRAPHVIZ_VIEWER_WIDGET& viewer, const QPointF& point)
{
    return viewer.view().transform().map(point) + viewer.canvas().topLeft();
}

void turn_wheel(GRAPHVIZ_VIEWER_WIDGET& viewer, const QPoint& pixel, int notches)
{
    QWheelEvent event(pixel, viewer.mapToGlobal(pixel), {}, {0, notches * 120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&viewer, &event);
}

QImage on_screen(const GRAPHVIZ_VIEWER_WIDGET& viewer)
{
    QCoreApplication::processEvents();
    return viewer.screen()->grabWindow(viewer.winId()).toImage();
}

/// A program in place of the layout program.
QString make_program(const QTemporaryDir& folder, const QByteArray& lines)
{
    const QString path = folder.filePath("layout.sh");
    FILES::write(path, "#!/bin/sh\n" + lines);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
    return path;
}

void save_with_dialog(GRAPHVIZ_VIEWER_WIDGET& viewer, const QString& file, Qt::Key format = Qt::Key_Home)
{
    viewer.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&viewer, PATIENCE));
    DIALOG_ANSWERS answers;
    answers.answer_with([&](QDialog* dialog) {
        QTest::keyClick(dialog->findChild<QComboBox*>("fileTypeCombo"), format);
        QLineEdit* const name = dialog->findChild<QLineEdit*>("fileNameEdit");
        name->setText(file);
        QTest::keyClick(name, Qt::Key_Return);
    });
    QTest::keyClick(&viewer, Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(answers.waiting(), 0);
    QCOMPARE(answers.unexpected, 0);
}

QStringList texts_of_svg(const QByteArray& svg, const QString& element, QString* error)
{
    QStringList texts;
    QXmlStreamReader reader(svg);
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == element)
            texts.append(reader.readElementText());
    *error = reader.hasError() ? reader.errorString() : QString();
    texts.sort();
    return texts;
}

using FAILURES = ROWS<QByteArray, QString>; // the layout program, words of the message

} // namespace

class tst_graph_viewer : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init();
    void places_data();
    void places();
    void wheel_drag_and_keys();
    void find();
    void hostile_labels();
    void saved_files();
    void saving_that_fails();
    void empty_graph();
    void layouts_that_fail_data();
    void layouts_that_fail();
    void dense_graphs_do_not_wait_for_layers();
    void layers_that_fail_give_way_to_springs();
    void closing_while_laying_out();
};

void tst_graph_viewer::init()
{
    LAYOUT_RUN::set_program(LAYOUT_PROGRAM);
}

void tst_graph_viewer::places_data()
{
    QTest::addColumn<int>("nodes");
    QTest::newRow("layers") << 60;
    QTest::newRow("springs") << 2500;
}

void tst_graph_viewer::places()
{
    QFETCH(int, nodes);
    const auto viewer = open_chain(nodes);
    QVERIFY(is_shown(*viewer));
    const GRAPH_PICTURE& picture = *viewer->picture();
    QCOMPARE(picture.nodes.size(), nodes);
    QCOMPARE(picture.edges.size(), nodes - 1);
    for (const PICTURE_EDGE& edge : picture.edges) {
        const QRectF head = picture.nodes[edge.to].box.adjusted(-3, -3, 3, 3);
        const QRectF tail = picture.nodes[edge.from].box.adjusted(-3, -3, 3, 3);
        QVERIFY(head.contains(edge.head_tip));
        QVERIFY(tail.contains(edge.both_ways ? edge.tail_tip : edge.curve.first()));
        QCOMPARE(edge.both_ways, edge.to % 3 == 0);
        QVERIFY(picture.bounds.contains(bounds_of(edge)));
    }
    for (int i = 0; i < nodes; ++i)
        for (int other = 0; other < i; ++other)
            QVERIFY(!picture.nodes[i].box.adjusted(1, 1, -1, -1).intersects(picture.nodes[other].box));
}

void tst_graph_viewer::wheel_drag_and_keys()
{
    const auto viewer = open_chain(60);
    QVERIFY(is_shown(*viewer));
    const QRectF bounds = viewer->picture()->bounds;
    const auto shows_all = [&] {
        const QRectF seen(pixel_of(*viewer, bounds.topLeft()), pixel_of(*viewer, bounds.bottomRight()));
        return QRectF(viewer->canvas()).adjusted(-1, -1, 1, 1).contains(seen);
    };
    QVERIFY(shows_all());
    const double fitting = viewer->view().zoom();

    const QPoint pointer(300, 250);
    const QPointF below = viewer->view().to_picture(pointer - viewer->canvas().topLeft());
    turn_wheel(*viewer, pointer, 6);
    QVERIFY(viewer->view().zoom() > 2 * fitting);
    QVERIFY((pixel_of(*viewer, below) - pointer).manhattanLength() <= 2);
    QVERIFY(!shows_all());

    const QPointF before = pixel_of(*viewer, below);
    QTest::mousePress(viewer.get(), Qt::LeftButton, {}, pointer);
    for (const QPoint& stop : {QPoint(310, 240), QPoint(350, 230)}) {
        QMouseEvent move(QEvent::MouseMove, stop, viewer->mapToGlobal(stop), Qt::NoButton, Qt::LeftButton,
                         {});
        QApplication::sendEvent(viewer.get(), &move);
    }
    QTest::mouseRelease(viewer.get(), Qt::LeftButton, {}, {350, 230});
    QCOMPARE(pixel_of(*viewer, below) - before, QPointF(50, -20));
    const QImage moved = on_screen(*viewer); // most of it by copying what was there
    viewer->update();
    QCOMPARE(on_screen(*viewer), moved);

    QTest::keyClick(viewer.get(), Qt::Key_Right);
    QVERIFY(pixel_of(*viewer, below).x() < before.x() + 50);
    const double zoomed = viewer->view().zoom();
    QTest::keyClick(viewer.get(), Qt::Key_Minus);
    QVERIFY(viewer->view().zoom() < zoomed);
    QTest::keyClick(viewer.get(), Qt::Key_Plus);
    QCOMPARE(viewer->view().zoom(), zoomed);
    for (int i = 0; i < 300; ++i)
        QTest::keyClick(viewer.get(), Qt::Key_Up); // never out of sight
    QVERIFY(
        viewer->view().transform().mapRect(bounds).intersects(QRectF(QPointF(), viewer->canvas().size())));
    QTest::keyClick(viewer.get(), Qt::Key_Home);
    QVERIFY(shows_all());
    QTest::keyClick(viewer.get(), Qt::Key_Plus);
    QVERIFY(!shows_all());
    QTest::mouseDClick(viewer.get(), Qt::LeftButton, {}, pointer);
    QVERIFY(shows_all());
    viewer->resize(500, 400); // still all of it
    QTRY_VERIFY_WITH_TIMEOUT(shows_all(), PATIENCE);
}

void tst_graph_viewer::find()
{
    const auto viewer = open_chain(30);
    QVERIFY(is_shown(*viewer));
    QLabel* const found = viewer->findChild<QLabel*>("found");
    QTest::keyClick(viewer.get(), Qt::Key_F, Qt::ControlModifier);
    QLineEdit* const text = viewer->findChild<QLineEdit*>("find_text");
    QTRY_VERIFY_WITH_TIMEOUT(text->hasFocus(), PATIENCE);
    QTest::keyClicks(text, "NODE 1"); // 1 and 10 to 19
    QCOMPARE(found->text(), QString("11 found"));
    QTest::keyClick(text, Qt::Key_Return);
    QCOMPARE(viewer->found_node(), 1);
    QTest::keyClick(text, Qt::Key_F3);
    QCOMPARE(viewer->found_node(), 10);
    QVERIFY((pixel_of(*viewer, viewer->picture()->nodes[10].box.center()) - viewer->canvas().center())
                .manhattanLength() < 4);
    QTest::keyClick(text, Qt::Key_F3, Qt::ShiftModifier);
    QTest::keyClick(text, Qt::Key_F3, Qt::ShiftModifier);
    QCOMPARE(viewer->found_node(), 19);
    QCOMPARE(found->text(), QString("11 of 11"));
    QTest::keyClick(text, Qt::Key_F3);
    QCOMPARE(viewer->found_node(), 1);
    QTest::keyClicks(text, "x");
    QCOMPARE(found->text(), QString("Not found"));
    QTest::keyClick(text, Qt::Key_Return);
    QCOMPARE(viewer->found_node(), -1);
    QTest::keyClick(text, Qt::Key_Escape); // out of the box only; the next one is the window's
    QVERIFY(viewer->hasFocus());
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, {});
    escape.accept();
    QApplication::sendEvent(viewer.get(), &escape);
    QVERIFY(!escape.isAccepted());
}

void tst_graph_viewer::hostile_labels()
{
    ACTION_GRAPH graph;
    for (const QString& label : HOSTILE_LABELS)
        graph.add_node(label, ACTION_GRAPH_FILE);
    graph.add_node(QString("a") + QChar(0xd800) + "b" + QChar(1), ACTION_GRAPH_ACTION);
    graph.add_node(QString(5000, 'W'), ACTION_GRAPH_ACTION);
    const auto viewer = open_viewer(graph);
    QVERIFY(is_shown(*viewer));
    QStringList texts;
    for (const PICTURE_NODE& node : viewer->picture()->nodes)
        texts.append(node.text);
    for (const int node : {2, 4}) // markup, and nothing that looks like it
        QCOMPARE(tool_tip_at(viewer.get(),
                             pixel_of(*viewer, viewer->picture()->nodes[node].box.center()).toPoint()),
                 HOSTILE_LABELS[node]);
    QStringList expected = HOSTILE_LABELS;
    expected.replaceInStrings("\t", QString(QChar(0x2409)));
    expected << "a?b\u2401" << QString(5000, 'W');
    QCOMPARE(texts, expected);
    QCOMPARE(viewer->picture()->nodes.last().label.size(), 501);

    const QTemporaryDir folder;
    QString error;
    save_with_dialog(*viewer, folder.filePath("h.svg"));
    const QStringList drawn = texts_of_svg(FILES::bytes(folder.filePath("h.svg")), "text", &error);
    QCOMPARE(error, QString());
    QStringList labels = expected;
    labels.last() = viewer->picture()->nodes.last().label;
    labels.sort();
    QCOMPARE(drawn, labels);

    // What Graphviz itself makes of the saved graph; it drops blank texts.
    save_with_dialog(*viewer, folder.filePath("h.dot"));
    const QString dot = QStandardPaths::findExecutable("dot");
    if (dot.isEmpty())
        GOX_SKIP("there is no dot program");
    QProcess process;
    process.start(dot, {"-Tsvg", folder.filePath("h.dot")});
    QVERIFY(process.waitForFinished(PATIENCE));
    QStringList redrawn = texts_of_svg(process.readAllStandardOutput(), "text", &error);
    QCOMPARE(error, QString());
    for (QStringList* list : {&redrawn, &expected}) {
        list->replaceInStrings(QString(QChar(0xa0)), " ");
        list->erase(std::remove_if(list->begin(), list->end(),
                                   [](const QString& text) { return text.trimmed().isEmpty(); }),
                    list->end());
        list->sort();
    }
    QCOMPARE(redrawn, expected);
}

void tst_graph_viewer::saved_files()
{
    const QTemporaryDir folder;
    const auto viewer = open_chain(12);
    QVERIFY(is_shown(*viewer));
    for (const char* name : {"g.svg", "g.png", "g.dot", "plain"})
        save_with_dialog(*viewer, folder.filePath(name));
    save_with_dialog(*viewer, folder.filePath("last"), Qt::Key_End);
    QVERIFY(QFile::exists(folder.filePath("last.dot")));
    QString error;
    QCOMPARE(texts_of_svg(FILES::bytes(folder.filePath("plain.svg")), "rect", &error).size(), 12);
    const QByteArray svg = FILES::bytes(folder.filePath("g.svg"));
    QCOMPARE(texts_of_svg(svg, "path", &error).size(), 11);
    QCOMPARE(texts_of_svg(svg, "polygon", &error).size(), 11 + 3); // three go both ways
    const QImage image(folder.filePath("g.png"));
    const QRectF bounds = viewer->picture()->bounds;
    QCOMPARE(image.size(), QSize(int(bounds.width()), int(bounds.height())));
    const QPointF corner = viewer->picture()->nodes[1].box.topLeft() + QPointF(4, 4) - bounds.topLeft();
    QCOMPARE(image.pixelColor(corner.toPoint()), QColor("powderblue"));
    const QByteArray dot = FILES::bytes(folder.filePath("g.dot"));
    QCOMPARE(dot.count(" -> "), 11);
    QCOMPARE(dot.count("dir=both"), 3);
}

void tst_graph_viewer::saving_that_fails()
{
    const QTemporaryDir folder;
    const auto viewer = open_chain(3);
    QVERIFY(is_shown(*viewer));
    const QString file = folder.filePath("no <b>folder</b>/g.svg");
    DIALOG_ANSWERS answers;
    answers.answer_with([&](QDialog* dialog) {
        // The dialog refuses the folder; one that is removed meanwhile is the same.
        QDir(folder.path()).mkpath("no <b>folder</b>");
        dialog->findChild<QLineEdit*>("fileNameEdit")->setText(file);
        QDir(folder.path()).rename("no <b>folder</b>", "away");
        dialog->QDialog::done(QDialog::Accepted);
    });
    answers.press_default();
    QTest::keyClick(viewer.get(), Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(answers.unexpected + answers.waiting(), 0);
    QVERIFY2(answers.texts.last().contains(file), qPrintable(answers.texts.last()));
    QVERIFY(answers.texts.last().size() > file.size() + 30); // and the cause
    QCOMPARE(FILES::below(folder.path()), QStringList());

    // A disk that takes the beginning only.
    const PICTURE_PAINTER painter(*viewer->picture());
    for (const char* name : {"g.svg", "g.png", "g.dot"}) {
        const QString place = folder.filePath(name);
        FILES::write(place, "old");
        QString error;
        {
            const FULL_DISK disk(true);
            error = save_picture(painter, place);
        }
        QCOMPARE(error, place + " could not be written: File too large");
        QCOMPARE(FILES::bytes(place), QByteArray("old"));
    }
}

void tst_graph_viewer::empty_graph()
{
    const auto viewer = open_viewer(ACTION_GRAPH());
    QVERIFY(viewer->state() == GRAPHVIZ_VIEWER_WIDGET::STATE::EMPTY);
    QVERIFY(!viewer->findChild<QWidget*>("save_button")->isEnabled());
    turn_wheel(*viewer, viewer->canvas().center(), 1);
    QTest::mouseDClick(viewer.get(), Qt::LeftButton, {}, viewer->canvas().center());
    const QImage image = viewer->grab(viewer->canvas()).toImage();
    QImage bare = image;
    bare.fill(image.pixelColor(0, 0));
    QVERIFY(image != bare); // says something
}

void tst_graph_viewer::layouts_that_fail_data()
{
    const FAILURES row;
    row("no program", "", "none could not be started");
    row("ends badly", "echo Warning: x >&2; echo no memory >&2; exit 1\n", "laid out: no memory\nWarning: x");
    row("dies", "kill -9 $$\n", "ended unexpectedly");
    row("says nothing", "exit 0\n", "incomplete");
    row("says nonsense", "echo 1 2 3 4 99999999999999999999 x\n", "incomplete");
    row("many points", "echo 1 2 3 4 999999999 1 1 1 1\n", "incomplete");
    row("no plugins", "GVBINDIR=$(dirname $0) exec " + QFile::encodeName(LAYOUT_PROGRAM) + '\n',
        "run \"dot -c\"");
}

void tst_graph_viewer::layouts_that_fail()
{
    const auto [program, words] = FAILURES::values();
    const QTemporaryDir folder;
    LAYOUT_RUN::set_program(program.isEmpty() ? folder.filePath("none") : make_program(folder, program));
    const auto viewer = open_chain(2);
    QTRY_VERIFY_WITH_TIMEOUT(viewer->state() == GRAPHVIZ_VIEWER_WIDGET::STATE::FAILED, PATIENCE);
    viewer->grab();
    QVERIFY2(viewer->message().contains(words), qPrintable(viewer->message()));
    QVERIFY(!viewer->findChild<QWidget*>("find_text")->isEnabled());
}

void tst_graph_viewer::dense_graphs_do_not_wait_for_layers()
{
    GRAPH_PICTURE picture;
    picture.nodes.resize(100);
    for (int i = 0; i < 2000; ++i) { // the same number of edges, between neighbours and across
        picture.edges.append(PICTURE_EDGE());
        picture.edges.last().from = i % 99;
        picture.edges.last().to = i % 99 + 1;
    }
    QCOMPARE(choose_layout(picture).reason, QString());
    for (int i = 0; i < 2000; ++i)
        picture.edges[i].to = i / 99 * 5 % 100;
    QCOMPARE(choose_layout(picture).reason, QString("it is too dense for layers"));
    QVERIFY(choose_layout(picture).engine == LAYOUT_ENGINE::SPRING);
}

void tst_graph_viewer::layers_that_fail_give_way_to_springs()
{
    const QTemporaryDir folder;
    const QByteArray mark = '\'' + QFile::encodeName(folder.filePath("mark")) + '\'';
    LAYOUT_RUN::set_program(make_program(folder, "[ -e " + mark + " ] || { touch " + mark +
                                                     "; exit 3; }\nexec " +
                                                     QFile::encodeName(LAYOUT_PROGRAM) + "\n"));
    const auto viewer = open_chain(20);
    QVERIFY(is_shown(*viewer));
    QCOMPARE(viewer->picture()->edges.size(), 19);
    QCOMPARE(viewer->findChild<QLabel*>("summary")->text(),
             QString("20 nodes, 19 edges, laid out by springs, since layers failed: "
                     "the layout program ended unexpectedly"));
}

void tst_graph_viewer::closing_while_laying_out()
{
    const QTemporaryDir folder;
    const QString mark = folder.filePath("mark");
    LAYOUT_RUN::set_program(
        make_program(folder, "echo $$ > '" + QFile::encodeName(mark) + "'\nexec sleep 1000\n"));
    auto viewer = open_chain(5);
    QTRY_VERIFY_WITH_TIMEOUT(FILES::bytes(mark).endsWith('\n'), PATIENCE);
    QVERIFY(viewer->state() == GRAPHVIZ_VIEWER_WIDGET::STATE::LAYING_OUT);
    QVERIFY(viewer->message().contains("in layers"));
    QTest::keyClick(viewer.get(), Qt::Key_Home);
    viewer->grab();
    viewer.reset();
    QVERIFY(!QFileInfo::exists("/proc/" + FILES::bytes(mark).trimmed())); // nothing goes on behind it

    // Nor does the real one outlive a window that could not end it.
    QProcess layout;
    layout.start(LAYOUT_PROGRAM, QStringList());
    layout.write("0 6000 6000 ");
    for (int i = 0; i < 6000; ++i)
        layout.write("100 100 ");
    for (int i = 0; i < 6000; ++i)
        layout.write(QByteArray::number(i) + ' ' + QByteArray::number(i * 7919 % 6000) + " 0 ");
    layout.closeWriteChannel();
    QVERIFY(layout.waitForFinished(PATIENCE));
    QCOMPARE(layout.exitCode(), 1);
}

QTEST_MAIN(tst_graph_viewer)
#include "tst_graph_viewer.moc"

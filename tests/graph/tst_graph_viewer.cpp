// The window that shows a graph, and the program that lays it out.

#include <QtCore/QProcess>
#include <QtGui/QScreen>
#include <QtTest/QtTest>

#include <memory>

#include "graph/action_graph.h"
#include "graph/graphviz.h"
#include "graph/graphviz_viewer_widget.h"
#include "graph/to_graphviz.h"
#include "tests/support/cases.h"
#include "tests/support/files.h"
#include "tests/support/tool_tip.h"
#include "tests/support/transcript.h"
#include "tests/support/watched_test.h"

namespace {

const int PATIENCE = 60000; // milliseconds: the machine may have much else to do

const QString LAYOUT_PROGRAM = QStringLiteral(GOX_TOOL_DIR "/gox_layout." GOX_BUILD_TAG ".bin");

/// A shown viewer whose Graphviz graph is closed already. Each node follows the
/// one of half its number; every third edge goes both ways.
std::unique_ptr<GRAPHVIZ_VIEWER_WIDGET> open_viewer(const QStringList& labels)
{
    ACTION_GRAPH graph;
    for (const QString& label : labels) {
        const int node = graph.nodes.size();
        graph.add_node(label, node % 2);
        if (node > 0)
            graph.add_edge(graph.nodes[node / 2], graph.nodes[node], node % 3 == 0);
    }
    Agraph_s* const made = to_graphviz(graph);
    auto viewer = std::make_unique<GRAPHVIZ_VIEWER_WIDGET>(nullptr, made, nullptr);
    GRAPHVIZ::instance().close_graph(made);
    viewer->resize(800, 600);
    viewer->show();
    viewer->activateWindow();
    if (!QTest::qWaitForWindowActive(viewer.get(), PATIENCE))
        qFatal("the window did not become active");
    return viewer;
}

class SCENE
{
public:
    explicit SCENE(const TEST_CASE& one);

    QString run(const QString& expected) const { return m_steps.run(expected); }
    QString file(const char* name) const { return m_folder.filePath(name); }
    void leave() { m_viewer.reset(); }

private:
    void set_program(const TEST_CASE& one);
    QStringList seen() const;
    QString view() const;
    QString colours() const;
    QPoint pixel_of(const QPointF& point) const
    {
        return (m_viewer->view().transform().map(point) + m_viewer->canvas().topLeft()).toPoint();
    }

    QTemporaryDir m_folder;
    std::unique_ptr<GRAPHVIZ_VIEWER_WIDGET> m_viewer;
    TRANSCRIPT m_steps;
    QString m_tip;
};

SCENE::SCENE(const TEST_CASE& one)
{
    set_program(one);
    m_viewer = open_viewer(one.lines("nodes"));
    m_steps.window = m_viewer.get();
    m_steps.folder = m_folder.path();
    m_steps.seen = [this] { return seen(); };
    m_steps.steps["look"] = [](const QStringList&) {};
    m_steps.steps["tip"] = [this](const QStringList& with) {
        const QRectF box = m_viewer->picture()->nodes[with[0].toInt()].box;
        m_tip = tool_tip_at(m_viewer.get(), pixel_of(box.center()));
    };
}

/// A script in place of the layout program, unless the case has none.
void SCENE::set_program(const TEST_CASE& one)
{
    const QString path = m_folder.filePath("layout.sh");
    const bool is_real = !one.has("program");
    LAYOUT_RUN::set_program(is_real ? LAYOUT_PROGRAM : path, one.has("seconds") ? 0 : 10);
    if (is_real || one["program"].isEmpty())
        return;
    FILES::write(path, "#!/bin/sh\ncd '" + m_folder.path().toUtf8() + "'\nREAL=" + LAYOUT_PROGRAM.toUtf8() +
                           '\n' + one.bytes("program") + '\n');
    QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
}

QStringList SCENE::seen() const
{
    const QImage screen = m_viewer->screen()->grabWindow(m_viewer->winId()).toImage();
    const QImage painted = m_viewer->grab().toImage();
    const bool is_same = screen.copy(m_viewer->canvas()) == painted.copy(m_viewer->canvas());
    QStringList lines{m_viewer->picture() ? view() : "canvas " + m_viewer->message()};
    if (m_viewer->picture())
        lines += colours();
    if (!is_same)
        lines += "screen behind";
    lines += QString("found node %1").arg(m_viewer->found_node());
    lines += QString("pointer %1").arg(m_viewer->cursor().shape());
    lines += "tip \"" + m_tip + '"';
    lines += (QStringList("files") + FILES::below(m_folder.path())).join(' ');
    return lines.replaceInStrings(QRegularExpression("\n+"), " / ")
        .replaceInStrings(QRegularExpression("\\d+ s$"), "* s");
}

/// Rounded to what doesn't go by the fonts of the machine.
QString SCENE::view() const
{
    const QRectF canvas(QPointF(), m_viewer->canvas().size());
    const QPointF middle = m_viewer->view().to_picture(canvas.center()) / 10;
    const QRectF all = m_viewer->view().transform().mapRect(m_viewer->picture()->bounds);
    return QString("view %1 %, %2,%3 in the middle%4")
        .arg(qRound(m_viewer->view().zoom() * 100))
        .arg(qRound(middle.x()) * 10)
        .arg(qRound(middle.y()) * 10)
        .arg(canvas.adjusted(-1, -1, 1, 1).contains(all) ? ", all of it" : "");
}

QString SCENE::colours() const
{
    const QImage image = m_viewer->grab().toImage();
    const QRectF box = m_viewer->picture()->nodes[0].box;
    const QPoint corner = m_viewer->canvas().topLeft();
    const QPoint left = pixel_of({box.left(), box.center().y()}) - QPoint(3, 0);
    const auto is = [&](const QPoint& place, QPalette::ColorRole role) {
        return image.valid(place) && image.pixelColor(place) == m_viewer->palette().color(role);
    };
    return QString(is(corner - QPoint(1, 1), QPalette::Highlight) ? "frame bright" : "frame dull") +
           (is(corner, QPalette::Base) ? "" : ", no ground") +
           (is(left, QPalette::Highlight) ? ", first node framed" : "");
}

} // namespace

class TST_GRAPH_VIEWER : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void viewer_data() { add_cases("graph/viewer.cases", {"nodes", "program", "seconds", "steps"}); }
    void viewer();
    void layouts_data() { add_cases("graph/layouts.cases", {"shell", "request", "answer", "error"}); }
    void layouts();
    void places_data();
    void places();
};

void TST_GRAPH_VIEWER::viewer()
{
    SCENE scene(current_case());
    GOX_COMPARE_TEXT(scene.run(current_case()["steps"]), current_case()["steps"]);
    scene.leave();
    const QByteArray process = FILES::bytes(scene.file("process")).trimmed();
    QVERIFY(process.isEmpty() || !QFileInfo::exists("/proc/" + process));
}

// The program keeps at it as long as its input is open.
void TST_GRAPH_VIEWER::layouts()
{
    QProcess layout;
    layout.start("sh", {"-c", QString(current_case()["shell"]).replace("REAL", LAYOUT_PROGRAM)});
    layout.write(current_case().bytes("request") + ' ');
    QVERIFY(layout.waitForFinished());
    GOX_COMPARE_TEXT(QString(layout.readAllStandardOutput()).replace(" \n", "\n").trimmed(),
                     current_case()["answer"]);
    GOX_COMPARE_TEXT(QString(layout.readAllStandardError()).trimmed(), current_case()["error"]);
    QCOMPARE(layout.exitCode(), int(current_case().has("error")));
}

void TST_GRAPH_VIEWER::places_data()
{
    QTest::addColumn<int>("nodes");
    QTest::newRow("layers") << 60;
    QTest::newRow("springs") << 2500;
}

void TST_GRAPH_VIEWER::places()
{
    QFETCH(int, nodes);
    QStringList labels;
    for (int i = 0; i < nodes; ++i)
        labels += QString("node %1").arg(i);
    LAYOUT_RUN::set_program(LAYOUT_PROGRAM);
    const auto viewer = open_viewer(labels);
    QTRY_VERIFY_WITH_TIMEOUT(viewer->picture(), PATIENCE);
    const GRAPH_PICTURE& picture = *viewer->picture();
    QCOMPARE(picture.edges.size(), nodes - 1);
    for (const PICTURE_EDGE& edge : picture.edges) {
        const QRectF head = picture.nodes[edge.to].box.adjusted(-3, -3, 3, 3);
        const QRectF tail = picture.nodes[edge.from].box.adjusted(-3, -3, 3, 3);
        QVERIFY(head.contains(edge.head_tip) && edge.head_tip != edge.curve.last());
        QVERIFY(tail.contains(edge.both_ways ? edge.tail_tip : edge.curve.first()));
        QVERIFY(picture.bounds.contains(bounds_of(edge)));
    }
    for (int i = 0; i < nodes; ++i)
        for (int other = 0; other < i; ++other)
            QVERIFY(!picture.nodes[i].box.adjusted(1, 1, -1, -1).intersects(picture.nodes[other].box));
}

QTEST_MAIN(TST_GRAPH_VIEWER)
#include "tst_graph_viewer.moc"

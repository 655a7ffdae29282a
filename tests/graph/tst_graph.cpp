// From the actions of a session to the graph that is laid out, shown and saved.

#include <QtTest/QtTest>
#include <QtWidgets/QtWidgets>

#include <cgraph.h>
#include <memory>
#include <random>

#include "graph/action_graph.h"
#include "graph/graph_settings_dialog.h"
#include "graph/graphviz_viewer_widget.h"
#include "graph/join_nodes.h"
#include "graph/picture_files.h"
#include "graph/to_graphviz.h"
#include "tests/graph/plain_joining.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/full_disk.h"
#include "tests/support/spelled_bytes.h"
#include "tests/support/tool_tip.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_text.h"
#include "tests/support/window_transcript.h"

namespace {

using VIEWER = GRAPHVIZ_VIEWER_WIDGET;

const QString LAYOUT_PROGRAM = QStringLiteral(GOX_TOOL_DIR "/" GOX_LAYOUT_FILE);

/// "a" and "b" make textures, "pack" packs a's, "lone" has nothing to do with
/// them. "pack" and "a" pull each other, "b" pulls "pack".
class GRAPH_SCENE : public STEP_SCENE
{
public:
    GRAPH_SCENE()
    {
        for (const char* file : {"raw_data/T/A.Big.png", "raw_data/T/b.png", "raw_data/Makefile"})
            tree.write(file, "x");
        STEP_PROCESSOR* const processor = add_processor("p");
        actions["a"] = processor->add("a", {"<raw>/t/a.big.png", "<raw>/t/a.big.png"}, "<working>/a.tex");
        actions["b"] = processor->add("b", {"<raw>/t/b.png"}, "<working>/b.tex");
        actions["pack"] = processor->add("pack", {"<working>/a.tex"}, "<retail>/p.pack");
        actions["lone"] = processor->add("lone", {"<raw>/makefile"}, "<working>/l.txt");
        start_up();
        actions["a"]->add_dependency(*actions["pack"], true);
        actions["a"]->dependencies.clear();
        actions["pack"]->add_dependency(*actions["a"], true);
        actions["b"]->add_dependency(*actions["pack"], true);
        for (STEP_ACTION* const action : qAsConst(actions))
            action->more_of_name = " at length";
    }

    QMap<QString, STEP_ACTION*> actions;
};

/// Nodes are lines "action | text | weight" or "file | text | weight", edges
/// "0 | 1 | both | weight" with the numbers of their nodes, behind which may stand
/// how often. "row | 9" is nine nodes, each of which leads to the one before it.
void fill(ACTION_GRAPH& graph, const QStringList& lines)
{
    for (const QString& line : lines) {
        const QStringList fields = line.split(" | ");
        const QString text = fields.value(1).replace(QChar(0xb6), '\n');
        if (fields[0] == "action" || fields[0] == "file")
            graph.add_node(text, fields[0] == "file")->weight = fields.value(2, "1").toInt();
        for (int i = 0; fields[0] == "row" && i < text.toInt(); ++i) {
            graph.add_node(QString(), 0);
            graph.add_edge(graph.nodes[i], graph.nodes[std::max(0, i - 1)], 0);
        }
        for (int i = 0; fields[0][0].isDigit() && i < fields.value(4, "1").toInt(); ++i) {
            ACTION_GRAPH_NODE* const from = graph.nodes[fields[0].toInt()];
            ACTION_GRAPH_EDGE* const edge =
                graph.add_edge(from, graph.nodes[text.toInt()], fields.value(2) == "both");
            edge->weight = fields.value(3, "1").toInt();
        }
    }
}

/// Each node with kind, weight and the numbers of its edges, then the edges.
QString text_of(const ACTION_GRAPH& graph)
{
    QStringList lines;
    for (const ACTION_GRAPH_NODE* node : graph.nodes) {
        lines += QString("%1 x %2 \"%3\"").arg(node->weight).arg(node->kind ? "file" : "action", node->text);
        for (ACTION_GRAPH_EDGE* edge : node->edges)
            lines.last() += ' ' + QString::number(graph.edges.indexOf(edge));
    }
    for (const ACTION_GRAPH_EDGE* edge : graph.edges)
        lines += QString::number(edge->weight) + " x " + QString::number(graph.nodes.indexOf(edge->from)) +
                 (edge->both_ways ? " <-> " : " -> ") + QString::number(graph.nodes.indexOf(edge->to));
    return lines.join('\n');
}

QString text_of(const GRAPH_PICTURE& picture)
{
    QStringList lines;
    for (const PICTURE_NODE& node : picture.nodes)
        lines += node.fill.name() + " \"" + node.text + '"';
    for (const PICTURE_EDGE& edge : picture.edges)
        lines += picture.nodes[edge.from].text + (edge.both_ways ? " <-> " : " -> ") +
                 picture.nodes[edge.to].text + QStringList{"", " dashed", " dotted"}[int(edge.style)];
    return lines.join('\n');
}

/// What the library itself writes, with numbers of nodes in place of addresses.
QString text_of(Agraph_s* made, const ACTION_GRAPH& graph)
{
    std::FILE* const stream = std::tmpfile();
    agwrite(made, stream);
    std::rewind(stream);
    QFile file;
    file.open(stream, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    QString text = QString::fromUtf8(file.readAll()).simplified();
    // What a layout in this process leaves as the usual label of all graphs to come.
    text.remove("node [label=\"\\N\"]; ").remove("label=\"\", ");
    text.replace("; ", ";\n");
    for (int i = 0; i < graph.nodes.size(); ++i)
        text.replace(QString::number(quintptr(graph.nodes[i])), "node " + QString::number(i));
    return text;
}

void fill_at_random(ACTION_GRAPH& graph, uint seed)
{
    std::mt19937 random(seed);
    const auto below = [&](int limit) { return int(random() % uint(limit)); };
    const int nodes = 1 + below(12);
    const int texts = 1 + below(nodes);
    for (int i = 0; i < nodes; ++i)
        graph.add_node(QString::number(below(texts)), below(2))->weight = 1 + below(2);
    for (int i = below(40); i > 0; --i) {
        ACTION_GRAPH_NODE* const from = graph.nodes[below(nodes)];
        ACTION_GRAPH_NODE* const to = below(8) == 0 ? from : graph.nodes[below(nodes)];
        graph.add_edge(from, to, below(3) == 0)->weight = 1 + below(3);
    }
}

QImage painted(const PICTURE_PAINTER& painter, double zoom)
{
    const QRectF bounds = painter.picture().bounds;
    QImage image((bounds.size() * zoom).toSize(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter brush(&image);
    brush.scale(zoom, zoom);
    brush.translate(-bounds.topLeft());
    painter.paint(brush, bounds, zoom, Qt::black);
    return image;
}

/// A letter for two pixels, one above the other, by the darker one.
QString as_letters(const QImage& image)
{
    QString text;
    for (int y = 0; y + 1 < image.height(); y += 2, text += '\n')
        for (int x = 0; x < image.width(); ++x) {
            const QColor upper = image.pixelColor(x, y), lower = image.pixelColor(x, y + 1);
            const QColor colour = upper.lightness() < lower.lightness() ? upper : lower;
            const bool is_fill = colour.hsvSaturation() > 50 && colour.lightness() > 100;
            text += QChar(is_fill ? (colour.hue() < 90 ? 'a' : 'f') : "#%+-."[colour.lightness() / 52]);
        }
    return text.trimmed();
}

/// Without what goes by the fonts of the machine; of a picture its letters, or the
/// size of a large one. When it can't be saved, why, and what is there then.
QString saved(const PICTURE_PAINTER& painter, const QString& name, bool is_disk_full)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(name);
    FILES::write(file, "old");
    const FULL_DISK disk(is_disk_full);
    const QString error = save_picture(painter, file);
    const QSize size = QImageReader(file).size();
    if (name.endsWith(".png") && size.width() + size.height() > 500)
        return QString("%1 x %2").arg(size.width()).arg(size.height());
    if (name.endsWith(".png") && error.isEmpty())
        return as_letters(QImage(file));
    return QString(error + '\n' + QString::fromUtf8(FILES::bytes(file)))
        .replace(QDir::toNativeSeparators(folder.path() + '/'), "*/")
        .replace(QRegularExpression("family=\"&quot;[^&]+"), "family=\"&quot;*")
        .replace(QRegularExpression("(textLength|<text.* y)=\"[0-9.-]+"), "\\1=\"*")
        .trimmed();
}

/// A viewer whose Graphviz graph is closed already. Each node follows the one of
/// half its number; every third edge goes both ways.
std::unique_ptr<VIEWER> open_viewer(const QStringList& labels)
{
    ACTION_GRAPH graph;
    for (int i = 0; i < labels.size(); ++i) {
        graph.add_node(labels[i], i % 2);
        if (i > 0)
            graph.add_edge(graph.nodes[i / 2], graph.nodes[i], i % 3 == 0);
    }
    Agraph_s* const made = to_graphviz(graph);
    auto viewer = std::make_unique<VIEWER>(nullptr, made, nullptr);
    agclose(made);
    viewer->resize(800, 600);
    viewer->show();
    viewer->activateWindow();
    return viewer;
}

/// A stand-in for the layout program, or one that is not there.
void set_program(const TEST_CASE& one, const QString& folder)
{
    qputenv("GOX_TEST_P4", QFile::encodeName(folder));
    one.has("without plugins") ? qputenv("GVBINDIR", QFile::encodeName(folder)) : qunsetenv("GVBINDIR");
    if (!one.has("program"))
        return;
    FILES::write(folder + "/layout.txt", one.bytes("program"));
    LAYOUT_RUN::set_program(one["program"].isEmpty() ? folder + "/none" : GOX_P4_STAND_IN_DIR "/p4",
                            one.has("seconds") ? 0 : 10);
}

QPoint pixel_of(const VIEWER& viewer, const QPointF& point)
{
    return (viewer.view().transform().map(point) + viewer.canvas().topLeft()).toPoint();
}

/// Rounded to what doesn't go by the fonts of the machine.
QStringList picture_lines(VIEWER& viewer)
{
    const QRectF canvas(QPointF(), viewer.canvas().size());
    const QPointF middle = viewer.view().to_picture(canvas.center()) / 10;
    const QRectF all = viewer.view().transform().mapRect(viewer.picture()->bounds);
    const QImage image = viewer.grab().toImage();
    const auto is_bright = [&](const QPoint& place) {
        return image.valid(place) && image.pixelColor(place) == viewer.palette().color(QPalette::Highlight);
    };
    const QPoint corner = viewer.canvas().topLeft();
    const QPoint left = pixel_of(viewer, viewer.picture()->nodes[0].box.topLeft() + QPointF(0, 5));
    QStringList lines{QString("view %1 %, %2,%3 in the middle")
                          .arg(qRound(viewer.view().zoom() * 100))
                          .arg(qRound(middle.x()) * 10)
                          .arg(qRound(middle.y()) * 10)};
    lines.last() += canvas.adjusted(-1, -1, 1, 1).contains(all) ? ", all of it" : "";
    QString pale = "pale:";
    for (int i = 0; i < viewer.picture()->nodes.size(); ++i) {
        const PICTURE_NODE& node = viewer.picture()->nodes[i];
        const QPoint inside = pixel_of(viewer, {node.box.left() + 5, node.box.center().y()});
        if (image.rect().contains(inside) && image.pixelColor(inside) != node.fill)
            pale += ' ' + QString::number(i);
    }
    lines += pale;
    lines += is_bright(corner - QPoint(1, 1)) ? "frame bright" : "frame dull";
    lines += is_bright(left - QPoint(3, 0)) ? "first node framed" : "first node bare";
    return lines;
}

QStringList lines_of(VIEWER& viewer)
{
    const QImage screen = viewer.screen()->grabWindow(viewer.winId()).toImage().copy(viewer.canvas());
    QStringList lines = viewer.picture() ? picture_lines(viewer) : QStringList("canvas " + viewer.message());
    if (screen != viewer.grab(viewer.canvas()).toImage())
        lines += "screen behind";
    lines += QString("found node %1").arg(viewer.found_node());
    lines += QString("pointer %1").arg(viewer.cursor().shape());
    return lines;
}

} // namespace

class TST_GRAPH : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init() { LAYOUT_RUN::set_program(LAYOUT_PROGRAM); }
    void of_a_session_data()
    {
        add_cases("graph/session.cases", {"selected", "type", "coverage", "long_action_names", "filenames",
                                          "join_identical", "cancel", "shown"});
    }
    void of_a_session();
    void graphs_data()
    {
        add_cases("graph/graphs.cases",
                  {"graph",  "join",     "locale",  "answer",  "bounds",  "full",   "zoom",
                   "joined", "graphviz", "picture", "request", "fault",   "g.svg",  "g.SVG",
                   "g.png",  "g.dot",    "g.gv",    "g.txt",   "painted", "layout", "png size"});
    }
    void graphs();
    void joining_is_that_of_pairs();
    void viewer_data()
    {
        add_cases("graph/viewer.cases", {"nodes", "many", "program", "without plugins", "seconds", "steps"});
    }
    void viewer();
    void layouts_data() { add_cases("graph/layouts.cases", {"request", "closed", "said"}); }
    void layouts();
    void places();
};

void TST_GRAPH::of_a_session()
{
    const TEST_CASE one = current_case();
    GRAPH_SCENE scene;
    for (const QString& name : one["selected"].split(' ', Qt::SkipEmptyParts))
        scene.actions[name]->selection_count = 1;
    GRAPH_SETTINGS_DIALOG dialog(scene.session, nullptr, Qt::WindowFlags());
    QString shown = WINDOW_TEXT::form(dialog);
    DIALOG_ANSWERS answers;
    answers.answer_with([&](QDialog* settings) {
        for (QComboBox* const box : settings->findChildren<QComboBox*>())
            box->setCurrentText(one[qPrintable(box->objectName())]);
        for (QCheckBox* const box : settings->findChildren<QCheckBox*>())
            box->setChecked(one.has(qPrintable(box->objectName())));
        const char* const button = one.has("cancel") ? "pushButton_2" : "pushButton";
        settings->findChild<QPushButton*>(button)->click();
    });
    answers.answer_with([&](QDialog* window) {
        auto* const viewer = window->findChild<VIEWER*>();
        QTRY_VERIFY(viewer->state() != VIEWER::STATE::LAYING_OUT);
        shown = window->windowTitle() + (dialog.isVisible() ? " over its settings\n" : "\n") +
                (viewer->picture() ? text_of(*viewer->picture()) : viewer->message());
        QTest::keyClick(window, Qt::Key_Escape);
    });
    dialog.exec();
    GOX_COMPARE_TEXT(shown, one["shown"]);
}

void TST_GRAPH::graphs()
{
    const TEST_CASE one = current_case();
    const auto number = [&](const char* key, int part) { return one[key].section(' ', part, part).toInt(); };
    QTextCodec::setCodecForLocale(
        QTextCodec::codecForName(one.has("locale") ? one.bytes("locale") : "UTF-8"));
    ACTION_GRAPH graph;
    fill(graph, one.lines("graph"));
    if (one.has("join"))
        join_nodes(graph, graph.nodes[number("join", 0)], graph.nodes[number("join", 1)]);
    Agraph_s* const made = to_graphviz(graph);
    QMap<QByteArray, QString> is{{"joined", text_of(graph)}};
    if (one.has("graphviz"))
        is["graphviz"] = text_of(made, graph);
    GRAPH_PICTURE picture = picture_of(made, QFont());
    agclose(made);
    is["picture"] = text_of(picture);
    picture.font.setPixelSize(12);
    for (PICTURE_NODE& node : picture.nodes)
        node.box.setSize({24, 12});
    is["request"] = QString(layout_request(picture, LAYOUT_ENGINE::SPRING)).replace(" \n", "\n").trimmed();
    is["fault"] = read_layout(one.bytes("answer"), picture);
    if (one.has("bounds"))
        picture.bounds.setSize(QSize(number("bounds", 0), number("bounds", 1)));
    const QSize png = (picture.bounds.size() * png_zoom(picture.bounds.size())).toSize();
    is["png size"] = QString("%1 x %2").arg(png.width()).arg(png.height());
    const PICTURE_PAINTER painter(picture);
    for (const char* name : {"g.svg", "g.SVG", "g.png", "g.dot", "g.gv", "g.txt"})
        if (one.has(name))
            is[name] = saved(painter, name, one.has("full"));
    if (one.has("zoom"))
        is["painted"] = as_letters(painted(painter, number("zoom", 0) / 100.0));
    is["layout"] = choose_layout(picture).reason;
    for (auto key = is.cbegin(); key != is.cend(); ++key)
        if (one.has(key.key()))
            GOX_COMPARE_TEXT(*key, one[key.key()]);
}

void TST_GRAPH::joining_is_that_of_pairs()
{
    for (uint seed = 0; seed < 3000; ++seed) {
        ACTION_GRAPH own, plain;
        fill_at_random(own, seed);
        fill_at_random(plain, seed);
        join_identical_nodes(own);
        plain_join_identical_nodes(plain);
        GOX_COMPARE_TEXT(text_of(own), text_of(plain));
    }
}

void TST_GRAPH::viewer()
{
    const TEST_CASE one = current_case();
    const QTemporaryDir folder;
    set_program(one, folder.path());
    const QStringList labels =
        one.has("many") ? QVector<QString>(one["many"].toInt(), "a").toList() : one.lines("nodes");
    std::unique_ptr<VIEWER> viewer = open_viewer(labels);
    WINDOW_TRANSCRIPT transcript;
    transcript.window = viewer.get();
    transcript.folder = folder.path();
    QString tip;
    const auto middle = [&](const QString& node) {
        return pixel_of(*viewer, viewer->picture()->nodes[node.toInt()].box.center());
    };
    transcript.add("tip", [&](const QString& node) { tip = tool_tip_at(viewer.get(), middle(node)); });
    transcript.add("click_node", [&](const QString& node) {
        QTest::mouseClick(viewer.get(), Qt::LeftButton, {}, middle(node));
    });
    transcript.add("answer_file", [&](const QString& with) {
        transcript.answers.answer_with([&transcript, with](QDialog* dialog) {
            QLineEdit* const name = dialog->findChild<QLineEdit*>("fileNameEdit");
            press_keys(dialog->findChild<QComboBox*>("fileTypeCombo"), with.section(' ', 1));
            name->setText(transcript.folder + '/' + with.section(' ', 0, 0));
            QTest::keyClick(name, Qt::Key_Return);
        });
    });
    transcript.watch = [&] {
        const QString files = (QStringList("files") + FILES::below(folder.path())).join(' ');
        return (lines_of(*viewer) << files << "tip \"" + tip + '"')
            .replaceInStrings(QRegularExpression("\n+"), " / ")
            .replaceInStrings(QRegularExpression("\\S+ could not be started: [^/]+"), "no program: WHY ")
            .replaceInStrings(QRegularExpression("\\d+ s$"), "* s");
    };
    GOX_COMPARE_TEXT(transcript.play(one["steps"]), one["steps"]);
    viewer.reset();
    const QByteArray process = FILES::bytes(folder.filePath("process")).trimmed();
    QVERIFY(process.isEmpty() || IS_WINDOWS || !QFileInfo::exists("/proc/" + process));
}

// The program keeps at it as long as its input is open.
void TST_GRAPH::layouts()
{
    QProcess layout;
    layout.setProcessChannelMode(QProcess::MergedChannels);
    layout.start(LAYOUT_PROGRAM, QStringList());
    layout.write(spelled_bytes(current_case()["request"]) + ' ');
    if (current_case().has("closed"))
        layout.closeWriteChannel();
    QVERIFY(layout.waitForFinished());
    const QString said = QString(layout.readAll()).replace(" \n", "\n") + "ends with %1";
    GOX_COMPARE_TEXT(said.arg(layout.exitCode()).trimmed(), current_case()["said"]);
}

void TST_GRAPH::places()
{
    for (const int nodes : {60, 400}) {
        LAYOUT_RUN::set_program(LAYOUT_PROGRAM, nodes == 60 ? 60 : 0); // in layers, and by springs
        const auto viewer = open_viewer(QVector<QString>(nodes, "a node").toList());
        QTRY_VERIFY_WITH_TIMEOUT(viewer->picture(), 60000);
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
}

QTEST_MAIN(TST_GRAPH)
#include "tst_graph.moc"

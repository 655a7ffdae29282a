// From the actions of a session to the graph that is drawn and saved.

#include <QtCore/QTextCodec>
#include <QtTest/QtTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QPushButton>

#include <cgraph.h>
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
#include "tests/support/dialog_answers.h"
#include "tests/support/full_disk.h"
#include "tests/support/rows.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_text.h"

namespace {

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
/// "0 | 1 | both | weight" with the numbers of their nodes.
void fill(ACTION_GRAPH& graph, const QStringList& lines)
{
    for (const QString& line : lines) {
        const QStringList fields = line.split(" | ");
        const auto node = [&](int field) { return graph.nodes[fields[field].toInt()]; };
        if (fields[0] == "action" || fields[0] == "file")
            graph.add_node(QString(fields[1]).replace(QChar(0xb6), '\n'), fields[0] == "file")->weight =
                fields.value(2, "1").toInt();
        else
            graph.add_edge(node(0), node(1), fields.value(2) == "both")->weight =
                fields.value(3, "1").toInt();
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
        lines += QString("%1 x %2 %3 %4")
                     .arg(edge->weight)
                     .arg(graph.nodes.indexOf(edge->from))
                     .arg(edge->both_ways ? "<->" : "->")
                     .arg(graph.nodes.indexOf(edge->to));
    return lines.join('\n');
}

QString text_of(const GRAPH_PICTURE& picture)
{
    const QStringList styles{"", " dashed", " dotted"};
    QStringList lines;
    for (const PICTURE_NODE& node : picture.nodes)
        lines += node.fill.name() + " \"" + node.text + '"';
    for (const PICTURE_EDGE& edge : picture.edges)
        lines += picture.nodes[edge.from].text + (edge.both_ways ? " <-> " : " -> ") +
                 picture.nodes[edge.to].text + styles[int(edge.style)];
    return lines.join('\n');
}

/// What the library itself writes, but for its defaults, with numbers of nodes in
/// place of addresses.
QString text_of(Agraph_s* made, const ACTION_GRAPH& graph)
{
    std::FILE* const stream = std::tmpfile();
    agwrite(made, stream);
    std::rewind(stream);
    QFile file;
    file.open(stream, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    QString text = QString::fromUtf8(file.readAll())
                       .replace(QRegularExpression(",\n\t+"), ", ")
                       .remove(QRegularExpression("\tnode \\[.*\n"))
                       .replace('\t', ' ')
                       .trimmed();
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

/// A letter for two pixels, one above the other, by the darker one; the size of a
/// large image.
QString as_letters(const QImage& image)
{
    QString text;
    if (image.width() + image.height() > 500)
        return QString("%1 x %2").arg(image.width()).arg(image.height());
    for (int y = 0; y + 1 < image.height(); y += 2, text += '\n')
        for (int x = 0; x < image.width(); ++x) {
            const QColor upper = image.pixelColor(x, y), lower = image.pixelColor(x, y + 1);
            const QColor colour = upper.lightness() < lower.lightness() ? upper : lower;
            const bool is_fill = colour.hsvSaturation() > 50 && colour.lightness() > 100;
            text += QChar(is_fill ? (colour.hue() < 90 ? 'a' : 'f') : "#%+-."[colour.lightness() / 52]);
        }
    return text.trimmed();
}

/// Without what goes by the fonts of the machine; of a picture its letters. When it
/// can't be saved, why, and what is there then.
QString saved(const PICTURE_PAINTER& painter, const QString& name, bool is_disk_full)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(name);
    FILES::write(file, "old");
    const FULL_DISK disk(is_disk_full);
    const QString error = save_picture(painter, file);
    if (name.endsWith(".png") && error.isEmpty())
        return as_letters(QImage(file));
    return QString(error + '\n' + QString::fromUtf8(FILES::bytes(file)))
        .replace(folder.path(), "*")
        .replace(QRegularExpression("family=\"&quot;[^&]+"), "family=\"&quot;*")
        .replace(QRegularExpression("(textLength|<text.* y)=\"[0-9.-]+"), "\\1=\"*")
        .trimmed();
}

/// The layout of a row of nodes with some edges more: their number, tail and head.
QString layout_of(const QStringList& numbers)
{
    GRAPH_PICTURE picture;
    const auto add = [&](int from, int to) {
        picture.edges.append(PICTURE_EDGE());
        picture.edges.last().from = from;
        picture.edges.last().to = to;
    };
    picture.nodes.resize(numbers[0].toInt());
    for (int i = picture.nodes.size() - 1; i > 0; --i)
        add(i - 1, i);
    for (int i = 0; i < numbers[1].toInt(); ++i)
        add(numbers[2].toInt(), numbers[3].toInt());
    const LAYOUT_CHOICE choice = choose_layout(picture);
    return choice.engine == LAYOUT_ENGINE::LAYERED ? "layers" + choice.reason : "springs: " + choice.reason;
}

} // namespace

class TST_ACTION_GRAPH : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void init() { LAYOUT_RUN::set_program(GOX_TOOL_DIR "/gox_layout." GOX_BUILD_TAG ".bin"); }
    void cleanup() { QTextCodec::setCodecForLocale(nullptr); }
    void of_a_session_data();
    void of_a_session();
    void graphs_data();
    void graphs();
    void joining_is_that_of_pairs();
};

void TST_ACTION_GRAPH::of_a_session_data()
{
    add_cases("graph/session.cases", {"selected", "type", "coverage", "long_action_names", "filenames",
                                      "join_identical", "form", "shown"});
}

void TST_ACTION_GRAPH::of_a_session()
{
    const TEST_CASE one = current_case();
    GRAPH_SCENE scene;
    for (const QString& name : one["selected"].split(' ', Qt::SkipEmptyParts))
        scene.actions[name]->selection_count = 1;
    GRAPH_SETTINGS_DIALOG dialog(scene.session, nullptr, Qt::WindowFlags());
    const QString form = WINDOW_TEXT::form(dialog);
    if (one.has("form"))
        GOX_COMPARE_TEXT(form, one["form"]);
    QString shown = "nothing";
    DIALOG_ANSWERS answers;
    answers.answer_with([&](QDialog* settings) {
        for (QComboBox* const box : settings->findChildren<QComboBox*>())
            box->setCurrentText(one[qPrintable(box->objectName())]);
        for (QCheckBox* const box : settings->findChildren<QCheckBox*>())
            box->setChecked(one.has(qPrintable(box->objectName())));
        const char* const button = one["shown"] == shown ? "pushButton_2" : "pushButton";
        QTimer::singleShot(0, settings->findChild<QPushButton*>(button), SLOT(click()));
    });
    answers.answer_with([&](QDialog* window) {
        auto* const viewer = window->findChild<GRAPHVIZ_VIEWER_WIDGET*>();
        QTRY_VERIFY(viewer->state() != GRAPHVIZ_VIEWER_WIDGET::STATE::LAYING_OUT);
        shown = window->windowTitle() + (dialog.isVisible() ? " over its settings\n" : "\n") +
                (viewer->picture() ? text_of(*viewer->picture()) : viewer->message());
        QTest::keyClick(window, Qt::Key_Escape);
    });
    dialog.exec();
    GOX_COMPARE_TEXT(shown, one["shown"]);
}

void TST_ACTION_GRAPH::graphs_data()
{
    add_cases("graph/graphs.cases",
              {"graph",    "join",    "locale",  "answer", "bounds", "row",     "joined",
               "graphviz", "picture", "request", "fault",  "g.svg",  "g.SVG",   "g.png",
               "g.dot",    "g.gv",    "g.txt",   "full",   "zoom",   "painted", "layout"});
}

void TST_ACTION_GRAPH::graphs()
{
    const TEST_CASE one = current_case();
    const auto number = [&](const char* key, int part) { return one[key].section(' ', part, part).toInt(); };
    QTextCodec::setCodecForLocale(QTextCodec::codecForName(one.bytes("locale")));
    ACTION_GRAPH graph;
    fill(graph, one.lines("graph"));
    if (one.has("join"))
        join_nodes(graph, graph.nodes[number("join", 0)], graph.nodes[number("join", 1)]);
    Agraph_s* const made = to_graphviz(graph);
    QMap<QByteArray, QString> is{{"joined", text_of(graph)}, {"graphviz", text_of(made, graph)}};
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
    const PICTURE_PAINTER painter(picture);
    for (const char* name : {"g.svg", "g.SVG", "g.png", "g.dot", "g.gv", "g.txt"})
        if (one.has(name))
            is[name] = saved(painter, name, one.has("full"));
    if (one.has("zoom"))
        is["painted"] = as_letters(painted(painter, number("zoom", 0) / 100.0));
    if (one.has("row"))
        is["layout"] = layout_of(one["row"].split(' '));
    for (auto key = is.cbegin(); key != is.cend(); ++key)
        if (one.has(key.key()))
            GOX_COMPARE_TEXT(*key, one[key.key()]);
}

void TST_ACTION_GRAPH::joining_is_that_of_pairs()
{
    for (uint seed = 0; seed < 10000; ++seed) {
        ACTION_GRAPH own, plain;
        fill_at_random(own, seed);
        fill_at_random(plain, seed);
        join_identical_nodes(own);
        plain_join_identical_nodes(plain);
        GOX_COMPARE_TEXT(text_of(own), text_of(plain));
    }
}

QTEST_MAIN(TST_ACTION_GRAPH)
#include "tst_action_graph.moc"

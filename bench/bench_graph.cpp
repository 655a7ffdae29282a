// Joining the nodes of a graph against its plain procedure, laying out and painting.

#include <QtCore/QEventLoop>
#include <QtGui/QImage>

#include <random>

#include "bench/measure.h"
#include "graph/action_graph.h"
#include "graph/join_nodes.h"
#include "graph/layout_run.h"
#include "graph/picture_painter.h"
#include "tests/graph/plain_joining.h"

namespace {

const uint EXTENSIONS = 20;
const int NAMESAKES = 3; // actions of one name
const int EDGES_A_NODE = 3;
const int FAR_APART = 200; // neighbours in a picture
const int ROUNDS = 7;
const int HUB = 100; // one edge of these goes to one of a few nodes

/// Like files and actions of a large tree under their extensions and short names:
/// every other node is a file, of which there are many with one text, and most
/// edges stay near while some go to what everybody uses.
/// Several graphs are made step by step together, each from numbers of its own.
void fill(std::vector<ACTION_GRAPH>& graphs, int nodes)
{
    std::vector<std::mt19937> randoms;
    for (uint seed = 0; seed < graphs.size(); ++seed)
        randoms.emplace_back(seed);
    for (int i = 0; i < nodes; ++i)
        for (std::size_t g = 0; g < graphs.size(); ++g)
            if (i % 2)
                graphs[g].add_node(QString("ext%1").arg(randoms[g]() % EXTENSIONS), ACTION_GRAPH_FILE);
            else
                graphs[g].add_node(QString("action %1").arg(i / 2 / NAMESAKES), ACTION_GRAPH_ACTION);
    for (int i = 0; i < nodes * EDGES_A_NODE; ++i)
        for (std::size_t g = 0; g < graphs.size(); ++g) {
            const int from = i / EDGES_A_NODE;
            const int to = i % HUB == 0 ? int(randoms[g]() % 10) : (from + int(randoms[g]() % 50)) % nodes;
            graphs[g].add_edge(graphs[g].nodes[from], graphs[g].nodes[to], i % 20 == 0);
        }
}

struct OUTCOME
{
    COST cost;
    QVector<qint32> weights; // of nodes, then of edges
};

OUTCOME join(int nodes, void (*way)(ACTION_GRAPH&))
{
    std::vector<ACTION_GRAPH> graphs(1);
    fill(graphs, nodes);
    ACTION_GRAPH& graph = graphs.front();
    OUTCOME outcome;
    outcome.cost = cost_of([&] { way(graph); });
    outcome.cost.time = outcome.cost.processor;
    for (const ACTION_GRAPH_NODE* node : qAsConst(graph.nodes))
        outcome.weights.append(node->weight);
    for (const ACTION_GRAPH_EDGE* edge : qAsConst(graph.edges))
        outcome.weights.append(edge->weight);
    return outcome;
}

/// Ten small graphs lie mixed in as much memory as one large one and find as little
/// of themselves in the processor's caches.
COST join_all(int graphs, int nodes)
{
    std::vector<ACTION_GRAPH> all(static_cast<std::size_t>(graphs));
    fill(all, nodes);
    COST cost = cost_of([&] {
        for (ACTION_GRAPH& graph : all)
            join_identical_nodes(graph);
    });
    cost.time = cost.processor; // one thread, and too short to be compared while others use the machine
    return cost;
}

COST best_of(int graphs, int nodes)
{
    COST best = join_all(graphs, nodes);
    for (int round = 1; round < ROUNDS; ++round)
        best = least(best, join_all(graphs, nodes));
    return best;
}

/// A field of boxes with lines to some of their neighbours.
GRAPH_PICTURE make_picture(int nodes)
{
    std::mt19937 random(12);
    GRAPH_PICTURE picture;
    const int columns = int(std::sqrt(nodes));
    for (int i = 0; i < nodes; ++i) {
        PICTURE_NODE node;
        node.label = QString("picture %1.png").arg(i);
        node.fill = i % 2 ? QColor("powderblue") : QColor("sandybrown");
        node.box = QRectF(i % columns * FAR_APART, i / columns * FAR_APART, 120, 26);
        picture.bounds |= node.box;
        picture.nodes.append(node);
    }
    for (int i = 0; i < nodes * 2; ++i) {
        PICTURE_EDGE edge;
        edge.from = i / 2;
        edge.to = std::min(nodes - 1, edge.from + (i % 2 ? 1 : columns) * int(1 + random() % 4));
        const QPointF from = picture.nodes[edge.from].box.center();
        const QPointF to = picture.nodes[edge.to].box.center();
        edge.curve = {from, (2 * from + to) / 3, (from + 2 * to) / 3, to};
        edge.head_tip = to;
        picture.edges.append(edge);
    }
    return picture;
}

COST paint(const PICTURE_PAINTER& painter, const QRectF& part, double zoom)
{
    QImage image((part.size() * zoom).toSize(), QImage::Format_RGB32);
    return cost_of([&] {
        QPainter brush(&image);
        brush.scale(zoom, zoom);
        brush.translate(-part.topLeft());
        painter.paint(brush, part, zoom, Qt::black);
    });
}

/// A tree by springs, in the layout program.
COST lay_out(int nodes)
{
    GRAPH_PICTURE picture;
    picture.nodes.resize(nodes);
    for (int i = 0; i < nodes; ++i) {
        picture.nodes[i].box.setSize(QSizeF(60 + i % 7 * 20, 26));
        picture.edges.append(PICTURE_EDGE());
        picture.edges.last().from = i / 2;
        picture.edges.last().to = i;
    }
    LAYOUT_RUN::set_program(QStringLiteral(GOX_TOOL_DIR "/gox_layout." GOX_BUILD_TAG ".bin"));
    LAYOUT_RUN run(nullptr);
    QEventLoop loop;
    QString error;
    QObject::connect(&run, &LAYOUT_RUN::finished, &loop, [&](const QString& text) {
        error = text;
        loop.quit();
    });
    const COST cost = cost_of([&] {
        run.start(picture);
        loop.exec();
    });
    if (!error.isEmpty())
        give_up(error);
    return cost;
}

} // namespace

void bench_graph(const BENCH_OPTIONS& options, FIGURES& figures)
{
    const int feasible = 20000;
    const OUTCOME plain = join(feasible, plain_join_identical_nodes);
    if (plain.weights != join(feasible, join_identical_nodes).weights)
        give_up("the joined graph differs from that of the plain procedure");
    const QString what = QString("joining %1 nodes");
    figures.ratio(what.arg(feasible), best_of(1, feasible), "plain procedure", plain.cost, 0.1);

    const int count = options.quick ? 500 : 5000;
    COST small = best_of(10, count);
    small.time /= 10;
    small.processor /= 10;
    const COST large = best_of(1, count * 10);
    figures.ratio(what.arg(count * 10), large, QString("of %1 nodes, one of ten").arg(count), small, 15);

    // Less care is taken of the larger one, and still it must not be ready sooner.
    const COST wide = lay_out(4900);
    figures.ratio("layout of 5100 nodes", lay_out(5100), "of 4900", wide, 1.5);
    figures.ratio("layout of 4900 nodes", wide, "of 5100", lay_out(5100), 1.5);

    const PICTURE_PAINTER painter(make_picture(50000));
    const QRectF bounds = painter.picture().bounds;
    figures.value("painting all of 50000 nodes", paint(painter, bounds, 900 / bounds.width()).time * 1e3,
                  "ms", 0);
    const QRectF window(bounds.center(), QSizeF(900, 640));
    const QRectF strip(bounds.center(), QSizeF(20, 640));
    figures.value("painting a window of them", paint(painter, window, 1).time * 1e3, "ms", 0);
    figures.value("painting what panning uncovers", paint(painter, strip, 1).time * 1e3, "ms", 0);
}

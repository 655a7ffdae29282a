#include <QtTest/QtTest>

#include <random>

#include "graph/build_action_graph.h"
#include "graph/graphviz.h"
#include "graph/join_nodes.h"
#include "graph/to_graphviz.h"
#include "tests/graph/plain_joining.h"
#include "tests/session/step_scene.h"
#include "tests/support/watched_test.h"

namespace {

class NAMED_ACTION : public STEP_ACTION
{
public:
    using STEP_ACTION::STEP_ACTION;
    QString display_text(bool long_form) override { return long_form ? name + " at length" : name; }
};

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
        add(processor, "a", {"<raw>/t/a.big.png", "<raw>/t/a.big.png"}, "<working>/a.tex");
        add(processor, "b", {"<raw>/t/b.png"}, "<working>/b.tex");
        add(processor, "pack", {"<working>/a.tex"}, "<retail>/p.pack");
        add(processor, "lone", {"<raw>/makefile"}, "<working>/l.txt");
        start_up();
        action("a")->add_dependency(*action("pack"), true);
        action("a")->dependencies.clear();
        action("pack")->add_dependency(*action("a"), true);
        action("b")->add_dependency(*action("pack"), true);
    }

    ACTION_INTERFACE* action(const QString& name) const
    {
        for (ACTION_INTERFACE* action : qAsConst(session->actions))
            if (action->display_text(false) == name)
                return action;
        return nullptr;
    }

private:
    static void add(STEP_PROCESSOR* processor, const char* name, const QStringList& reads, const char* target)
    {
        NAMED_ACTION* const action = new NAMED_ACTION(name);
        action->reads = reads;
        action->writes(target);
        processor->actions.append(action);
    }
};

QString text_of(const ACTION_GRAPH& graph)
{
    QStringList parts;
    for (const ACTION_GRAPH_NODE* node : graph.nodes)
        parts.append((node->kind == ACTION_GRAPH_FILE ? "file " : "") + node->text);
    for (const ACTION_GRAPH_EDGE* edge : graph.edges)
        parts.append(edge->from->text + (edge->both_ways ? "<>" : ">") + edge->to->text);
    return parts.join(", ");
}

/// Everything that can be seen of a graph, edge lists of nodes included.
QString whole_text_of(const ACTION_GRAPH& graph)
{
    QString text;
    for (const ACTION_GRAPH_NODE* node : graph.nodes) {
        text += QString("%1/%2/%3:").arg(node->text).arg(node->kind).arg(node->weight);
        for (ACTION_GRAPH_EDGE* edge : node->edges)
            text += QString::number(graph.edges.indexOf(edge)) + ' ';
    }
    for (const ACTION_GRAPH_EDGE* edge : graph.edges)
        text += QString("\n%1>%2 both %3 weight %4")
                    .arg(graph.nodes.indexOf(edge->from))
                    .arg(graph.nodes.indexOf(edge->to))
                    .arg(edge->both_ways)
                    .arg(edge->weight);
    return text;
}

void fill_at_random(ACTION_GRAPH& graph, uint seed)
{
    std::mt19937 random(seed);
    const auto below = [&](uint limit) { return int(random() % limit); };
    const int nodes = 1 + below(12);
    const int texts = 1 + below(uint(nodes));
    for (int i = 0; i < nodes; ++i)
        graph.add_node(QString::number(below(uint(texts))), below(2));
    for (int i = below(40); i > 0; --i) {
        ACTION_GRAPH_NODE* const from = graph.nodes[below(uint(nodes))];
        ACTION_GRAPH_NODE* const to = below(8) == 0 ? from : graph.nodes[below(uint(nodes))];
        graph.add_edge(from, to, below(3) == 0)->weight = 1 + below(3);
    }
}

} // namespace

class tst_action_graph : public WATCHED_TEST
{
    Q_OBJECT

private slots:
    void graphs_of_a_session_data();
    void graphs_of_a_session();
    void joining_is_that_of_pairs();
    void single_joins();
    void graphviz_attributes();
};

void tst_action_graph::graphs_of_a_session_data()
{
    using S = GRAPH_SETTINGS;
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("coverage");
    QTest::addColumn<bool>("long_names");
    QTest::addColumn<int>("filenames");
    QTest::addColumn<QString>("selected");
    QTest::addColumn<QString>("graph");
    const auto row = [](const char* name, int type, int coverage, int filenames, const char* selected,
                        const char* graph, bool long_names = false) {
        QTest::newRow(name) << type << coverage << long_names << filenames << selected << graph;
    };
    row("nothing selected", S::DATA_FLOW, S::SELECTED, S::SHORT, "", "");
    row("flow, selected", S::DATA_FLOW, S::SELECTED, S::SHORT, "a",
        "a, file A.Big.png, file a.tex, A.Big.png>a, A.Big.png>a, a>a.tex");
    row("flow, next", S::DATA_FLOW, S::SELECTED_AND_NEXT, S::LONG, "pack",
        "a, file <raw>/t/a.big.png, file <working>/a.tex, pack, file <retail>/p.pack, "
        "<raw>/t/a.big.png>a, <raw>/t/a.big.png>a, a><working>/a.tex, <working>/a.tex>pack, "
        "pack><retail>/p.pack");
    row("flow, all", S::DATA_FLOW, S::ALL, S::EXTENSION_ONLY, "",
        "a at length, file Big.png, file tex, b at length, file png, file tex, pack at length, file pack, "
        "lone at length, file , file txt, Big.png>a at length, Big.png>a at length, a at length>tex, "
        "png>b at length, b at length>tex, tex>pack at length, pack at length>pack, >lone at length, "
        "lone at length>txt",
        true);
    row("dependencies, selected", S::DEPENDENCIES, S::SELECTED, S::SHORT, "b pack", "b, pack, pack>b");
    row("dependencies, next", S::DEPENDENCIES, S::SELECTED_AND_NEXT, S::SHORT, "pack",
        "b, pack, a, pack>b, a>pack");
    row("dependencies, all", S::DEPENDENCIES, S::ALL, S::SHORT, "", "a, b, pack, lone, pack>b, a>pack");
    row("pulling, selected", S::PULLING, S::SELECTED, S::SHORT, "a pack", "a, pack, pack<>a");
    row("pulling, selected alone", S::PULLING, S::SELECTED, S::SHORT, "pack", "pack");
    row("pulling, next", S::PULLING, S::SELECTED_AND_NEXT, S::SHORT, "pack", "pack, a, b, a<>pack, b>pack");
    row("pulling, all", S::PULLING, S::ALL, S::SHORT, "", "a, pack, b, lone, pack<>a, b>pack");
}

void tst_action_graph::graphs_of_a_session()
{
    QFETCH(QString, selected);
    QFETCH(QString, graph);
    QFETCH(int, type);
    QFETCH(int, coverage);
    QFETCH(bool, long_names);
    QFETCH(int, filenames);
    GRAPH_SCENE scene;
    for (const QString& name : selected.split(' ', Qt::SkipEmptyParts))
        scene.action(name)->selection_count = 1;
    ACTION_GRAPH built;
    ACTION_GRAPH_BUILDER({type, coverage, long_names, filenames}, built).add(scene.session->actions);
    QCOMPARE(text_of(built), graph);
}

void tst_action_graph::joining_is_that_of_pairs()
{
    for (uint seed = 0; seed < 20000; ++seed) {
        ACTION_GRAPH own;
        ACTION_GRAPH plain;
        fill_at_random(own, seed);
        fill_at_random(plain, seed);
        join_identical_nodes(own);
        plain_join_identical_nodes(plain);
        if (whole_text_of(own) != whole_text_of(plain))
            QCOMPARE("seed " + QString::number(seed) + whole_text_of(own), whole_text_of(plain));
    }
}

void tst_action_graph::single_joins()
{
    ACTION_GRAPH graph;
    ACTION_GRAPH_NODE* const kept = graph.add_node("kept", ACTION_GRAPH_ACTION);
    ACTION_GRAPH_NODE* const dropped = graph.add_node("dropped", ACTION_GRAPH_FILE);
    ACTION_GRAPH_NODE* const other = graph.add_node("other", ACTION_GRAPH_FILE);
    graph.add_edge(kept, other, 1);
    graph.add_edge(other, dropped, 0); // turned round: the known one goes both ways
    graph.add_edge(dropped, dropped, 0);
    graph.add_edge(kept, dropped, 0); // a further one to itself
    join_nodes(graph, kept, kept);
    join_nodes(graph, kept, dropped);
    QCOMPARE(whole_text_of(graph), QString("kept/0/2:0 1 other/1/1:0 \n0>1 both 1 weight 2"
                                           "\n0>0 both 0 weight 2"));
    QVERIFY(ACTION_GRAPH::has_edge(kept, kept) && !ACTION_GRAPH::has_edge(other, other));
    QVERIFY(ACTION_GRAPH::has_edge(other, kept) && ACTION_GRAPH::has_edge(kept, other));
}

void tst_action_graph::graphviz_attributes()
{
    ACTION_GRAPH graph;
    graph.add_node("<b>\\N \"Höhle\"", ACTION_GRAPH_ACTION)->weight = 5;
    graph.add_node("", ACTION_GRAPH_FILE)->weight = 7;
    for (const int weight : {5, 4, 2, 1, 6})
        graph.add_edge(graph.nodes[0], graph.nodes[1], weight == 4)->weight = weight;
    const GRAPHVIZ& graphviz = GRAPHVIZ::instance();
    Agraph_s* const made = to_graphviz(graph);
    QStringList texts;
    for (Agnode_s* node = graphviz.first_node(made); node; node = graphviz.next_node(made, node)) {
        for (const char* name : {"label", "shape", "style", "fillcolor"})
            texts.append(QString::fromLocal8Bit(graphviz.attribute(node, name)));
        for (Agedge_s* edge = graphviz.first_edge(made, node); edge; edge = graphviz.next_edge(made, edge))
            texts.append(QString(graphviz.attribute(edge, "style")) + '/' + graphviz.attribute(edge, "dir"));
    }
    graphviz.close_graph(made);
    const QStringList expected{"<b>\\N \"Höhle\"", "box",     "filled", "sandybrown", "/",   "dashed/both",
                               "dashed/",          "dotted/", "/",      "",           "box", "filled",
                               "powderblue"};
    QCOMPARE(texts, expected);
}

QTEST_MAIN(tst_action_graph)
#include "tst_action_graph.moc"

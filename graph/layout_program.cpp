// Lays a graph out: layout_protocol.h says what it reads and writes. A program of
// its own, because a layout can't be stopped and may end its process: here that
// costs nobody anything, and whoever closes the window kills it.

#include <gvc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "graph/graphviz.h"

namespace {

const double POINTS_AN_INCH = 72;
const double HUNDREDTHS = 100;
const long long MOST_OBJECTS = 50000000;
const int SPRING = 1;

// Fitting the parts of a graph into each other takes a time that grows with the
// square of their number; beyond this many nodes they stand in rows.
const std::size_t MOST_NODES_FOR_FITTING = 2000;

// Attempts to free the boxes of overlaps. Each takes a time in step with the
// nodes, so the more there are of these the fewer there may be of them.
const std::size_t MOST_ATTEMPTS = 200;
const std::size_t FEWEST_ATTEMPTS = 20;
const std::size_t ATTEMPTS_BY_NODES = 200000;

const int DIRECTED = 1;

// The last line of standard error says why.
[[noreturn]] void give_up(const std::string& text)
{
    std::fprintf(stderr, "\n%s\n", text.c_str());
    std::fflush(stderr);
    std::_Exit(1);
}

[[noreturn]] void no_memory()
{
    std::fputs("\nthere is not enough memory for the layout\n", stderr);
    std::_Exit(1);
}

long long number(long long most)
{
    long long value = 0;
    if (std::scanf("%lld", &value) != 1 || value < 0 || value > most) // NOLINT(cert-err34-c): bounded below
        give_up("the request is damaged");
    return value;
}

void set(void* object, const char* name, const char* value)
{
    GRAPHVIZ::instance().set_attribute(object, name, value, "");
}

void set_inches(void* object, const char* name, long long hundredths)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.6f", double(hundredths) / HUNDREDTHS / POINTS_AN_INCH);
    set(object, name, text);
}

struct REQUEST
{
    bool is_spring = false;
    Agraph_t* graph = nullptr;
    std::vector<Agnode_t*> nodes;
    std::vector<Agedge_t*> edges;
    std::vector<std::size_t> leaders; ///< of each node another one of its part of the graph, up to the
                                      ///< one that leads to itself
};

std::size_t leader_of(std::vector<std::size_t>& leaders, std::size_t node)
{
    while (leaders[node] != node) {
        leaders[node] = leaders[leaders[node]];
        node = leaders[node];
    }
    return node;
}

REQUEST read_request()
{
    const GRAPHVIZ& graphviz = GRAPHVIZ::instance();
    REQUEST request;
    request.is_spring = number(1) == SPRING;
    request.graph = graphviz.open_graph("graph", DIRECTED);
    const long long nodes = number(MOST_OBJECTS);
    const long long edges = number(MOST_OBJECTS);
    for (long long i = 0; i < nodes; ++i) {
        request.leaders.push_back(std::size_t(i));
        char name[32];
        std::snprintf(name, sizeof name, "%lld", i);
        request.nodes.push_back(graphviz.add_node(request.graph, name));
        set_inches(request.nodes.back(), "width", number(1LL << 40));
        set_inches(request.nodes.back(), "height", number(1LL << 40));
        set(request.nodes.back(), "shape", "box");
        set(request.nodes.back(), "label", "");
        set(request.nodes.back(), "fixedsize", "true");
    }
    for (long long i = 0; i < edges; ++i) {
        const std::size_t tail = std::size_t(number(nodes - 1));
        const std::size_t head = std::size_t(number(nodes - 1));
        request.leaders[leader_of(request.leaders, tail)] = leader_of(request.leaders, head);
        request.edges.push_back(graphviz.add_edge(request.graph, request.nodes[tail], request.nodes[head]));
        if (number(1) == 1)
            set(request.edges.back(), "dir", "both");
    }
    return request;
}

// The other side keeps our input open for as long as it wants the answer.
void end_with_input()
{
    while (std::getchar() != EOF) {
    }
    std::_Exit(1);
}

void put(double length)
{
    std::printf("%lld ", std::llround(length * HUNDREDTHS));
}

// Graphviz counts y upwards.
void put(const pointf& point)
{
    put(point.x);
    put(-point.y);
}

void put_node(Agnode_t* node)
{
    put(ND_coord(node));
    std::putchar('\n');
}

// Curves that Graphviz gives in parts follow one another; only the outermost ends
// have heads.
void put_edge(Agedge_t* edge)
{
    const splines* const all = ED_spl(edge);
    std::vector<pointf> points;
    pointf head_tip{};
    pointf tail_tip{};
    for (int part = 0; all && part < all->size; ++part) {
        const bezier& curve = all->list[part];
        if (curve.size < 1)
            continue;
        if (points.empty())
            tail_tip = curve.sflag ? curve.sp : curve.list[0];
        head_tip = curve.eflag ? curve.ep : curve.list[curve.size - 1];
        if (!points.empty()) { // a straight piece from one part to the next
            points.push_back(points.back());
            points.push_back(curve.list[0]);
            points.push_back(curve.list[0]);
        }
        points.insert(points.end(), curve.list, curve.list + curve.size);
    }
    std::printf("%zu ", points.size());
    put(head_tip);
    put(tail_tip);
    for (const pointf& point : points)
        put(point);
    std::putchar('\n');
}

// Parts of the graph in rows. Small ones, the most, are wide and low, so there are
// fewer in a row than rows.
std::string array_of_parts(const REQUEST& request)
{
    long long parts = 0;
    for (std::size_t i = 0; i < request.leaders.size(); ++i)
        parts += request.leaders[i] == i;
    return "array_c" + std::to_string(std::max(1LL, std::llround(std::sqrt(double(parts)) / 2)));
}

void choose_parameters(const REQUEST& request)
{
    if (request.is_spring) {
        const std::size_t nodes = std::max(request.nodes.size(), std::size_t(1));
        const std::size_t attempts = std::clamp(ATTEMPTS_BY_NODES / nodes, FEWEST_ATTEMPTS, MOST_ATTEMPTS);
        set(request.graph, "overlap", ("prism" + std::to_string(attempts)).c_str());
        set(request.graph, "packmode",
            nodes > MOST_NODES_FOR_FITTING ? array_of_parts(request).c_str() : "node");
        set(request.graph, "quadtree", "fast");
        set(request.graph, "splines", "line");
    } else {
        // Labels are wide and low, so layers stand side by side.
        set(request.graph, "rankdir", "LR");
        set(request.graph, "ranksep", "0.6");
        set(request.graph, "nodesep", "0.2");
    }
}

} // namespace

int main()
{
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    std::set_new_handler(no_memory);
    const GRAPHVIZ& graphviz = GRAPHVIZ::instance();
    const REQUEST request = read_request();
    std::thread(end_with_input).detach();
    choose_parameters(request);
    GVC_t* const context = graphviz.make_context();
    const std::string engine = request.is_spring ? "sfdp" : "dot";
    if (graphviz.layout(context, request.graph, engine.c_str()) != 0)
        give_up("Graphviz has no layout \"" + engine +
                "\" here: its plugins are missing or not registered. Install Graphviz with its "
                "plugins (on Debian: graphviz), then run \"dot -c\" as administrator.");
    for (Agnode_t* node : request.nodes)
        put_node(node);
    for (Agedge_t* edge : request.edges)
        put_edge(edge);
    std::printf("-1\n");
    // The system takes the memory back, quicker than the library would.
    const bool is_written = std::fflush(stdout) == 0;
    std::_Exit(is_written ? 0 : 1);
}

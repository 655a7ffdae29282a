#pragma once

struct Agedge_s;
struct Agnode_s;
struct Agraph_s;
struct GVC_s;

/// The entry points into the Graphviz library that this program uses, behind
/// plain pointers, so that nothing else sees the library's headers.
///
/// The library keeps state of its own that all contexts and graphs share, so in
/// one process only one thread may be inside it at a time; here that is the GUI
/// thread. A layout can take minutes, can't be stopped and may end the process
/// that asked for it, so only the layout program (layout_program.cpp) calls
/// `layout`; the windows ask it through LAYOUT_RUN.
///
/// Texts are zero-terminated; the library takes copies. Names and labels given
/// to it are never markup, but a backslash in a label is an escape to its
/// layouts.
struct GRAPHVIZ
{
    GVC_s* (*make_context)();
    int (*free_context)(GVC_s* context);

    /// 0 on success. The engine is a name such as "dot" or "sfdp".
    int (*layout)(GVC_s* context, Agraph_s* graph, const char* engine);
    int (*free_layout)(GVC_s* context, Agraph_s* graph); ///< before the graph is closed
    const char* (*last_error)();                         ///< null when there was none; the library's

    Agraph_s* (*open_graph)(const char* name, int kind); ///< kind 0 has lines, 1 has arrows
    int (*close_graph)(Agraph_s* graph);                 ///< frees its nodes and edges too
    Agnode_s* (*add_node)(Agraph_s* graph, const char* name);
    Agedge_s* (*add_edge)(Agraph_s* graph, Agnode_s* tail,
                          Agnode_s* head); ///< a further one where there is one

    /// Declares the attribute on first use. `object` is a graph, node or edge.
    int (*set_attribute)(void* object, const char* name, const char* value, const char* default_value);

    /// Null when no object of this sort has the attribute; the graph's text.
    const char* (*attribute)(void* object, const char* name);

    // Nodes in order of creation, and the edges that leave one, too; null behind
    // the last.
    Agnode_s* (*first_node)(Agraph_s* graph);
    Agnode_s* (*next_node)(Agraph_s* graph, Agnode_s* node);
    Agedge_s* (*first_edge)(Agraph_s* graph, Agnode_s* tail);
    Agedge_s* (*next_edge)(Agraph_s* graph, Agedge_s* edge);
    Agnode_s* (*head)(Agedge_s* edge);

    static const GRAPHVIZ& instance();
};

#include "graph/graphviz.h"

#include <gvc.h>

namespace {

// The library takes many texts as char* and writes to none of them.
char* text_of(const char* text)
{
    return const_cast<char*>(text);
}

Agraph_t* open_graph(const char* name, int kind)
{
    return agopen(text_of(name), kind == 1 ? Agdirected : Agundirected, nullptr);
}

Agnode_t* add_node(Agraph_t* graph, const char* name)
{
    return agnode(graph, text_of(name), 1);
}

Agedge_t* add_edge(Agraph_t* graph, Agnode_t* tail, Agnode_t* head)
{
    return agedge(graph, tail, head, nullptr, 1);
}

int set_attribute(void* object, const char* name, const char* value, const char* default_value)
{
    return agsafeset(object, text_of(name), text_of(value), text_of(default_value));
}

const char* attribute(void* object, const char* name)
{
    return agget(object, text_of(name));
}

const char* last_error()
{
    return aglasterr();
}

Agnode_t* head(Agedge_t* edge)
{
    return aghead(edge);
}

const GRAPHVIZ RECORD = {gvContext, gvFreeContext, gvLayout, gvFreeLayout,  last_error, open_graph,
                         agclose,   add_node,      add_edge, set_attribute, attribute,  agfstnode,
                         agnxtnode, agfstout,      agnxtout, head};

} // namespace

const GRAPHVIZ& GRAPHVIZ::instance()
{
    return RECORD;
}

#pragma once

#include <QtCore/QHash>
#include <QtCore/QVector>

#include "graph/action_graph.h"

class ACTION_INTERFACE;
struct FILE_ENTRY;

/// What to draw; the values are the rows of the boxes in the settings dialog.
struct GRAPH_SETTINGS
{
    enum TYPE : int
    {
        DATA_FLOW = 0,
        DEPENDENCIES = 1,
        PULLING = 2
    };
    enum COVERAGE : int
    {
        SELECTED = 0,
        SELECTED_AND_NEXT = 1,
        ALL = 2
    };
    enum FILENAMES : int
    {
        SHORT = 0,
        LONG = 1,
        EXTENSION_ONLY = 2
    };

    int type = DATA_FLOW;
    int coverage = SELECTED;
    bool long_action_names = false;
    int filenames = SHORT;
};

/// Draws actions as a graph: which files flow through them, which needs which, or
/// which carries which along. Actions and files are only read. GUI thread, while
/// no build runs.
class ACTION_GRAPH_BUILDER
{
public:
    /// `graph` must outlive the builder, which adds to it.
    ACTION_GRAPH_BUILDER(const GRAPH_SETTINGS& settings, ACTION_GRAPH& graph);

    /// Adds those of `actions` that the coverage includes, in order, and what
    /// they are tied to. PATHS must be initialised.
    void add(const QVector<ACTION_INTERFACE*>& actions);

private:
    bool is_included(const ACTION_INTERFACE* action);
    bool is_next_to_selected(const ACTION_INTERFACE* action);
    bool is_touched_by_selected(const FILE_ENTRY* file);
    bool is_drawn_at_other_end(const ACTION_INTERFACE* action) const;

    void add_files(ACTION_INTERFACE* action, ACTION_GRAPH_NODE* node);
    void add_dependencies(ACTION_INTERFACE* action, ACTION_GRAPH_NODE* node);
    void add_pullers(ACTION_INTERFACE* action, ACTION_GRAPH_NODE* node);

    ACTION_GRAPH_NODE* action_node(ACTION_INTERFACE* action);
    ACTION_GRAPH_NODE* file_node(FILE_ENTRY* file);

    const GRAPH_SETTINGS m_settings;
    ACTION_GRAPH& m_graph;
    QHash<ACTION_INTERFACE*, ACTION_GRAPH_NODE*> m_action_nodes;
    QHash<FILE_ENTRY*, ACTION_GRAPH_NODE*> m_file_nodes;
    QHash<const FILE_ENTRY*, bool> m_touched; // many actions may ask about one file
};

/// The label of a file's node; `filenames` is a GRAPH_SETTINGS::FILENAMES. A
/// short name without a "." has no extension and an empty label.
QString file_label(const FILE_ENTRY& file, int filenames);

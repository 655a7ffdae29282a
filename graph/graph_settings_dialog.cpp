#include "graph/graph_settings_dialog.h"

#include <QtWidgets/QHBoxLayout>

#include "graph/action_graph.h"
#include "graph/build_action_graph.h"
#include "graph/graphviz.h"
#include "graph/graphviz_viewer_widget.h"
#include "graph/join_nodes.h"
#include "graph/to_graphviz.h"
#include "session/build_session.h"

GRAPH_SETTINGS_DIALOG::GRAPH_SETTINGS_DIALOG(BUILD_SESSION* session, QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags), session(session)
{
    ui.setupUi(this);
    connect(ui.pushButton, SIGNAL(clicked()), this, SLOT(generate()));
    connect(ui.pushButton_2, SIGNAL(clicked()), this, SLOT(reject()));
}

void GRAPH_SETTINGS_DIALOG::generate()
{
    accept();
    GRAPH_SETTINGS settings;
    settings.type = ui.type->currentIndex();
    settings.coverage = ui.coverage->currentIndex();
    settings.long_action_names = ui.long_action_names->isChecked();
    settings.filenames = ui.filenames->currentIndex();

    ACTION_GRAPH graph;
    ACTION_GRAPH_BUILDER(settings, graph).add(session->actions);
    if (ui.join_identical->isChecked())
        join_identical_nodes(graph);

    const GRAPHVIZ& graphviz = GRAPHVIZ::instance();
    GVC_s* const context = graphviz.make_context();
    Agraph_s* const drawn = to_graphviz(graph);
    QDialog dialog(nullptr, Qt::WindowFlags());
    QHBoxLayout* const layout = new QHBoxLayout(&dialog);
    layout->addWidget(new GRAPHVIZ_VIEWER_WIDGET(context, drawn, &dialog));
    dialog.setWindowTitle(QStringLiteral("GOX - ") + ui.type->currentText());
    dialog.exec();
    graphviz.close_graph(drawn);
    graphviz.free_context(context);
}

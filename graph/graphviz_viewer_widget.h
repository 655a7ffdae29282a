#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>
#include <QtWidgets/QWidget>

#include <memory>

#include "graph/layout_run.h"
#include "graph/picture_painter.h"
#include "graph/picture_view.h"

#include "ui_graphviz_viewer_widget.h"

struct Agraph_s;
struct GVC_s;

/// Lays a Graphviz graph out and shows it: the wheel zooms at the pointer,
/// dragging and the arrow keys pan, "+" and "-" zoom, a double click, Home and F
/// show all of it. Find goes from one node with a text to the next; Escape leaves
/// its box. A click on a node, or Enter for the one that was found, singles out what
/// leads to it and what follows from it, until Escape or a click beside it. The whole
/// picture can be saved, in the folder of the last one.
///
/// The widget takes what it needs from the graph in its constructor and never
/// touches graph or context again: they stay the caller's, who may close and free
/// them at any time after that. Graphviz itself works in a process of its own
/// (LAYOUT_RUN), so the window answers while the layout runs, and closing it, or
/// deleting the widget, ends the layout at once.
///
/// Labels are shown as they stand: nothing in them is markup or an escape. GUI
/// thread.
class GRAPHVIZ_VIEWER_WIDGET : public QWidget
{
    Q_OBJECT

public:
    /// Starts to lay the graph out. The context is not used.
    GRAPHVIZ_VIEWER_WIDGET(GVC_s* context, Agraph_s* graph, QWidget* parent);
    ~GRAPHVIZ_VIEWER_WIDGET() override;

    enum class STATE
    {
        EMPTY,
        LAYING_OUT,
        SHOWN,
        FAILED
    };
    STATE state() const { return m_state; }
    QString message() const; ///< what stands on the canvas in place of a graph

    QRect canvas() const;                                  ///< where the graph is painted
    const PICTURE_VIEW& view() const { return m_view; }    ///< pixels count from the canvas's corner
    const GRAPH_PICTURE* picture() const;                  ///< null until it is shown
    int found_node() const { return m_found; }             ///< what was found last; -1 for none
    int singled_out_node() const { return m_singled_out; } ///< whose relatives show; -1 for none

    QSize sizeHint() const override;
    /// False: a message of several lines must not decide on the height of its window.
    bool hasHeightForWidth() const override { return false; }

public slots:
    void zoom_in();
    void zoom_out();
    void fit();
    void find_next();
    void find_previous();
    void save_as(); ///< asks for a file; an error gets a message box

protected:
    bool event(QEvent* event) override; ///< tool tips
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private slots:
    void layout_finished(const QString& error);
    void look_for_text(); ///< works out which nodes have the text
    void focus_find();
    void format_chosen(const QString& filter); ///< in the dialog for saving, the sender

private:
    void connect_controls();
    void add_shortcut(const QKeySequence& keys, const char* slot);
    void enable_controls();
    void paint_graph(QPainter& painter, const QRect& part) const;
    void zoom(const QPointF& pixel, double factor);
    void pan(const QPoint& pixels);
    void go_to_match(int step);
    void place_again();
    void single_out(int node); ///< -1: ends it
    void frame_node(QPainter& painter, int node) const;

    Ui::GRAPHVIZ_VIEWER_WIDGET ui;
    STATE m_state = STATE::EMPTY;
    enum class PLACED
    {
        BY_PERSON, // moved or zoomed
        AT_BEGINNING,
        ALL
    };

    QString m_error;
    std::unique_ptr<LAYOUT_RUN> m_layout;
    QElapsedTimer m_laying_out;
    QTimer m_clock;
    std::unique_ptr<PICTURE_PAINTER> m_painter;
    PICTURE_VIEW m_view;
    PLACED m_placed = PLACED::ALL;
    bool m_is_pressed = false;  ///< the left button, on the canvas
    bool m_is_dragging = false; ///< it has been moved too far for a click
    QPoint m_drag;              ///< where the pointer was last, while it drags; first where it was pressed
    QVector<int> m_matches;     ///< nodes that have the text, ascending
    int m_found = -1;
    int m_singled_out = -1;
    NODE_RELATIVES m_relatives; ///< of that node
    QString m_summary;          ///< what stands there when no node is singled out
};

#include "graph/graphviz_viewer_widget.h"

#include <QtCore/QStandardPaths>
#include <QtGui/QHelpEvent>
#include <QtGui/QPaintEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLayout>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QToolTip>

#include <algorithm>
#include <cmath>

#include "contracts/services/plain_message_box.h"
#include "contracts/services/plain_tool_tip.h"
#include "contracts/services/user_settings.h"
#include "graph/picture_files.h"

namespace {

const double STEP = 1.25;           // of a key or a notch of the wheel
const int NOTCH = 120;              // a wheel's, in eighths of a degree
const double READABLE_ZOOM = 0.8;   // what was found is shown at least so large
const int PAN_STEP = 60;            // of an arrow key, in pixels
const int CLOCK_MILLISECONDS = 500; // how often the time that a layout takes is shown
const int LONGEST_TIP = 2000;
const int FRAME = 1;
const char KEY_FOLDER[] = "GraphFolder";

QString folder_to_save_in()
{
    const QString last = user_settings().value(KEY_FOLDER).toString();
    return !last.isEmpty() && QDir(last).exists()
               ? last
               : QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

} // namespace

GRAPHVIZ_VIEWER_WIDGET::GRAPHVIZ_VIEWER_WIDGET(GVC_s*, Agraph_s* graph, QWidget* parent) : QWidget(parent)
{
    ui.setupUi(this);
    setAttribute(Qt::WA_OpaquePaintEvent); // else panning would paint everything anew
    connect_controls();
    const GRAPH_PICTURE picture = picture_of(graph, font());
    m_summary = tr("%1 nodes, %2 edges").arg(picture.nodes.size()).arg(picture.edges.size());
    ui.summary->setText(m_summary);
    if (!picture.nodes.isEmpty()) {
        m_state = STATE::LAYING_OUT;
        m_laying_out.start();
        m_clock.start(CLOCK_MILLISECONDS);
        m_layout = std::make_unique<LAYOUT_RUN>(nullptr);
        connect(m_layout.get(), SIGNAL(finished(QString)), this, SLOT(layout_finished(QString)),
                Qt::QueuedConnection);
        m_layout->start(picture);
    }
    enable_controls();
    setFocus();
}

GRAPHVIZ_VIEWER_WIDGET::~GRAPHVIZ_VIEWER_WIDGET() = default;

void GRAPHVIZ_VIEWER_WIDGET::connect_controls()
{
    connect(ui.find_text, SIGNAL(textChanged(QString)), this, SLOT(look_for_text()));
    connect(ui.find_text, SIGNAL(returnPressed()), this, SLOT(find_next()));
    connect(ui.next_button, SIGNAL(clicked()), this, SLOT(find_next()));
    connect(ui.previous_button, SIGNAL(clicked()), this, SLOT(find_previous()));
    connect(ui.zoom_in_button, SIGNAL(clicked()), this, SLOT(zoom_in()));
    connect(ui.zoom_out_button, SIGNAL(clicked()), this, SLOT(zoom_out()));
    connect(ui.fit_button, SIGNAL(clicked()), this, SLOT(fit()));
    connect(ui.save_button, SIGNAL(clicked()), this, SLOT(save_as()));
    connect(&m_clock, SIGNAL(timeout()), this, SLOT(update()));
    add_shortcut(QKeySequence::Find, SLOT(focus_find()));
    add_shortcut(QKeySequence(Qt::Key_F3), SLOT(find_next()));
    add_shortcut(QKeySequence(Qt::SHIFT + Qt::Key_F3), SLOT(find_previous()));
    add_shortcut(QKeySequence::Save, SLOT(save_as()));
}

void GRAPHVIZ_VIEWER_WIDGET::add_shortcut(const QKeySequence& keys, const char* slot)
{
    QShortcut* const shortcut = new QShortcut(keys, this);
    shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    connect(shortcut, SIGNAL(activated()), this, slot);
}

void GRAPHVIZ_VIEWER_WIDGET::enable_controls()
{
    const bool is_shown = m_state == STATE::SHOWN;
    for (QWidget* control : std::initializer_list<QWidget*>{ui.find_label, ui.find_text, ui.zoom_out_button,
                                                            ui.zoom_in_button, ui.fit_button, ui.save_button})
        control->setEnabled(is_shown);
    ui.next_button->setEnabled(is_shown && !m_matches.isEmpty());
    ui.previous_button->setEnabled(is_shown && !m_matches.isEmpty());
}

QSize GRAPHVIZ_VIEWER_WIDGET::sizeHint() const
{
    return QWidget::sizeHint().expandedTo({900, 640});
}

const GRAPH_PICTURE* GRAPHVIZ_VIEWER_WIDGET::picture() const
{
    return m_painter ? &m_painter->picture() : nullptr;
}

QRect GRAPHVIZ_VIEWER_WIDGET::canvas() const
{
    return ui.canvas->geometry().adjusted(FRAME, FRAME, -FRAME, -FRAME);
}

void GRAPHVIZ_VIEWER_WIDGET::layout_finished(const QString& error)
{
    m_clock.stop();
    m_error = error;
    m_state = error.isEmpty() ? STATE::SHOWN : STATE::FAILED;
    if (m_state == STATE::SHOWN) {
        m_painter = std::make_unique<PICTURE_PAINTER>(m_layout->picture());
        m_view.set_bounds(picture()->bounds);
    }
    if (m_state == STATE::SHOWN && !m_layout->reason().isEmpty()) {
        m_summary = tr("%1, laid out by springs, since %2").arg(m_summary, m_layout->reason());
        ui.summary->setText(m_summary);
        layout()->activate(); // the text may take lines from the canvas
    }
    m_layout.reset();
    enable_controls();
    m_placed = PLACED::AT_BEGINNING;
    place_again();
}

QString GRAPHVIZ_VIEWER_WIDGET::message() const
{
    if (m_state == STATE::EMPTY)
        return tr("Nothing is included in this graph.\nSelect files first, or choose a wider coverage.");
    if (m_state == STATE::FAILED)
        return tr("The graph could not be laid out: %1").arg(m_error);
    return m_layout->activity() + tr("\n\n%1 s").arg(m_laying_out.elapsed() / 1000);
}

void GRAPHVIZ_VIEWER_WIDGET::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const QRect inside = canvas();
    for (const QRect& part : event->region().subtracted(inside))
        painter.fillRect(part, palette().window());
    painter.setPen(palette().color(hasFocus() ? QPalette::Highlight : QPalette::Mid));
    painter.drawRect(inside.adjusted(-FRAME, -FRAME, 0, 0));
    for (const QRect& part : event->region().intersected(inside)) {
        painter.setClipRect(part);
        painter.fillRect(part, palette().base());
        if (m_state == STATE::SHOWN) {
            paint_graph(painter, part);
        } else {
            painter.setPen(palette().color(QPalette::Text));
            painter.drawText(inside.adjusted(20, 20, -20, -20), Qt::AlignCenter | Qt::TextWordWrap,
                             message());
        }
    }
}

void GRAPHVIZ_VIEWER_WIDGET::paint_graph(QPainter& painter, const QRect& part) const
{
    const QPoint corner = canvas().topLeft();
    painter.save();
    painter.translate(corner);
    painter.setTransform(m_view.transform(), true);
    const QRectF touched(m_view.to_picture(part.topLeft() - corner),
                         m_view.to_picture(part.bottomRight() + QPoint(1, 1) - corner));
    m_painter->paint(painter, touched, m_view.zoom(), palette().color(QPalette::Text), m_relatives);
    frame_node(painter, m_found);
    frame_node(painter, m_singled_out);
    painter.restore();
}

void GRAPHVIZ_VIEWER_WIDGET::frame_node(QPainter& painter, int node) const
{
    if (node < 0)
        return;
    const double width = 3 / m_view.zoom();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(palette().color(QPalette::Highlight), width));
    painter.drawRect(picture()->nodes.at(node).box.adjusted(-width, -width, width, width));
}

void GRAPHVIZ_VIEWER_WIDGET::resizeEvent(QResizeEvent*)
{
    place_again();
}

// On a canvas of another size, what nobody has moved or zoomed is placed anew.
void GRAPHVIZ_VIEWER_WIDGET::place_again()
{
    m_view.set_canvas(canvas().size());
    if (m_placed == PLACED::BY_PERSON)
        return pan({});
    if (m_placed == PLACED::AT_BEGINNING)
        m_view.show_beginning();
    else
        m_view.fit();
    update();
}

void GRAPHVIZ_VIEWER_WIDGET::fit()
{
    m_placed = PLACED::ALL;
    place_again();
}

void GRAPHVIZ_VIEWER_WIDGET::zoom(const QPointF& pixel, double factor)
{
    if (m_state != STATE::SHOWN)
        return;
    m_view.zoom_at(pixel, factor);
    m_placed = PLACED::BY_PERSON;
    update(canvas());
}

void GRAPHVIZ_VIEWER_WIDGET::zoom_in()
{
    zoom(QRectF(QPointF(), canvas().size()).center(), STEP);
}

void GRAPHVIZ_VIEWER_WIDGET::zoom_out()
{
    zoom(QRectF(QPointF(), canvas().size()).center(), 1 / STEP);
}

// What stays visible is moved as it is; only what comes into sight is painted.
void GRAPHVIZ_VIEWER_WIDGET::pan(const QPoint& pixels)
{
    if (m_state != STATE::SHOWN)
        return;
    const QPoint moved = m_view.pan(pixels);
    if (moved.isNull())
        return;
    m_placed = PLACED::BY_PERSON;
    const double ratio = devicePixelRatioF();
    if (ratio == std::floor(ratio))
        scroll(moved.x(), moved.y(), canvas());
    else
        update(canvas());
}

void GRAPHVIZ_VIEWER_WIDGET::wheelEvent(QWheelEvent* event)
{
    if (!canvas().contains(event->position().toPoint())) {
        event->ignore();
        return;
    }
    zoom(event->position() - canvas().topLeft(), std::pow(STEP, double(event->angleDelta().y()) / NOTCH));
    event->accept();
}

void GRAPHVIZ_VIEWER_WIDGET::mousePressEvent(QMouseEvent* event)
{
    m_drag = event->pos();
    m_is_dragging = false;
    m_is_pressed =
        event->button() == Qt::LeftButton && m_state == STATE::SHOWN && canvas().contains(event->pos());
    if (m_is_pressed)
        setCursor(Qt::ClosedHandCursor);
}

void GRAPHVIZ_VIEWER_WIDGET::mouseMoveEvent(QMouseEvent* event)
{
    const QPoint moved = event->pos() - m_drag;
    const bool is_click_yet = !m_is_dragging && moved.manhattanLength() < QApplication::startDragDistance();
    if (!m_is_pressed || is_click_yet || !(event->buttons() & Qt::LeftButton))
        return;
    m_is_dragging = true;
    pan(moved);
    m_drag = event->pos();
}

void GRAPHVIZ_VIEWER_WIDGET::mouseReleaseEvent(QMouseEvent*)
{
    if (m_is_pressed && !m_is_dragging)
        single_out(m_painter->node_at(m_view.to_picture(m_drag - canvas().topLeft())));
    m_is_pressed = false;
    unsetCursor();
}

void GRAPHVIZ_VIEWER_WIDGET::single_out(int node)
{
    if (node == m_singled_out)
        return;
    m_singled_out = node;
    m_relatives = node < 0 ? NODE_RELATIVES() : relatives_of(*picture(), node);
    const QString name = node < 0 ? QString() : shortened_label(picture()->nodes.at(node).text.simplified());
    ui.summary->setText(
        node < 0 ? m_summary
                 : tr("%1: %2 lead to it, %3 follow from it")
                       .arg(name, QString::number(m_relatives.before), QString::number(m_relatives.behind)));
    update(canvas());
}

void GRAPHVIZ_VIEWER_WIDGET::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && canvas().contains(event->pos()))
        fit();
}

void GRAPHVIZ_VIEWER_WIDGET::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Home:
    case Qt::Key_F:
        return fit();
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        return zoom_in();
    case Qt::Key_Minus:
        return zoom_out();
    case Qt::Key_Left:
        return pan({PAN_STEP, 0});
    case Qt::Key_Right:
        return pan({-PAN_STEP, 0});
    case Qt::Key_Up:
        return pan({0, PAN_STEP});
    case Qt::Key_Down:
        return pan({0, -PAN_STEP});
    case Qt::Key_Escape: // out of the find box first, then back to all nodes, then out of the window
        if (ui.find_text->hasFocus())
            return setFocus();
        if (m_singled_out >= 0)
            return single_out(-1);
        return QWidget::keyPressEvent(event);
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (m_found >= 0 && hasFocus())
            return single_out(m_found);
        return QWidget::keyPressEvent(event);
    default:
        QWidget::keyPressEvent(event);
    }
}

void GRAPHVIZ_VIEWER_WIDGET::focus_find()
{
    ui.find_text->setFocus(Qt::ShortcutFocusReason);
    ui.find_text->selectAll();
}

void GRAPHVIZ_VIEWER_WIDGET::look_for_text()
{
    m_matches.clear();
    const QString text = ui.find_text->text();
    if (m_painter && !text.isEmpty())
        for (int i = 0; i < picture()->nodes.size(); ++i)
            if (picture()->nodes.at(i).text.contains(text, Qt::CaseInsensitive))
                m_matches.append(i);
    if (text.isEmpty())
        ui.found->clear();
    else
        ui.found->setText(m_matches.isEmpty() ? tr("Not found") : tr("%1 found").arg(m_matches.size()));
    m_found = -1;
    enable_controls();
    update(canvas());
}

void GRAPHVIZ_VIEWER_WIDGET::find_next()
{
    go_to_match(1);
}

void GRAPHVIZ_VIEWER_WIDGET::find_previous()
{
    go_to_match(-1);
}

void GRAPHVIZ_VIEWER_WIDGET::go_to_match(int step)
{
    if (m_matches.isEmpty())
        return;
    const int count = m_matches.size();
    const int current = m_matches.indexOf(m_found);
    const int next = current < 0 ? (step > 0 ? 0 : count - 1) : (current + step + count) % count;
    m_found = m_matches.at(next);
    ui.found->setText(tr("%1 of %2").arg(next + 1).arg(count));
    m_view.centre_on(picture()->nodes.at(m_found).box.center(), READABLE_ZOOM);
    m_placed = PLACED::BY_PERSON;
    update(canvas());
}

bool GRAPHVIZ_VIEWER_WIDGET::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || m_state != STATE::SHOWN)
        return QWidget::event(event);
    const QHelpEvent* const help = static_cast<QHelpEvent*>(event);
    const int node = canvas().contains(help->pos())
                         ? m_painter->node_at(m_view.to_picture(help->pos() - canvas().topLeft()))
                         : -1;
    if (node < 0)
        QToolTip::hideText();
    else
        QToolTip::showText(help->globalPos(),
                           plain_tool_tip(picture()->nodes.at(node).text.left(LONGEST_TIP)), this);
    return true;
}

// A name without an ending gets that of the chosen format.
void GRAPHVIZ_VIEWER_WIDGET::format_chosen(const QString& filter)
{
    QFileDialog* const dialog = static_cast<QFileDialog*>(sender());
    const char* const suffixes[] = {"svg", "png", "dot"}; // in the order of the filters
    dialog->setDefaultSuffix(QLatin1String(suffixes[qMax(0, dialog->nameFilters().indexOf(filter))]));
}

void GRAPHVIZ_VIEWER_WIDGET::save_as()
{
    if (m_state != STATE::SHOWN)
        return;
    QFileDialog dialog(this, tr("GOX - Save Graph"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(
        {tr("SVG picture (*.svg)"), tr("PNG picture (*.png)"), tr("Graphviz graph (*.dot *.gv)")});
    dialog.setDefaultSuffix(QStringLiteral("svg"));
    connect(&dialog, SIGNAL(filterSelected(QString)), this, SLOT(format_chosen(QString)));
    dialog.setDirectory(folder_to_save_in());
    dialog.selectFile(QStringLiteral("graph.svg"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const QString error = save_picture(*m_painter, dialog.selectedFiles().first());
    QApplication::restoreOverrideCursor();
    if (error.isEmpty())
        user_settings().setValue(KEY_FOLDER, QFileInfo(dialog.selectedFiles().first()).absolutePath());
    else
        show_plain_box(QMessageBox::Warning, this, error);
}

// The window that watches a build, over a session whose build thread runs.

#include <QtTest/QtTest>

#include <QtGui/QClipboard>
#include <QtGui/QDesktopServices>
#include <QtWidgets/QScrollBar>

#include "contracts/services/user_settings.h"
#include "progress/build_progress_dialog.h"
#include "progress/output_pane.h"
#include "progress/remaining_time.h"
#include "progress/state_row_delegate.h"
#include "tests/session/step_scene.h"
#include "tests/support/cases.h"
#include "tests/support/watched_test.h"
#include "tests/support/window_text.h"
#include "tests/support/window_transcript.h"

namespace {

/// Of the text, and of a ground of its own.
QString colours_of(const QAbstractItemView& view, const QModelIndex& index)
{
    QStyleOptionViewItem row;
    row.initFrom(&view);
    row.widget = &view;
    const bool is_chosen = view.selectionModel()->isSelected(index);
    row.state.setFlag(QStyle::State_Selected, is_chosen);
    static_cast<STATE_ROW_DELEGATE*>(view.itemDelegate())->initStyleOption(&row, index);
    const QColor colour = row.palette.color(is_chosen ? QPalette::HighlightedText : QPalette::Text);
    const QString text = index.data(Qt::ForegroundRole).isValid() ? colour.name() : "plain";
    const QBrush& ground = row.backgroundBrush;
    return ground.style() == Qt::NoBrush ? text : text + " on " + ground.color().name();
}

/// Which of the row's colours are not to be seen in it, or whether its ground goes on behind
/// the text. Letters are softened at their edges.
QString painted(QTreeView& view, const QModelIndex& index)
{
    const auto are_near = [](const QColor& a, const QColor& b) {
        return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) + std::abs(a.blue() - b.blue()) <
               150;
    };
    view.expandAll();
    const QImage row = view.viewport()->grab(view.visualRect(index)).toImage();
    QStringList missing = colours_of(view, index).split(" on ");
    for (int y = 0; y < row.height(); ++y)
        for (int x = 0; x < row.width(); ++x)
            for (const QString& colour : QStringList(missing))
                if (are_near(row.pixelColor(x, y), QColor(colour)))
                    missing.removeOne(colour);
    const QString at_end = row.pixelColor(row.width() - 2, row.height() / 2).name();
    return missing.isEmpty() ? QString(colours_of(view, index).contains(at_end) ? "to the end" : "painted")
                             : "lacks " + missing.join(", ");
}

/// The delegate shows the text of an item, which is not always the item's own.
QString shown_text(const QAbstractItemView& view, const QVariant& text)
{
    return static_cast<QStyledItemDelegate*>(view.itemDelegate())->displayText(text, QLocale::c());
}

QStringList legend_lines(const QListWidget& legend)
{
    QStringList lines;
    QString all;
    int end = 0;
    for (int row = 0; row < legend.count(); ++row) {
        const QListWidgetItem& item = *legend.item(row);
        const QString text = shown_text(legend, item.text());
        const QRect place = legend.visualItemRect(&item);
        const bool is_whole = place.left() >= end && legend.viewport()->rect().contains(place) &&
                              legend.fontMetrics().horizontalAdvance(text) < place.width();
        const QVariant brush = item.data(Qt::BackgroundRole);
        lines += QString("legend \"%1\" %2%3%4")
                     .arg(text, colours_of(legend, legend.model()->index(row, 0)),
                          brush.isValid() ? ", brush " + brush.value<QBrush>().color().name() : "",
                          is_whole ? "" : " cut off");
        all += text + "   ";
        end = place.right();
    }
    QFont larger = legend.font();
    larger.setPointSizeF(larger.pointSizeF() + 1);
    const QSize needed = QFontMetrics(larger).size(0, all), room = legend.minimumSize();
    if (larger.pointSizeF() <= legend.window()->font().pointSizeF() && needed.boundedTo(room) == needed)
        lines += "legend smaller than need be";
    if (legend.viewport()->autoFillBackground())
        lines += "legend on a ground of its own";
    return lines;
}

/// What is to be seen of a long text.
QString cut(QString text)
{
    QString shown;
    int length = 0; // of the line
    for (const QChar letter : qAsConst(text.remove('\r'))) {
        if (letter != '\n' && length >= OUTPUT_PANE::LONGEST_LINE - letter.isHighSurrogate()) {
            shown += '\n';
            length = 0;
        }
        length = letter == '\n' ? 0 : length + 1;
        shown += letter;
    }
    return shown;
}

// That the right mouse button brings up.
QString menu_of(QAbstractScrollArea& view)
{
    QContextMenuEvent asked(QContextMenuEvent::Mouse, {}, view.viewport()->mapToGlobal({}));
    QApplication::sendEvent(view.viewport(), &asked);
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    return menu ? WINDOW_TEXT::menu(*menu) : "none";
}

QString s_opened; // in the file manager

/// A session with the actions of a case, and the window over it.
class SCENE : public STEP_SCENE
{
public:
    explicit SCENE(const TEST_CASE& one);
    ~SCENE()
    {
        m_gate.release(10); // whatever still waits after a check that failed
        session->finish_build(true);
    }

    QString play(const QString& expected) { return m_steps.play(expected); }

private:
    void add(const QStringList& fields);
    void open(const QString& how);
    void click_row(const QString& name);
    QStringList seen() const;
    QModelIndexList rows(const QString& name) const;

    WINDOW_TRANSCRIPT m_steps;
    QMap<QString, STEP_ACTION*> m_actions;
    QSemaphore m_gate;
    QString m_text_during_wait;
    QScopedPointer<BUILD_PROGRESS_DIALOG> window;
};

SCENE::SCENE(const TEST_CASE& one)
{
    for (const QString& line : one.lines("actions"))
        add(line.split(" | "));
    m_steps.watch = [this] { return seen(); };
    m_steps.add("open", [this](const QString& how) { open(how); });
    m_steps.add("rows", [this](const QString&) { return WINDOW_TEXT::rows(*window->ui.actions); });
    m_steps.add("look", [this](const QString& name) { return painted(*window->ui.actions, rows(name)[0]); });
    m_steps.add("spoken", [this](const QString&) {
        QStringList lines;
        for (const QModelIndex& row : rows(QString()))
            lines += row.data().toString() + ": " + row.data(Qt::AccessibleDescriptionRole).toString();
        return lines.join('\n');
    });
    m_steps.add("tip", [this](const QString& name) {
        QTreeWidget& tree = *window->ui.actions;
        return tool_tip_at(tree.viewport(), tree.visualRect(rows(name)[0]).center());
    });
    m_steps.add("menu", [this](const QString& name) {
        click_row(name);
        return menu_of(*window->ui.actions);
    });
    m_steps.add("output_menu", [this](const QString&) { return menu_of(*window->ui.output); });
    m_steps.add("pick", [](const QString& text) {
        const QPointer<QWidget> menu = QApplication::activePopupWidget();
        for (QAction* const entry : menu->actions())
            if (entry->text() == text)
                entry->trigger();
        menu->close();
        QTRY_VERIFY(!menu);
    });
    m_steps.add("row", [this](const QString& name) { click_row(name); });
    m_steps.add("answer_by_closing", [this](const QString&) {
        m_steps.answers.answer_with([this](QDialog*) { window->close(); });
    });
    m_steps.add("state", [this](const QString& s) {
        m_actions[s.section(' ', 0, 0)]->state = s.section(' ', 1).toInt();
    });
    m_steps.add("output",
                [this](const QString& s) { m_actions[s.section(' ', 0, 0)]->output = s.section(' ', 1); });
    m_steps.add("gate", [this](const QString&) { m_gate.release(); });
    m_steps.add("await", [this](const QString& name) {
        QTRY_COMPARE(m_actions[name]->state, int(ACTION_RUNNING));
        window->tick();
    });
    m_steps.add("shows", [this](const QString& text) {
        QTRY_VERIFY((window->windowTitle() + window->ui.output->toPlainText()).contains(text));
    });
    m_steps.add("polls", [this](const QString&) {
        QSignalSpy polls(&window->timer, SIGNAL(timeout()));
        QTRY_VERIFY(polls.size() > 2);
    });
    m_steps.add("estimate", [this](const QString& s) {
        const QDateTime now = QDateTime::currentDateTime();
        window->timer.stop();
        window->start_time = now.addSecs(-s.section(' ', 0, 0).toInt());
        window->last_estimate_time = now.addSecs(-s.section(' ', 1).toInt());
        window->tick();
    });
    m_steps.add("slider", [this](const QString& how) {
        window->ui.output->verticalScrollBar()->setSliderDown(how == "down");
    });
    m_steps.add("play", [this](const QString&) { window->ui.game_button->click(); }); // which is hidden
    m_steps.add("show_waiting", [this](const QString&) { window->show_waiting(); });
    m_steps.add("finish", [this](const QString&) { session->finish_build(true); });
}

// An action ends once the gate lets it or, unless it is deaf, when it is told to.
void SCENE::add(const QStringList& fields)
{
    const int number = fields.value(2).toInt();
    while (session->processors.size() <= number)
        add_processor(QString("processor %1").arg(session->processors.size()));
    STEP_ACTION* const action = new STEP_ACTION(QString(fields[0]).replace("\\n", "\n"));
    action->processor = session->processors[number];
    action->state = fields.value(1).toInt();
    action->progress_current = fields.value(3).toInt();
    action->progress_total = fields.value(4, "10").toInt();
    action->selection_count = 1;
    FILE_ENTRY* const target = new FILE_ENTRY;
    target->physical = PHYSICAL_PATH(tree.path(fields.value(5)));
    action->target_files.insert(target, target->physical);
    for (const QString& name : fields.mid(6))
        action->add_dependency(*m_actions[name], false);
    action->body = [this, is_deaf = fields[0] == "deaf", is_early = fields[0] == "early"](STEP_ACTION& self) {
        if (is_early)
            self.state = ACTION_SUCCEEDED;
        while (!m_gate.tryAcquire(1, 1))
            if (!is_deaf && self.aborts.loadAcquire() > 0) {
                m_text_during_wait = WINDOW_TEXT::form(*window); // its thread waits for this one
                return int(ACTION_FAILED);
            }
        if (is_early)
            self.add_output_line("last words");
        return int(ACTION_SUCCEEDED);
    };
    m_actions[fields[0]] = action;
    session->actions.append(action);
    session->selected_actions.append(action);
}

void SCENE::open(const QString& how)
{
    if (how.contains("dont_stop_on_error"))
        give_option("--dont_stop_on_error");
    configuration.silent = how.contains("silent");
    if (how.contains("build"))
        session->prepare_build(false);
    window.reset(new BUILD_PROGRESS_DIALOG(*session, configuration, QString(), options, nullptr, {}));
    m_steps.window = window.data();
    window->ui.progress2->resize(100, 22);
    window->show();
    QVERIFY(QTest::qWaitFor([this] { return window->isActiveWindow() || !window->isVisible(); }));
}

void SCENE::click_row(const QString& name)
{
    QTreeWidget* const tree = window->ui.actions;
    tree->expandAll();
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualRect(rows(name)[0]).center());
}

QModelIndexList SCENE::rows(const QString& name) const
{
    const QAbstractItemModel& model = *window->ui.actions->model();
    return model.match(model.index(0, 0), Qt::DisplayRole, name, -1, Qt::MatchContains | Qt::MatchRecursive);
}

QStringList SCENE::seen() const
{
    const QWidget* const marker = window->ui.progress2drag;
    const QProgressBar* const bar = window->ui.progress;
    const bool is_kept = user_settings().value("BuildProgressGeometry").toByteArray().size() > 20;
    QStringList lines{QString("bar %1 of %2").arg(bar->value()).arg(bar->maximum())};
    lines += QString("marker at %1, %2").arg(marker->x()).arg(marker->y());
    lines += window->timer.isActive() ? "polling" : "not polling";
    lines += window->isVisible() ? "open" : window->result() ? "closed: back" : "closed: end";
    lines += window->paused_msecs > 0 ? "clock held" : "clock not held";
    lines += session->isRunning() ? "building" : "not building";
    lines += is_kept ? "geometry kept" : "no geometry";
    if (window->ui.widget->height() > window->ui.label_2->sizeHint().height())
        lines += "the name pushes the window about";
    if (!m_text_during_wait.isEmpty())
        lines += "while aborting " + m_text_during_wait.section("current_action ", 1).section('\n', 0, 0);
    lines += "clipboard \"" + QApplication::clipboard()->text() + '"';
    lines += "file manager \"" + s_opened + '"';
    const QTreeWidget& tree = *window->ui.actions;
    for (const QModelIndex& row : rows(QString()))
        lines += QString("%1 %2: %3%4")
                     .arg(row.parent().isValid() ? "row" : "group", shown_text(tree, row.data()),
                          colours_of(tree, row), tree.isRowHidden(row.row(), row.parent()) ? ", hidden" : "");
    return lines + legend_lines(*window->ui.listWidget);
}

} // namespace

class TST_BUILD_PROGRESS : public WATCHED_TEST
{
    Q_OBJECT

public slots:
    void open_url(const QUrl& url) { s_opened = url.fileName(); }

private slots:
    void init() { user_settings().remove("BuildProgressGeometry"); }
    void remaining_time_data() { add_cases("progress/remaining_time.cases", {"texts"}); }
    void remaining_time();
    void window_data() { add_cases("progress/window.cases", {"actions", "steps"}); }
    void window();
    void output_pane();
};

void TST_BUILD_PROGRESS::remaining_time()
{
    QStringList lines;
    for (const QString& line : current_case().lines("texts")) {
        const int seconds = line.section(' ', 0, 0).toInt();
        lines += QString("%1 \"%2\"").arg(QString::number(seconds), remaining_time_text(seconds));
    }
    GOX_COMPARE_TEXT(lines.join('\n'), current_case()["texts"]);
    QCOMPARE(remaining_seconds(100000, 7, INT_MAX), Q_INT64_C(100000) * INT_MAX / 7 - 100000);
}

void TST_BUILD_PROGRESS::window()
{
    QDesktopServices::setUrlHandler("file", this, "open_url");
    SCENE scene(current_case());
    GOX_COMPARE_TEXT(scene.play(current_case()["steps"]), current_case()["steps"]);
}

void TST_BUILD_PROGRESS::output_pane()
{
    const int whole = OUTPUT_PANE::WHOLE_TEXT, longest = OUTPUT_PANE::LONGEST_LINE;
    QTextBrowser browser;
    browser.show();
    const QFont font("Monospace", 7);
    browser.document()->setDefaultFont(font);
    OUTPUT_PANE pane(&browser);
    QScrollBar* const bar = browser.verticalScrollBar();
    const QString line = "a line of 25 letters now\n", lines = line.repeated(1000);
    const QString smile = QString::fromUtf8("😀"), many = line.repeated(whole / line.size());
    const QString longest_lines = line + QString(longest, 'w') + '\n' + QString(longest, 'w');
    for (const QString& text :
         {lines, QString("a line\r\n").repeated(whole / 8) + QString(3 * longest, 'x'), lines + lines, many,
          QString(whole + 1, 'y'), longest_lines, longest_lines + 'w',
          'z' + smile.repeated(longest) + '\n' + QString(longest, 'z') + '\n' + many, lines}) {
        const bool is_long = text.size() > whole || text == longest_lines + 'w';
        bar->setValue(4000);
        const int value = bar->value();
        pane.show_text(text);
        QCOMPARE(browser.document()->characterCount() > longest + 2, !is_long);
        const QString shown = is_long ? cut(text) : text;
        QTRY_COMPARE(browser.document()->characterCount(), shown.size() + 1);
        GOX_COMPARE_TEXT(browser.toPlainText(), shown);
        QTRY_COMPARE(pane.findChildren<QTextDocument*>().size(), 0); // the former one has gone
        QCOMPARE(bar->value(), std::min(value, bar->maximum()));
        QCOMPARE(browser.lineWrapMode() == QTextEdit::NoWrap, is_long);
        QCOMPARE(browser.document()->defaultFont(), font);
    }
    int value = 3;
    for (const QString& text : {many, many + line, many}) {
        pane.show_text(text);
        if (text == many)
            bar->setValue(value = 3); // by a person, in the middle of it
        QTRY_COMPARE(browser.document()->characterCount(), text.size() + 1);
        QCOMPARE(bar->value(), value);
        bar->setValue(value = 40000);
    }
}

QTEST_MAIN(TST_BUILD_PROGRESS)
#include "tst_build_progress.moc"

#pragma once

#include <QtCore/QObject>
#include <QtCore/QStringList>

class ACTION_INTERFACE;
class BUILD_SESSION;
class PROGRESS_ROWS;
class QMenu;
class QPoint;
class QTreeWidget;

/// What a person does with the rows of the progress window, by key and by the menu of
/// a row: goes to the next or previous one that failed or has warnings (F8, Shift+F8),
/// copies its text (Ctrl+C, which is the tree's own) or its output, opens the
/// folder of its targets, and asks for the search in the output (Ctrl+F). The menu
/// is made when it is asked for. GUI thread.
class ROW_ACTIONS : public QObject
{
    Q_OBJECT

public:
    /// Belongs to the tree, whose window hears the keys. Rows and session are not
    /// owned and must live as long as the tree hears anything.
    ROW_ACTIONS(QTreeWidget* tree, const PROGRESS_ROWS& rows, const BUILD_SESSION& session);

signals:
    void search();

private slots:
    void go_to_next_problem();
    void go_to_previous_problem();
    void copy_text();
    void copy_output();
    void show_menu(const QPoint& place);
    void open_folder(); ///< the one that the sender, an entry of the menu, holds

private:
    void add_key(const QKeySequence& keys, const char* slot);
    void go_to_problem(int step);
    const ACTION_INTERFACE* current_action() const;
    QString current_output() const;
    void add_folders(QMenu* menu);

    QTreeWidget* const m_tree;
    const PROGRESS_ROWS& m_rows;
    const BUILD_SESSION& m_session;
};

#pragma once

#include <QtWidgets/QListWidget>

/// Files with check boxes. Several rows can be marked, and Space checks all marked
/// ones, or takes their checks back when the current one is checked. The context
/// menu checks all or none. A path that is too long for its row is cut in the
/// middle, so that the name of the file is seen. GUI thread.
class FILE_CHECK_LIST : public QListWidget
{
    Q_OBJECT

public:
    /// All rows start with that state.
    FILE_CHECK_LIST(const QStringList& files, Qt::CheckState state, QWidget* parent);

    QStringList checked_files() const; ///< in the order of the list
    int checked_count() const;

signals:
    void checked_rows_changed();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private slots:
    void check_all();
    void check_none();

private:
    void set_state(const QList<QListWidgetItem*>& rows, Qt::CheckState state);
    void set_state_of_all(Qt::CheckState state);
};

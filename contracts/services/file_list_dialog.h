#pragma once

#include <QtCore/QStringList>
#include <QtWidgets/QDialog>

#include "contracts/export.h"

class FILE_CHECK_LIST;
class QLabel;

/// Asks about a list of files, each with a check box, and says how many are checked.
/// GUI thread.
class GOX_CONTRACTS_EXPORT FILE_LIST_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// `all_checked`: whether the rows start checked. Closing the window
    /// answers like the reject button.
    FILE_LIST_DIALOG(const QString& title, const QString& text, const QString& accept_label,
                     const QStringList& files, const QString& reject_label, const bool& all_checked,
                     QWidget* parent, Qt::WindowFlags flags);

    /// The files whose rows are checked, in the order of the list.
    QStringList get_selected_files() const;

private slots:
    void count_checked_files();

private:
    FILE_CHECK_LIST* m_list;
    QLabel* m_count;
};

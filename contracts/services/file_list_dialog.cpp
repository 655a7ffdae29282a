#include "contracts/services/file_list_dialog.h"

#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

#include "contracts/services/file_check_list.h"

FILE_LIST_DIALOG::FILE_LIST_DIALOG(const QString& title, const QString& text, const QString& accept_label,
                                   const QStringList& files, const QString& reject_label,
                                   const bool& all_checked, QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags),
      m_list(new FILE_CHECK_LIST(files, all_checked ? Qt::Checked : Qt::Unchecked, this)),
      m_count(new QLabel(this))
{
    setObjectName(QStringLiteral("FILE_LIST_DIALOG"));
    setWindowTitle(title);
    QLabel* const label = new QLabel(text, this);
    label->setObjectName(QStringLiteral("text_label"));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);

    m_list->setObjectName(QStringLiteral("file_list"));
    m_list->setAccessibleName(tr("Files"));
    m_list->setAccessibleDescription(text);
    m_count->setObjectName(QStringLiteral("count_label"));
    connect(m_list, SIGNAL(checked_rows_changed()), this, SLOT(count_checked_files()));
    count_checked_files();

    QDialogButtonBox* const buttons = new QDialogButtonBox(this);
    QPushButton* const accept_button = buttons->addButton(accept_label, QDialogButtonBox::AcceptRole);
    accept_button->setObjectName(QStringLiteral("accept_button"));
    QPushButton* const reject_button = buttons->addButton(reject_label, QDialogButtonBox::RejectRole);
    reject_button->setObjectName(QStringLiteral("reject_button"));
    reject_button->setDefault(true); // Return alone touches no file
    connect(buttons, SIGNAL(accepted()), this, SLOT(accept()));
    connect(buttons, SIGNAL(rejected()), this, SLOT(reject()));

    QVBoxLayout* const layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_list);
    layout->addWidget(m_count);
    layout->addWidget(buttons);
    resize(fontMetrics().averageCharWidth() * 100, fontMetrics().lineSpacing() * 24);
}

QStringList FILE_LIST_DIALOG::get_selected_files() const
{
    return m_list->checked_files();
}

void FILE_LIST_DIALOG::count_checked_files()
{
    m_count->setText(tr("%1 of %2 checked").arg(m_list->checked_count()).arg(m_list->count()));
}

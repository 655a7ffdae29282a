#include "contracts/services/file_list_dialog.h"

#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

#include "contracts/services/plain_row_delegate.h"

FILE_LIST_DIALOG::FILE_LIST_DIALOG(const QString& title, const QString& text, const QString& accept_label,
                                   const QStringList& files, const QString& reject_label,
                                   const bool& all_checked, QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags), m_list(new QListWidget(this))
{
    setObjectName(QStringLiteral("FILE_LIST_DIALOG"));
    setWindowTitle(title);
    QLabel* const label = new QLabel(text, this);
    label->setObjectName(QStringLiteral("text_label"));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);

    m_list->setObjectName(QStringLiteral("file_list"));
    m_list->setItemDelegate(new PLAIN_ROW_DELEGATE(m_list));
    m_list->setUniformItemSizes(true);
    for (const QString& file : files) {
        QListWidgetItem* const item = new QListWidgetItem(file, m_list);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(all_checked ? Qt::Checked : Qt::Unchecked);
    }

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
    layout->addWidget(buttons);
    resize(fontMetrics().averageCharWidth() * 100, fontMetrics().lineSpacing() * 24);
}

QStringList FILE_LIST_DIALOG::get_selected_files() const
{
    QStringList files;
    for (int row = 0; row < m_list->count(); ++row)
        if (m_list->item(row)->checkState() == Qt::Checked)
            files.append(m_list->item(row)->text());
    return files;
}

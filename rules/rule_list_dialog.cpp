#include "rules/rule_list_dialog.h"

#include <QtGui/QKeyEvent>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QTreeWidget>

#include "contracts/rules/cached_rule.h"
#include "contracts/rules/rule_cache.h"
#include "contracts/rules/rule_key.h"
#include "contracts/rules/rule_schema.h"
#include "contracts/services/plain_row_delegate.h"
#include "contracts/services/plain_tool_tip.h"
#include "rules/rule_rows.h"

namespace {

enum COLUMN : int
{
    COLUMN_NAME,
    COLUMN_VALUE,
    COLUMN_ORIGIN,
    COLUMN_COUNT
};

CACHED_RULE* origin_of(const QTreeWidgetItem& row)
{
    const quint64 address = row.data(COLUMN_ORIGIN, Qt::UserRole).toULongLong();
    return reinterpret_cast<CACHED_RULE*>(quintptr(address));
}

} // namespace

RULE_LIST_DIALOG::RULE_LIST_DIALOG(const QMap<RULE_SCHEMA*, RULE>& resolved, QWidget* parent,
                                   Qt::WindowFlags flags)
    : QDialog(parent, flags)
{
    ui.setupUi(this);
    ui.rules->setItemDelegate(new PLAIN_ROW_DELEGATE(ui.rules));
    connect(ui.rules, SIGNAL(itemDoubleClicked(QTreeWidgetItem*, int)), this,
            SLOT(item_double_clicked(QTreeWidgetItem*, int)));
    for (auto rule = resolved.cbegin(); rule != resolved.cend(); ++rule)
        add_rule(*rule.key(), rule.value());
    // The size that the form gives all columns comes after the first one has its own.
    ui.rules->setColumnWidth(COLUMN_NAME, ui.rules->header()->defaultSectionSize());
    ui.rules->setColumnWidth(COLUMN_ORIGIN, ui.rules->header()->minimumSectionSize()); // takes what is left
}

void RULE_LIST_DIALOG::add_rule(const RULE_SCHEMA& schema, const RULE& rule)
{
    QTreeWidgetItem* const rule_row = new QTreeWidgetItem(ui.rules, {schema.name});
    QFont bold = rule_row->font(COLUMN_NAME);
    bold.setBold(true);
    rule_row->setFont(COLUMN_NAME, bold);
    for (const RULE_PROPERTY& property : schema.properties) {
        const auto value = rule.values.constFind(name_key(property.name));
        if (value == rule.values.constEnd())
            continue;
        QTreeWidgetItem* const row =
            new QTreeWidgetItem(rule_row, {property.name, value->value.toString(), value->origin->path});
        for (int column = 0; column < COLUMN_COUNT; ++column)
            row->setToolTip(column, tr("Double-click this if you want to edit"));
        row->setData(COLUMN_ORIGIN, Qt::UserRole, quint64(quintptr(value->origin)));
    }
    rule_row->setExpanded(true);
}

void RULE_LIST_DIALOG::tell_files(const PHYSICAL_PATH& file, const RULE_CACHE& cache)
{
    name_file(file);
    for (int i = 0; i < ui.rules->topLevelItemCount(); ++i) {
        QTreeWidgetItem& rule_row = *ui.rules->topLevelItem(i);
        for (int k = 0; k < rule_row.childCount(); ++k) {
            QTreeWidgetItem& row = *rule_row.child(k);
            if (!is_global(*origin_of(row)))
                continue;
            for (int column = 0; column < COLUMN_COUNT; ++column)
                row.setToolTip(column, QString());
            row.setToolTip(COLUMN_ORIGIN, tr("Global rules of ") + cache.file_of(*origin_of(row)));
        }
    }
}

void RULE_LIST_DIALOG::name_file(const PHYSICAL_PATH& file)
{
    QLabel* const label = new QLabel(tr("Rules for ") + display_path(file), this);
    label->setObjectName(QStringLiteral("file"));
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setToolTip(plain_tool_tip(file));
    // A long path has more lines, and never makes the window wider.
    label->setWordWrap(true);
    label->setMinimumWidth(1);
    ui.verticalLayout->insertWidget(0, label);
    ui.rules->setAccessibleName(label->text());
}

void RULE_LIST_DIALOG::item_double_clicked(QTreeWidgetItem* item, int)
{
    chosen_rule = origin_of(*item);
    chosen_property = item->text(COLUMN_NAME);
    if (chosen_rule)
        accept();
}

void RULE_LIST_DIALOG::keyPressEvent(QKeyEvent* event)
{
    const bool is_return = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (is_return && ui.rules->currentItem())
        item_double_clicked(ui.rules->currentItem(), COLUMN_NAME);
    else
        QDialog::keyPressEvent(event);
}

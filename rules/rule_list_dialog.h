#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

#include "contracts/paths/physical_path.h"
#include "contracts/rules/rule.h"
#include "ui_rule_list_dialog.h"

class CACHED_RULE;
class RULE_CACHE;
class RULE_SCHEMA;

/// Shows which rules hold for one file: each with the properties that some rule
/// sets, their values, and the folder that each value comes from. GUI thread.
class RULE_LIST_DIALOG : public QDialog
{
    Q_OBJECT

public:
    /// The rules are read here and not kept; their origins must outlive the
    /// dialog.
    RULE_LIST_DIALOG(const QMap<RULE_SCHEMA*, RULE>& resolved, QWidget* parent, Qt::WindowFlags flags);

    /// To be called before `exec`: names `file` above its rules. A value of a global
    /// rule, which the rule editor does not show, says in its tool tip which file of
    /// `cache` it comes from.
    void tell_files(const PHYSICAL_PATH& file, const RULE_CACHE& cache);

private:
    Ui::RULE_LIST_DIALOG ui;

public:
    /// What the user wants to edit, once `exec` has given QDialog::Accepted: the
    /// rule in the cache that gives the value (not owned), and the name of the
    /// property. Null and empty before.
    CACHED_RULE* chosen_rule = nullptr;
    QString chosen_property;

protected:
    /// Return does what a double click on the current row does.
    void keyPressEvent(QKeyEvent* event) override;

private slots:
    void item_double_clicked(QTreeWidgetItem* item, int column);

private:
    void add_rule(const RULE_SCHEMA& schema, const RULE& rule);
    void name_file(const PHYSICAL_PATH& file);
};

#include "settings/configuration_editor_dialog.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QFileDialog>

#include "contracts/configuration/configuration_file_name.h"
#include "contracts/services/plain_message_box.h"
#include "contracts/services/plain_row_delegate.h"

namespace {

const char FOLDER[] = "GOX";

QListWidgetItem* add_checked_row(QListWidget* list, const QString& text)
{
    QListWidgetItem* const item = new QListWidgetItem(text);
    item->setCheckState(Qt::Checked);
    list->addItem(item);
    return item;
}

void set_all_rows(QListWidget* list, Qt::CheckState state)
{
    for (int row = 0; row < list->count(); ++row)
        list->item(row)->setCheckState(state);
}

template <typename LIST>
void show_lines(QTextEdit* edit, const LIST& entries)
{
    QString text;
    for (const QString& entry : entries)
        text += entry + '\n';
    edit->setPlainText(text);
}

// Not toPlainText, which turns the no-break spaces of file names into spaces.
template <typename LIST>
LIST lines_of(const QTextEdit* edit)
{
    QString text = edit->document()->toRawText();
    text.replace(QChar::ParagraphSeparator, '\n').replace(QChar::LineSeparator, '\n');
    LIST entries;
    for (const QString& line : text.split('\n'))
        if (!line.trimmed().isEmpty())
            entries.append(line.trimmed());
    return entries;
}

} // namespace

CONFIGURATION_EDITOR_DIALOG::CONFIGURATION_EDITOR_DIALOG(const CONFIGURATION& configuration,
                                                         const QStringList& processor_names, QWidget* parent,
                                                         Qt::WindowFlags flags)
    : QDialog(parent, flags)
{
    ui.setupUi(this);
    for (QListWidget* list : {ui.processors, ui.global_rules})
        list->setItemDelegate(new PLAIN_ROW_DELEGATE(list));
    connect_widgets();
    add_checked_row(ui.processors, tr("<All>"));
    for (const QString& name : processor_names)
        add_checked_row(ui.processors, name);
    show_configuration(configuration);
}

void CONFIGURATION_EDITOR_DIALOG::connect_widgets()
{
    connect(ui.processors, SIGNAL(itemChanged(QListWidgetItem*)), this,
            SLOT(processor_changed(QListWidgetItem*)));
    connect(ui.silent, SIGNAL(toggled(bool)), this, SLOT(silent_changed(bool)));
    connect(ui.pushButton_6, SIGNAL(clicked()), this, SLOT(add_global_rule()));
    connect(ui.pushButton_7, SIGNAL(clicked()), this, SLOT(remove_global_rule()));
    connect(ui.pushButton, SIGNAL(clicked()), this, SLOT(load()));
    connect(ui.pushButton_2, SIGNAL(clicked()), this, SLOT(save()));
    connect(ui.pushButton_5, SIGNAL(clicked()), this, SLOT(save_default()));
}

void CONFIGURATION_EDITOR_DIALOG::processor_changed(QListWidgetItem* item)
{
    if (processor_change_running)
        return;
    processor_change_running = true;
    QListWidgetItem* const all = ui.processors->item(0);
    if (item == all)
        set_all_rows(ui.processors, all->checkState());
    else if (item->checkState() != Qt::Checked)
        all->setCheckState(Qt::Unchecked);
    enable_directories();
    processor_change_running = false;
}

// With all processors every root is scanned, and more folders mean nothing.
void CONFIGURATION_EDITOR_DIALOG::enable_directories()
{
    ui.directories->setEnabled(ui.processors->item(0)->checkState() != Qt::Checked);
}

void CONFIGURATION_EDITOR_DIALOG::silent_changed(bool checked)
{
    ui.selected_providers->setEnabled(checked);
    ui.selected_consumers->setEnabled(checked);
}

void CONFIGURATION_EDITOR_DIALOG::add_global_rule()
{
    const QString answer = QFileDialog::getOpenFileName(this, tr("Select rule file"), FOLDER,
                                                        tr("Global rule files (*.rules.gox)"));
    if (answer.isEmpty())
        return;
    const QString prefix = QCoreApplication::applicationDirPath() + "/GOX/";
    const QString file = QDir::cleanPath(answer); // a typed ".." leads out of the folder
    if (file.startsWith(prefix, Qt::CaseInsensitive))
        ui.global_rules->addItem(file.mid(prefix.size()));
    else
        show_plain_box(QMessageBox::Critical, this,
                       tr("You are only allowed to use global rules from ") + prefix + "!");
}

void CONFIGURATION_EDITOR_DIALOG::remove_global_rule()
{
    delete ui.global_rules->takeItem(ui.global_rules->currentRow());
}

void CONFIGURATION_EDITOR_DIALOG::load()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Select configuration file"), FOLDER,
                                                      tr("Configuration files (*_configuration.xml)"));
    if (path.isEmpty())
        return;
    CONFIGURATION configuration;
    QString error;
    if (configuration.load(path, error)) {
        show_configuration(configuration);
        show_plain_box(QMessageBox::Information, this, tr("Configuration file has been loaded."));
    } else {
        show_plain_box(QMessageBox::Critical, this, tr("Failed to load configuration file!\n") + error);
    }
}

void CONFIGURATION_EDITOR_DIALOG::save()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Select configuration file"), FOLDER,
                                                      tr("Configuration files (*_configuration.xml)"));
    if (path.isEmpty())
        return;
    const QString repaired = repaired_configuration_file_name(path);
    // The file dialog has asked about the name as it was typed.
    if (repaired == path || !QFileInfo::exists(repaired) ||
        confirm_in_plain_box(this, tr("%1 already exists.\nDo you want to replace it?").arg(repaired)))
        write(repaired);
}

void CONFIGURATION_EDITOR_DIALOG::save_default()
{
    write(QFileInfo(QStringLiteral("GOX/default_configuration.xml")).absoluteFilePath());
}

void CONFIGURATION_EDITOR_DIALOG::write(const QString& path)
{
    QString error;
    if (shown_configuration().save(path, false, error))
        show_plain_box(QMessageBox::Information, this, tr("Configuration file has been saved."),
                       QDir::cleanPath(path) + '\n' + what_runs(path));
    else
        show_plain_box(QMessageBox::Critical, this, tr("Failed to save configuration file!"), error);
}

// How GOX is told to run the configuration, or why it will not find it.
QString CONFIGURATION_EDITOR_DIALOG::what_runs(const QString& path)
{
    QString why_not;
    const QString name = configuration_name_of_file(path, QDir::currentPath(), why_not);
    if (name.isEmpty())
        return tr("GOX will not find it: %1.").arg(why_not);
    if (name == QLatin1String("default"))
        return tr("GOX runs it when no configuration is named.");
    const QString option = (name.contains(' ') ? "\"--configuration=%1\"" : "--configuration=%1");
    QStringList lines{tr("GOX runs it with %1.").arg(option.arg(name))};
    if (name.contains('/'))
        lines += tr("--configuration=choose does not offer it, as it lies in a folder of its own.");
    if (name.contains(QRegularExpression(QStringLiteral("[<>:\"|?*\\\\]"))))
        lines += tr("Windows can have no file of this name.");
    return lines.join('\n');
}

void CONFIGURATION_EDITOR_DIALOG::show_configuration(const CONFIGURATION& configuration)
{
    show_processors(configuration.processors);
    show_lines(ui.directories, configuration.directories);
    ui.global_rules->clear();
    for (const QString& rule : configuration.global_rules)
        ui.global_rules->addItem(rule);
    ui.retail->setChecked(configuration.retail);
    ui.silent->setChecked(configuration.silent);
    silent_changed(configuration.silent);
    ui.scan_perforce->setChecked(configuration.scan_perforce);
    if (QRadioButton* const button = merge_buttons().value(configuration.merge_db_for_checkin - 1))
        button->setChecked(true);
    ui.keep_output->setChecked(configuration.keep_output);
    ui.load_asset_graph->setChecked(configuration.load_asset_graph);
    ui.get_latest->setChecked(configuration.get_latest);
    show_lines(ui.selected_providers, configuration.selected_providers);
    show_lines(ui.selected_consumers, configuration.selected_consumers);
}

QVector<QRadioButton*> CONFIGURATION_EDITOR_DIALOG::merge_buttons() const
{
    return {ui.merge_db_for_checkin_always, ui.merge_db_for_checkin_never, ui.merge_db_for_checkin_ask};
}

void CONFIGURATION_EDITOR_DIALOG::show_processors(const QVector<QString>& names)
{
    set_all_rows(ui.processors, names.isEmpty() ? Qt::Checked : Qt::Unchecked);
    for (const QString& name : names) {
        const QList<QListWidgetItem*> rows = ui.processors->findItems(name, Qt::MatchExactly);
        if (rows.size() == 1)
            rows.first()->setCheckState(Qt::Checked);
    }
    enable_directories();
}

CONFIGURATION CONFIGURATION_EDITOR_DIALOG::shown_configuration() const
{
    CONFIGURATION configuration;
    if (ui.processors->item(0)->checkState() != Qt::Checked)
        for (int row = 1; row < ui.processors->count(); ++row)
            if (ui.processors->item(row)->checkState() == Qt::Checked)
                configuration.processors.append(ui.processors->item(row)->text());
    configuration.directories = lines_of<QVector<QString>>(ui.directories);
    for (int row = 0; row < ui.global_rules->count(); ++row)
        configuration.global_rules.append(ui.global_rules->item(row)->text());
    configuration.retail = ui.retail->isChecked();
    configuration.silent = ui.silent->isChecked();
    configuration.scan_perforce = ui.scan_perforce->isChecked();
    const QVector<QRadioButton*> buttons = merge_buttons();
    for (QRadioButton* const button : buttons)
        if (button->isChecked())
            configuration.merge_db_for_checkin = buttons.indexOf(button) + 1;
    configuration.keep_output = ui.keep_output->isChecked();
    configuration.load_asset_graph = ui.load_asset_graph->isChecked();
    configuration.get_latest = ui.get_latest->isChecked();
    configuration.selected_providers = lines_of<QStringList>(ui.selected_providers);
    configuration.selected_consumers = lines_of<QStringList>(ui.selected_consumers);
    return configuration;
}

void CONFIGURATION_EDITOR_DIALOG::closeEvent(QCloseEvent* event)
{
    show_plain_box(QMessageBox::Warning, this,
                   tr("Changes you have made do not affect your active configuration.\n"
                      "You need to restart GOX if you want them to be used."));
    QDialog::closeEvent(event);
}

void CONFIGURATION_EDITOR_DIALOG::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Cancel))
        close();
    else
        QDialog::keyPressEvent(event);
}

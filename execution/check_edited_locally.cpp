// Two checks that hosts of the session can ask for; no step of a run does.

#include <QtCore/QTextStream>

#include "contracts/actions/action_interface.h"
#include "contracts/paths/paths.h"
#include "contracts/services/plain_message_box.h"
#include "session/build_session.h"
#include "session/error_box.h"
#include "session/run_report.h"

namespace {

bool is_edited(const FILE_ENTRY& file)
{
    if (file.local_state == FILE_STATE_NO_CHANGE || file.local_state == FILE_STATE_NO_PERFORCE)
        return false;
    return file.p4_state == FILE_STATE_DELETED || file.p4_state == FILE_STATE_ADDED ||
           file.p4_state == FILE_STATE_MODIFIED;
}

// Why the data set below `working_data` is refused; empty when it is not.
QString refusal(const QString& working_data)
{
    if (working_data.contains(QLatin1String("ostrand"), Qt::CaseInsensitive))
        return "It seems you are trying to run GOX with Ostrand data (" + working_data +
               ")\nWe are sorry but Ostrand data is not supported.";
    if (working_data.contains(QLatin1String("corvane"), Qt::CaseInsensitive))
        return "It seems you are trying to run GOX with Corvane data (" + working_data +
               ")\nThis version of GOX is not compatible with Corvane.";
    return QString();
}

} // namespace

bool BUILD_SESSION::check_edited_locally(const QSet<ACTION_INTERFACE*>& of_actions)
{
    QSet<FILE_ENTRY*> edited;
    QString text = QStringLiteral("The following files cannot be updated because of being edited locally:");
    const auto look_at = [&](FILE_ENTRY* file) {
        if (!is_edited(*file) || edited.contains(file))
            return;
        edited.insert(file);
        text += "\n        " + file->physical;
    };
    for (const ACTION_INTERFACE* action : of_actions) {
        for (FILE_ENTRY* file : action->input_files)
            look_at(file);
        for (auto target = action->target_files.cbegin(); target != action->target_files.cend(); ++target)
            look_at(target.key());
    }
    if (!edited.isEmpty()) {
        if (is_unattended(*configuration, *options))
            RUN_REPORT::error(text);
        else
            show_plain_box(QMessageBox::Warning, nullptr, text);
    }
    return true;
}

bool BUILD_SESSION::check_data_set(QTextStream& log)
{
    const QString text = refusal(PATHS::working_data());
    if (text.isEmpty())
        return true;
    show_error_box(text, is_unattended(*configuration, *options));
    log << text;
    return false;
}

#include "session/build_session.h"

#include "contracts/actions/action_interface.h"
#include "contracts/actions/processor_interface.h"
#include "contracts/configuration/configuration.h"
#include "contracts/services/asset_graph.h"
#include "session/error_box.h"
#include "session/start_up_hooks.h"
#include "settings/preferences_editor_dialog.h"

BUILD_SESSION::BUILD_SESSION(const CONFIGURATION& run_configuration, const COMMAND_LINE_OPTIONS& run_options,
                             const Tallyline::Context&, const P4_CONNECTION&)
    : options(&run_options),
      database(nullptr),
      configuration(&run_configuration),
      asset_graph(new QTSHARED::ASSET_GRAPH),
      preferences(nullptr),
      abort_flag(false),
      pause_flag(false)
{
    register_current_thread();
    preferences = new PREFERENCES_EDITOR_DIALOG(nullptr, Qt::WindowFlags());
    silent_mode = configuration->silent;
}

BUILD_SESSION::~BUILD_SESSION()
{
    shutting_down = true;
    // The nodes of a million files are left to the end of the process, which comes next:
    // giving them back one by one costs a tenth of a run.
    new FILE_MAP(std::move(file_map));
    new QHash<LOGICAL_PATH, FILE_ENTRY*>(std::move(file_lookup));
}

PHYSICAL_PATH BUILD_SESSION::normalise_path_case(const PHYSICAL_PATH& path)
{
    return m_spellings.normalised(path);
}

bool BUILD_SESSION::get_latest_files(const QSet<FILE_ENTRY*>&)
{
    return true;
}

void BUILD_SESSION::put_file(const LOGICAL_PATH& key, FILE_ENTRY* entry)
{
    file_map.insert(key, entry);
    file_lookup.insert(key, entry);
}

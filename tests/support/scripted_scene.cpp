#include "tests/support/scripted_scene.h"

void write_configuration(const TEMPORARY_TREE& tree, const QString& name, const CONFIGURATION& configuration)
{
    tree.make_folder("tool/GOX");
    if (!configuration.save(tree.path("tool/GOX/" + name + "_configuration.xml"), false))
        qFatal("a configuration could not be saved");
}

SCRIPTED_SCENE::SCRIPTED_SCENE(const QString& tree_name) : tree(tree_name), gox(tree)
{
    configuration.silent = true;
    configuration.no_progress_dialog = true;
    tree.lay_out_program();
    tree.add_plugin("scripted");
}

bool SCRIPTED_SCENE::start(const QByteArray& script, const QStringList& more)
{
    tree.write_script(script);
    write_configuration(tree, "ci", configuration);
    return gox.start(QStringList{"--configuration=ci", "--dont_stop_on_error"} + more);
}

int SCRIPTED_SCENE::run(const QByteArray& script, const QStringList& more)
{
    start(script, more);
    return gox.wait();
}

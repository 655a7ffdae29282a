#include "tests/support/scripted_scene.h"

SCRIPTED_SCENE::SCRIPTED_SCENE(const QString& tree_name)
    : tree(tree_name), gox(tree), configuration(unattended_configuration())
{
    tree.lay_out_program();
    tree.add_plugin(QStringLiteral("scripted"));
}

QStringList SCRIPTED_SCENE::arguments(const QStringList& more) const
{
    return QStringList{QStringLiteral("--configuration=ci"), QStringLiteral("--dont_stop_on_error")} + more;
}

bool SCRIPTED_SCENE::start(const QByteArray& script, const QStringList& more)
{
    tree.write_script(script);
    write_configuration(tree, QStringLiteral("ci"), configuration);
    return gox.start(arguments(more));
}

int SCRIPTED_SCENE::run(const QByteArray& script, const QStringList& more)
{
    start(script, more);
    return gox.wait();
}

BUILD_LOG SCRIPTED_SCENE::log(const char* name) const
{
    return BUILD_LOG(tree.read(QStringLiteral("tool/") + QLatin1String(name)));
}

QStringList SCRIPTED_SCENE::trace(const QString& only) const
{
    QStringList lines = QString::fromUtf8(tree.read(QStringLiteral("tool/trace.txt"))).split('\n');
    lines.removeLast(); // behind the last line end
    return only.isEmpty() ? lines : lines.filter(only);
}

#include "textures/textures_processor.h"

#include <QtCore/QHash>

#include "contracts/paths/paths.h"
#include "session/file_entry.h"
#include "textures/texture_action.h"
#include "textures/texture_rule.h"

namespace {

const QString PICTURES = QStringLiteral("<raw>/textures");
const QString TEXTURES = QStringLiteral("<working>"); // there a folder for each one of the pictures

bool is_picture(const QString& path)
{
    return path.endsWith(QLatin1String(".png")) || path.endsWith(QLatin1String(".tga"));
}

// Keys of the file map are in lower case; the texture gets the letter case that
// the picture has on disk. Both spellings have the same length.
PHYSICAL_PATH texture_of(const QString& picture, const PHYSICAL_PATH& physical)
{
    const QString below = physical.right(picture.size() - PICTURES.size()); // begins with a slash
    return PHYSICAL_PATH(PATHS::working_data() + below.left(below.lastIndexOf('.')) + QStringLiteral(".tex"));
}

} // namespace

TEXTURES_PROCESSOR::TEXTURES_PROCESSOR()
{
    register_texture_rule();
}

QString TEXTURES_PROCESSOR::name()
{
    return QStringLiteral("Textures");
}

int TEXTURES_PROCESSOR::order_number()
{
    return 100;
}

QVector<QString> TEXTURES_PROCESSOR::scan_directories()
{
    return {PICTURES, TEXTURES}; // a texture that is not scanned counts as missing, so as out of date
}

QVector<ACTION_INTERFACE*> TEXTURES_PROCESSOR::collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                                               RULE_CACHE&)
{
    QVector<ACTION_INTERFACE*> actions;
    QHash<LOGICAL_PATH, LOGICAL_PATH> made_of; // texture to picture
    const QString folder = PICTURES + '/';
    for (auto place = files.lower_bound(LOGICAL_PATH(folder)); place != files.end(); ++place) {
        const LOGICAL_PATH& picture = place.key();
        if (!static_cast<const QString&>(picture).startsWith(folder))
            break;
        if (!is_picture(picture))
            continue;
        const PHYSICAL_PATH texture = texture_of(picture, place.value()->physical);
        auto* const action = new TEXTURE_ACTION(this, picture, texture);
        const LOGICAL_PATH key = PATHS::logical_path(texture);
        if (made_of.contains(key))
            action->preset_errors.append(QStringLiteral("%1 and %2 would both become %3; rename one of them.")
                                             .arg(made_of.value(key), picture, key));
        made_of.insert(key, picture);
        actions.append(action);
    }
    return actions;
}

#pragma once

#include <QtCore/QString>

#include "textures/picture_limits.h"
#include "textures/texture_file.h"

struct RULE;

/// What the rule "Texture" says about a picture.
struct TEXTURE_SETTINGS
{
    int maximum_size = MAX_PICTURE_SIDE; ///< pixels a side
    TEXTURE_FORMAT format = TEXTURE_FORMAT::RGBA8;
    bool mip_maps = true;
};

/// The kind of rule to ask the cache for.
extern const QString TEXTURE_RULE;

/// Makes the rule known to the rule editor. GUI thread.
void register_texture_rule();

/// Takes over what `rule` sets. Empty on success; else which value of which
/// rule means nothing, and what is wanted in its place.
QString read_texture_rule(const RULE& rule, TEXTURE_SETTINGS& settings);

QString format_name(TEXTURE_FORMAT format);

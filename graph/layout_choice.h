#pragma once

#include <QtCore/QString>

#include "graph/layout_protocol.h"

/// How a picture is to be laid out, and why not in layers, for people, as the end
/// of a sentence that begins with "since"; empty for layers.
struct LAYOUT_CHOICE
{
    LAYOUT_ENGINE engine = LAYOUT_ENGINE::LAYERED;
    QString reason;
};

/// Layers for pictures that should get them within a few seconds, springs, which
/// answer for many more, for all others. What layers cost goes by how many of them
/// the edges cross: a hundred nodes of which each depends on most others can take
/// as long as thousands in rows.
LAYOUT_CHOICE choose_layout(const GRAPH_PICTURE& picture);

#pragma once

#include "contracts/actions/processor_interface.h"

/// Makes a texture of every picture below "<raw>/textures": the picture
/// "<raw>/textures/terrain/grass.png" becomes "<working>/terrain/grass.tex".
class TEXTURES_PROCESSOR : public PROCESSOR_INTERFACE
{
public:
    TEXTURES_PROCESSOR();

    QString name() override;
    int order_number() override;
    QVector<QString> scan_directories() override;
    QVector<ACTION_INTERFACE*> collect_actions(LOCKABLE_MAP<LOGICAL_PATH, FILE_ENTRY*>& files,
                                               RULE_CACHE& rules) override;
};

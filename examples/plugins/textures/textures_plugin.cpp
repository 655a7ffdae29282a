#include "textures/textures_plugin.h"

#include "textures/textures_processor.h"

QVector<PROCESSOR_INTERFACE*> TEXTURES_PLUGIN::processors_of_plugin()
{
    return {new TEXTURES_PROCESSOR};
}

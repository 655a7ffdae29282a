#include "packs/packs_plugin.h"

#include "packs/packs_processor.h"

QVector<PROCESSOR_INTERFACE*> PACKS_PLUGIN::processors_of_plugin()
{
    return {new PACKS_PROCESSOR};
}

#include "contracts/services/satellite.h"

SATELLITE& SATELLITE::instance()
{
    // Never destroyed: at the end of the process its threads may be gone already.
    static SATELLITE* const the_instance = new SATELLITE;
    return *the_instance;
}

void SATELLITE::stop()
{
    end_work();
}

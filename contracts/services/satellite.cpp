#include "contracts/services/satellite.h"

SATELLITE& SATELLITE::instance()
{
    static SATELLITE s_instance;
    return s_instance;
}

void SATELLITE::stop()
{
    end_work();
}

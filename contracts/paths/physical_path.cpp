#include "contracts/paths/physical_path.h"

void PHYSICAL_PATH::remove_end_slashes()
{
    while (m_text.endsWith('/'))
        m_text.chop(1);
}

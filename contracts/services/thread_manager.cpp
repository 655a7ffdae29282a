#include "contracts/services/thread_manager.h"

#include <QtCore/QThread>

void FW::THREAD_MANAGER::initialize(int threads, bool keep_alive)
{
    m_workers.setMaxThreadCount(threads > 0 ? threads : QThread::idealThreadCount());
    m_workers.setExpiryTimeout(keep_alive ? -1 : 30000);
}

FW::THREAD_MANAGER& UTILITYDLL::thread_manager()
{
    // Never destroyed: the process ends without waiting for idle workers.
    static FW::THREAD_MANAGER* const the_manager = new FW::THREAD_MANAGER;
    return *the_manager;
}

#include "contracts/services/thread_manager.h"

#include <QtCore/QThread>
#include <QtCore/QThreadPool>

void FW::THREAD_MANAGER::initialize(int threads, bool keep_alive)
{
    constexpr int A_WHILE = 30000; // milliseconds
    QThreadPool* const workers = QThreadPool::globalInstance();
    workers->setMaxThreadCount(threads > 0 ? threads : QThread::idealThreadCount());
    workers->setExpiryTimeout(keep_alive ? -1 : A_WHILE);
}

FW::THREAD_MANAGER& UTILITYDLL::thread_manager()
{
    static FW::THREAD_MANAGER the_manager;
    return the_manager;
}

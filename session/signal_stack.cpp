#include "session/signal_stack.h"

#include <cstddef>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <csignal>
#include <sys/mman.h>
#endif

namespace {

const std::size_t SIGNAL_STACK_BYTES = 256 * 1024; // writing a call stack takes more than the least

#ifndef Q_OS_WIN
thread_local stack_t t_former_stack = {};
#endif

} // namespace

#ifdef Q_OS_WIN

SIGNAL_STACK::SIGNAL_STACK()
{
    ULONG bytes = SIGNAL_STACK_BYTES;
    SetThreadStackGuarantee(&bytes);
}

SIGNAL_STACK::~SIGNAL_STACK() {}

#else

SIGNAL_STACK::SIGNAL_STACK()
{
    void* const memory =
        ::mmap(nullptr, SIGNAL_STACK_BYTES, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return;
    stack_t stack = {};
    stack.ss_sp = memory;
    stack.ss_size = SIGNAL_STACK_BYTES;
    if (::sigaltstack(&stack, &t_former_stack) == 0)
        m_memory = memory;
    else
        ::munmap(memory, SIGNAL_STACK_BYTES);
}

SIGNAL_STACK::~SIGNAL_STACK()
{
    if (!m_memory)
        return;
    ::sigaltstack(&t_former_stack, nullptr);
    ::munmap(m_memory, SIGNAL_STACK_BYTES);
}

#endif

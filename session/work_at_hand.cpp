#include "session/work_at_hand.h"

#include <atomic>
#include <cstring>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <csignal>
#include <sys/mman.h>
#endif

namespace {

const int MOST_BYTES = 1000;
const int MOST_BYTES_A_LETTER = 4;
const std::size_t SIGNAL_STACK_BYTES = 256 * 1024; // writing a call stack takes more than the least

// Of two texts one is always whole.
char s_texts[2][MOST_BYTES + 1] = {"the start", ""};
std::atomic<const char*> s_text{s_texts[0]};

// Each thread has one of its own, at an address of its own.
thread_local char t_place = 0;
std::atomic<const char*> s_place{nullptr};

} // namespace

void WORK_AT_HAND::note(const QString& text)
{
    const QByteArray bytes = text.left(MOST_BYTES / MOST_BYTES_A_LETTER).replace('\n', ' ').toUtf8();
    char* const target = s_text == s_texts[0] ? s_texts[1] : s_texts[0];
    std::memcpy(target, bytes.constData(), std::size_t(bytes.size()) + 1);
    s_text = target;
    s_place = &t_place;
}

const char* WORK_AT_HAND::text()
{
    return s_text;
}

bool WORK_AT_HAND::is_of_this_thread()
{
    const char* const place = s_place;
    return !place || place == &t_place;
}

#ifdef Q_OS_WIN

SIGNAL_STACK::SIGNAL_STACK()
{
    ULONG bytes = SIGNAL_STACK_BYTES;
    SetThreadStackGuarantee(&bytes);
}

SIGNAL_STACK::~SIGNAL_STACK() {}

#else

namespace {

thread_local stack_t t_former_stack = {};

}

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

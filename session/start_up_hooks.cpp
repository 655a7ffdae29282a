#include "session/start_up_hooks.h"

#include "contracts/actions/action_interface.h"
#include "contracts/services/memory_tracking.h"

int next_thread_number = 1;
QMap<Qt::HANDLE, int> thread_numbers;
bool shutting_down = false;
bool silent_mode = false;
ACTION_INTERFACE* current_action = nullptr;

void register_current_thread()
{
    if (next_thread_number == 1)
        MEMORY_TRACKING::register_thread_identifier_fn(thread_number_of_current_thread);
    thread_numbers.insert(QThread::currentThreadId(), next_thread_number);
    ++next_thread_number;
}

unsigned int thread_number_of_current_thread()
{
    if (shutting_down)
        return 0;
    return unsigned(thread_numbers.value(QThread::currentThreadId(), 0));
}

bool startup_message_hook(bool, const FW::UniString& text, bool& show_box, bool&)
{
    if (ACTION_INTERFACE* const action = current_action) // read once: the build thread changes it
        action->message_box_hook(QString::fromUtf16(text.get_temporary_uni_chars(), text.length()));
    show_box = false;
    return !silent_mode;
}

#include "session/work_at_hand.h"

#include <atomic>
#include <cstring>

namespace {

const int MOST_BYTES = 1000;
const int MOST_BYTES_A_LETTER = 4;

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

#pragma once

#include <utility>

#include "contracts/services/question_log.h"

/// Listens, while it lives, to what the plugins ask the services; one at a time.
/// Between two calls of a plugin, which joins its threads before it returns.
class NOTED_QUESTIONS
{
public:
    NOTED_QUESTIONS() { QUESTION_LOG::listen(&m_asked); }
    ~NOTED_QUESTIONS() { QUESTION_LOG::listen(nullptr); }
    NOTED_QUESTIONS(const NOTED_QUESTIONS&) = delete;
    NOTED_QUESTIONS& operator=(const NOTED_QUESTIONS&) = delete;

    bool is_empty() const { return m_asked.is_empty(); }

    /// What was asked since the last call.
    ASKED_QUESTIONS take()
    {
        ASKED_QUESTIONS asked;
        QUESTION_LOG::listen(nullptr);
        std::swap(asked, m_asked);
        QUESTION_LOG::listen(&m_asked);
        asked.settle();
        return asked;
    }

private:
    ASKED_QUESTIONS m_asked;
};

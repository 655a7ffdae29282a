#pragma once

#include <QtCore/qglobal.h>

/// A stack of its own for the signal handlers of the calling thread, as long as
/// this lives: without one nothing can be told of a stack that overflows. Belongs
/// on the stack of that thread.
class SIGNAL_STACK
{
public:
    SIGNAL_STACK();
    ~SIGNAL_STACK();

private:
    Q_DISABLE_COPY(SIGNAL_STACK)

    void* m_memory = nullptr;
};

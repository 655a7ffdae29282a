#pragma once

/// Makes the heap quick to grow where the system can do that. Main thread, ahead of
/// everything else.
void prepare_heap();

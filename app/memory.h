#pragma once

/// Makes the heap quick to grow where the system can do that. Main thread, ahead of
/// everything else.
void prepare_heap();

/// Gives back the room that a start-up did not need. From here on a large block that
/// grows moves without its bytes being copied. Main thread.
void settle_heap();

#pragma once

/// Pieces of memory that the calling thread has asked for so far, whether through
/// the program's heap or by Qt: the benchmark puts a counter before malloc.
long memory_requests();

// How a program keeps its memory.
#pragma once

#include <malloc.h>

namespace host {

/// Keeps what is freed for what is allocated next: images one after the other, or sets, take buffers of the same sizes,
/// and given back to the system in between, their pages would be fetched and cleared anew each time. It holds for the
/// whole process, so it is a program's to call, not a library's.
inline void KeepFreedMemory() noexcept {
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
}

}  // namespace host

#pragma once

#include <malloc.h>

#include <cstddef>

namespace oltmgrd {

/// Work that needs more bytes than this for a moment gives them back afterwards.
inline constexpr std::size_t kLargeWork = 1U << 18U;

/// Returns memory that is free in this process to the system.
inline void returnFreeMemory() {
    ::malloc_trim(0);
}

}  // namespace oltmgrd

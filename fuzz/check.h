#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace fuzz {

/// Ends the process with `what` on standard error unless `holds`; the engine then keeps the input.
inline void require(bool holds, std::string_view what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %.*s\n", static_cast<int>(what.size()), what.data());
        std::abort();
    }
}

/// Whether a terminal shows `text` on one line and does nothing else about it.
inline bool isOneLine(std::string_view text) {
    return std::ranges::none_of(text, [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7F;
    });
}

}  // namespace fuzz

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "common/text.h"

namespace onuqosctl {

/// The name in a record's field: up to its first NUL, or all of it where a server sent none.
template <std::size_t bytes>
std::string nameFromWire(const char (&field)[bytes]) {
    const std::string_view whole(field, bytes);
    return std::string(whole.substr(0, whole.find('\0')));
}

/// The name of a profile as tables show it.
template <typename Profile>
std::string shownName(const Profile& profile) {
    return common::printable(profile.name) + (profile.nameCut ? "..." : "");
}

}  // namespace onuqosctl

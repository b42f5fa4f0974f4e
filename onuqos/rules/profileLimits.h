#pragma once

#include <cstddef>

/// The longest profile name, bytes.
constexpr std::size_t kProfileNameMax = 64;

/// How many profiles of each family the module holds.
constexpr std::size_t kProfileCountMax = 256;

#pragma once

#include <cstdint>
#include <string>

#include "clients/onuqosctl/explanation.h"

namespace onuqosctl {

/// The two families of result codes.
enum class Family { flow, tcont };

/// Every code of a family that means success is 0; the two that steer a walk through the profiles differ.
struct WalkCodes {
    std::int32_t notFound, noMore;
};
WalkCodes walkCodes(Family family);

/// The enumerator's name, for instance "rpcTContProfileResApplied"; "result" for a number without one.
std::string resultName(Family family, std::int32_t result);

/// What the code means, as part of a sentence.
std::string resultMeaning(Family family, std::int32_t result);

/// What a person can do about it; empty when nothing general can be said.
std::string resultHint(Family family, std::int32_t result);

/// The module answered and refused.
struct Refusal {
    Family family;
    std::int32_t result;
    std::string request;  // what was asked, for instance "tcont delete gold"
    Explanation why;
};

}  // namespace onuqosctl

#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace onuqosctl {

/// Rates of a T-CONT profile, kbit/s.
struct TContRates {
    std::uint32_t fixed, assured, maximum;

    auto operator<=>(const TContRates&) const = default;
};

/// What the bandwidth class of the OLT decides about rates; kbit/s.
struct PortClass {
    std::uint32_t granularity;  // by which procedure 202 tells the class
    std::uint32_t largestRate;
    std::uint32_t capacity;       // what a port carries for fixed and assured rates together
    std::uint32_t step;           // to which T-CONT rates are rounded up
    std::uint32_t fixedRateStep;  // the same for fixed rates above 25600
};
constexpr PortClass kGpon{64, 1244160, 1240640, 64, 64};
constexpr PortClass kTenG{1024, 9953280, 9918464, 128, 1024};

/// The rates as the module stores them.
TContRates roundedUp(const TContRates& rates, const PortClass& portClass);

/// The default rates of a type, also the least a rate of it may be unless it is 0. Zeros for no type.
TContRates typeDefaults(std::uint32_t type);

/// Which rate lies outside what the type lets it be, as a sentence; empty for none. These bounds hold before
/// rates are rounded up.
std::string explainBounds(std::uint32_t type, const TContRates& rates, const PortClass& portClass);

/// Why the module finds these rates wrong for the type, as a sentence; empty when they are right. After the
/// bounds come the rules between rates, which hold for the rounded ones.
std::string explainRates(std::uint32_t type, const TContRates& rates, const PortClass& portClass);

/// Which rates a type carries, as a sentence; empty for no type.
std::string explainType(std::uint32_t type);

/// The options of `onuqosctl tcont set`, few as can be, that lead a type 5 profile from `stored` to `wanted`
/// through valid rates only, for instance "--maximum 1024 --fixed 256 --assured 128". Both must be rates that
/// the module stores.
std::string singleSteps(const TContRates& stored, const TContRates& wanted);

}  // namespace onuqosctl

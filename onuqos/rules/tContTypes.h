#pragma once

#include <cstdint>
#include <set>
#include <string>

inline constexpr std::uint32_t kTContIdDefault = 1;
inline constexpr std::uint32_t kTContIdMax = 6;

/// The T-CONT types (ITU-T G.984.3).
enum onuTContProfileType : std::int32_t {
    tContTypeDefault = 0,  ///< stands for type 5 where a type is set; never stored
    tContType1 = 1,        ///< fixed bandwidth
    tContType2 = 2,        ///< assured bandwidth
    tContType3 = 3,        ///< assured and non-assured bandwidth
    tContType4 = 4,        ///< best effort
    tContType5 = 5         ///< all of them
};

enum onuTContProfileRateType : std::int32_t {
    tContRateFixed = 0,
    tContRateAssured = 1,
    tContRateMaximum = 2
};

enum onuTContProfileSrdbaType : std::int32_t {
    tContSrdbaAllocType = 0,
    tContSrdbaWeight = 1,
    tContSrdbaPriority = 2
};

/// The DBA allocation type. Modes 1 and 2 can be set; 0 belongs to type 1, where it cannot be configured.
enum onuTContProfileDbaCtrlMode : std::int32_t { tContDbaMode0 = 0, tContDbaMode1 = 1, tContDbaMode2 = 2 };

/// Which rates a type carries, and what each defaults to (kbit/s). A default is also the least non-zero value
/// of its rate; zero is accepted for a rate only where the default is zero.
struct onuTContProfileRates {
    bool fixedRateConfigurable;
    bool assuredRateConfigurable;
    bool maximumRateConfigurable;
    std::uint32_t fixedRateDefault;
    std::uint32_t assuredRateDefault;
    std::uint32_t maximumRateDefault;
};

/// Which SR-DBA parameters a type carries, and what each defaults to.
struct onuTContProfileSrdba {
    bool allocTypeConfigurable;
    bool weightConfigurable;
    bool priorityConfigurable;
    onuTContProfileDbaCtrlMode allocTypeDefault;
    std::uint32_t weightDefault;
    std::uint32_t priorityDefault;
};

/// A T-CONT profile. Rates in kbit/s.
struct tContProfileInfo {
    std::string name;           ///< equals the key of the record
    std::uint32_t tContId = 0;  ///< 1 to `kTContIdMax`
    onuTContProfileType tContType{};
    std::uint32_t fixedRate = 0;
    std::uint32_t assuredRate = 0;
    std::uint32_t maximumRate = 0;
    onuTContProfileDbaCtrlMode dbaAllocType{};
    std::uint32_t dbaWeight = 0;
    std::uint32_t dbaPriority = 0;
    std::set<std::uint32_t> appliedIntfs;  ///< ONUs on which a service binding uses the profile

    bool operator==(const tContProfileInfo&) const = default;
};

/// Attributes of a T-CONT profile, as bits of a mask; the wire carries the same numbers.
enum tContProfileParm : std::uint32_t {
    tContParmId = 2,
    tContParmType = 4,
    tContParmFixedRate = 8,
    tContParmAssuredRate = 16,
    tContParmMaximumRate = 32,
    tContParmAllocType = 64,
    tContParmWeight = 128,
    tContParmPriority = 256
};

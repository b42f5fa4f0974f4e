#include "onuqos/profiles/profileStore.h"
#include "onuqos/tcont/rates.h"

namespace {

using Om = onuQosOMApi::onuQosOMApiTContProfileInfo;

/// What a step answers: a result that ends the setter, or nothing when `om` is to be pushed.
using Answer = std::optional<onuQos::onuQosRes>;
constexpr Answer kPush = std::nullopt;

// The steps of the setters: each changes a copy of the profile, and fills what the platform is to take.

Answer takeId(unsigned int id, tContProfileInfo& wanted, Om& om) {
    if (id == wanted.tContId) {
        return onuQos::onuQosResOk;
    }
    if (id > kTContIdMax) {
        return onuQos::onuQosResOutOfRange;
    }
    om.tContId = wanted.tContId = id;
    return kPush;
}

Answer takeType(onuTContProfileType type, const onuTContProfileRates& rates, tContProfileInfo& wanted,
                Om& om) {
    if (type == wanted.tContType) {
        return onuQos::onuQosResOk;
    }
    if (!rules::tContTypeExists(type)) {
        return onuQos::onuQosResError;
    }
    om.tContId = wanted.tContId;
    om.tContType = wanted.tContType = type;
    om.fixedRate = wanted.fixedRate = rates.fixedRateDefault;
    om.assuredRate = wanted.assuredRate = rates.assuredRateDefault;
    om.maximumRate = wanted.maximumRate = rates.maximumRateDefault;
    return kPush;
}

Answer takeRates(const rules::RateVerdict& verdict, tContProfileInfo& wanted, Om& om) {
    if (!verdict) {
        return resultOf(verdict.result());
    }
    if (verdict.rates == rules::ratesOf(wanted)) {
        return onuQos::onuQosResOk;
    }
    om.fixedRate = wanted.fixedRate = verdict.rates.fixed;
    om.assuredRate = wanted.assuredRate = verdict.rates.assured;
    om.maximumRate = wanted.maximumRate = verdict.rates.maximum;
    return kPush;
}

Answer takeAllocType(onuTContProfileDbaCtrlMode mode, bool configurable, tContProfileInfo& wanted, Om& om) {
    if (!configurable) {
        return onuQos::onuQosResOutOfRange;
    }
    if (mode == wanted.dbaAllocType) {
        return onuQos::onuQosResOk;
    }
    if (mode != tContDbaMode1 && mode != tContDbaMode2) {
        return onuQos::onuQosResOutOfRange;
    }
    om.dbaAllocType = wanted.dbaAllocType = mode;
    om.dbaWeight = wanted.dbaWeight;
    om.dbaPriority = wanted.dbaPriority;
    return kPush;
}

}  // namespace

template <typename Step>
onuQos::onuQosRes onuQos::tContProfileChange(const char* operation, const std::string& name,
                                             onuQosOMApi::onuQosOMApiTContParm parm, Step step) {
    return profileStore::change(
        {.name = operation}, tContProfileMap, name,
        [this](const std::string& profile) { return tContProfileIsApplied(profile); },
        [&](tContProfileInfo& profile) {
            tContProfileInfo wanted = profile;
            Om om{};
            if (const Answer answer = step(wanted, om)) {
                return *answer;
            }

            if (OMApi.onuTContProfileParmsSet(name, om, parm) != 0) {
                logError(operation,
                         "ONUQOS ERROR - OMApi.onuTContProfileParmsSet() failed for profile: ", name);
                return onuQosResError;
            }

            profile = std::move(wanted);
            return onuQosResOk;
        });
}

onuQos::onuQosRes onuQos::tContProfileIdSet(const std::string& name, unsigned int id) {
    return tContProfileChange(
        "tContProfileIdSet", name, onuQosOMApi::onuQosOMApiTContParmId,
        [=](auto& wanted, auto& om) { return takeId(id == 0 ? kTContIdDefault : id, wanted, om); });
}

onuQos::onuQosRes onuQos::tContProfileTypeSet(const std::string& name, onuTContProfileType type) {
    const onuTContProfileType wantedType = type == tContTypeDefault ? tContType5 : type;
    return tContProfileChange("tContProfileTypeSet", name, onuQosOMApi::onuQosOMApiTContParmType,
                              [=, this](auto& wanted, auto& om) {
                                  return takeType(wantedType, rowOf(onuTContProfileRatesMap, wantedType),
                                                  wanted, om);
                              });
}

onuQos::onuQosRes onuQos::tContProfileRateSet(const std::string& name, unsigned int rate,
                                              const TContRate& row) {
    const auto round = [&](std::uint32_t value) { return onuQosRoundRateTcont(value, row.kind.type); };
    return tContProfileChange(
        row.operation, name, onuQosOMApi::onuQosOMApiTContParmRates, [&](auto& wanted, auto& om) {
            const auto verdict = rules::tContRateVerdict(
                rowOf(onuTContProfileRatesMap, wanted.tContType), row.kind, wanted.tContType,
                rules::ratesOf(wanted), rate, rules::limitsOf(TCONT_RATE_GRANULARITY), round);
            return takeRates(verdict, wanted, om);
        });
}

onuQos::onuQosRes onuQos::tContProfileFixedRateSet(const std::string& name, unsigned int rate) {
    return tContProfileRateSet(name, rate, kTContFixedRate);
}

onuQos::onuQosRes onuQos::tContProfileAssuredRateSet(const std::string& name, unsigned int rate) {
    return tContProfileRateSet(name, rate, kTContAssuredRate);
}

onuQos::onuQosRes onuQos::tContProfileMaximumRateSet(const std::string& name, unsigned int rate) {
    return tContProfileRateSet(name, rate, kTContMaximumRate);
}

onuQos::onuQosRes onuQos::tContProfileAllocTypeSet(const std::string& name, onuTContProfileDbaCtrlMode mode) {
    return tContProfileChange(
        "tContProfileAllocTypeSet", name, onuQosOMApi::onuQosOMApiTContParmAllocType,
        [=, this](auto& wanted, auto& om) {
            return takeAllocType(mode, tContProfileIsSrdbaConfigurable(wanted.tContType, tContSrdbaAllocType),
                                 wanted, om);
        });
}

onuQos::onuQosRes onuQos::tContProfileSrdbaWeightSet(const std::string& name, unsigned int weight) {
    return tContProfileChange("tContProfileSrdbaWeightSet", name, onuQosOMApi::onuQosOMApiTContParmWeight,
                              [=, this](auto& wanted, auto& om) -> Answer {
                                  if (!tContProfileIsSrdbaConfigurable(wanted.tContType, tContSrdbaWeight)) {
                                      return onuQosResOutOfRange;
                                  }
                                  om.dbaWeight = wanted.dbaWeight = weight;
                                  return kPush;
                              });
}

onuQos::onuQosRes onuQos::tContProfileSrdbaPrioritySet(const std::string& name, unsigned int priority) {
    return tContProfileChange(
        "tContProfileSrdbaPrioritySet", name, onuQosOMApi::onuQosOMApiTContParmPriority,
        [=, this](auto& wanted, auto& om) -> Answer {
            if (!tContProfileIsSrdbaConfigurable(wanted.tContType, tContSrdbaPriority)) {
                return onuQosResOutOfRange;
            }
            om.dbaPriority = wanted.dbaPriority = priority;
            return kPush;
        });
}

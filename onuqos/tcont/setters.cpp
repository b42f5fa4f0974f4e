#include <optional>

#include "entity/log.h"
#include "entity/onuQos.h"
#include "tcont/rates.h"
#include "tcont/rules.h"

/// What every setter does before and after its own part: lock, name and use of the profile; then the push and
/// the write. `change(wanted, om)` alters a copy of the profile and fills what the platform is to take; it
/// answers a result when there is nothing to push.
template <typename Change>
onuQos::onuQosRes onuQos::tContProfileChange(const char* operation, const std::string& name,
                                             onuQosOMApi::onuQosOMApiTContParm parm, Change change) {
    const WriteLock lock(operation);
    if (!lock || name.empty()) {
        return onuQosResError;
    }
    const auto found = tContProfileMap.find(name);
    if (found == tContProfileMap.end()) {
        return onuQosResNotFound;
    }
    if (tContProfileIsApplied(name)) {
        return onuQosResApplied;
    }
    tContProfileInfo wanted = found->second;
    onuQosOMApi::onuQosOMApiTContProfileInfo om{};
    if (const std::optional<onuQosRes> answer = change(wanted, om)) {
        return *answer;
    }

    if (OMApi.onuTContProfileParmsSet(name, om, parm) != 0) {
        logError(operation, "ONUQOS ERROR - OMApi.onuTContProfileParmsSet() failed for profile: ", name);
        return onuQosResError;
    }

    found->second = std::move(wanted);
    return onuQosResOk;
}

onuQos::onuQosRes onuQos::tContProfileIdSet(const std::string& name, unsigned int id) {
    return tContProfileChange(
        "tContProfileIdSet", name, onuQosOMApi::onuQosOMApiTContParmId,
        [id = id == 0 ? kTContIdDefault : id](auto& wanted, auto& om) -> std::optional<onuQosRes> {
            if (id == wanted.tContId) {
                return onuQosResOk;
            }
            if (id > kTContIdMax) {
                return onuQosResOutOfRange;
            }
            om.tContId = wanted.tContId = id;
            return std::nullopt;
        });
}

onuQos::onuQosRes onuQos::tContProfileTypeSet(const std::string& name, onuTContProfileType type) {
    return tContProfileChange("tContProfileTypeSet", name, onuQosOMApi::onuQosOMApiTContParmType,
                              [this, type = type == tContTypeDefault ? tContType5 : type](
                                  auto& wanted, auto& om) -> std::optional<onuQosRes> {
                                  if (type == wanted.tContType) {
                                      return onuQosResOk;
                                  }
                                  if (type < tContType1 || type > tContType5) {
                                      return onuQosResError;
                                  }
                                  const auto rates = tContProfileRatesOf(type);
                                  om.tContId = wanted.tContId;
                                  om.tContType = wanted.tContType = type;
                                  om.fixedRate = wanted.fixedRate = rates.fixedRateDefault;
                                  om.assuredRate = wanted.assuredRate = rates.assuredRateDefault;
                                  om.maximumRate = wanted.maximumRate = rates.maximumRateDefault;
                                  return std::nullopt;
                              });
}

onuQos::onuQosRes onuQos::tContProfileRateSet(const std::string& name, unsigned int rate,
                                              const TContRate& row) {
    return tContProfileChange(row.operation, name, onuQosOMApi::onuQosOMApiTContParmRates,
                              [this, rate, &row](auto& wanted, auto& om) -> std::optional<onuQosRes> {
                                  const auto rates = tContProfileRatesOf(wanted.tContType);
                                  const std::uint32_t least = rates.*row.least;
                                  if (!(rates.*row.configurable)) {
                                      return onuQosResOutOfRange;
                                  }
                                  std::uint32_t value = rate;
                                  if (rate == kTContRateDefault) {
                                      value = least;
                                  } else if (rate < least || rate > TCONT_PROFILE_RATE_MAX) {
                                      return onuQosResRateError;  // 0 passes only where the default is 0
                                  } else if (rate != 0) {
                                      value = onuQosRoundRateTcont(rate, row.type);
                                  }
                                  if (value == wanted.*row.rate) {
                                      return onuQosResOk;
                                  }
                                  if (wanted.tContType == row.leadsIn) {
                                      wanted.fixedRate = wanted.assuredRate = 0;
                                      wanted.maximumRate = value;
                                  }
                                  wanted.*row.rate = value;
                                  if (!tContRatesAgree(wanted)) {
                                      return onuQosResRateError;
                                  }
                                  om.fixedRate = wanted.fixedRate;
                                  om.assuredRate = wanted.assuredRate;
                                  om.maximumRate = wanted.maximumRate;
                                  return std::nullopt;
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
        [this, mode](auto& wanted, auto& om) -> std::optional<onuQosRes> {
            if (!tContProfileIsSrdbaConfigurable(wanted.tContType, tContSrdbaAllocType)) {
                return onuQosResOutOfRange;
            }
            if (mode == wanted.dbaAllocType) {
                return onuQosResOk;
            }
            if (mode != tContDbaMode1 && mode != tContDbaMode2) {
                return onuQosResOutOfRange;
            }
            om.dbaAllocType = wanted.dbaAllocType = mode;
            om.dbaWeight = wanted.dbaWeight;
            om.dbaPriority = wanted.dbaPriority;
            return std::nullopt;
        });
}

onuQos::onuQosRes onuQos::tContProfileSrdbaWeightSet(const std::string& name, unsigned int weight) {
    return tContProfileChange("tContProfileSrdbaWeightSet", name, onuQosOMApi::onuQosOMApiTContParmWeight,
                              [this, weight](auto& wanted, auto& om) -> std::optional<onuQosRes> {
                                  if (!tContProfileIsSrdbaConfigurable(wanted.tContType, tContSrdbaWeight)) {
                                      return onuQosResOutOfRange;
                                  }
                                  om.dbaWeight = wanted.dbaWeight = weight;
                                  return std::nullopt;
                              });
}

onuQos::onuQosRes onuQos::tContProfileSrdbaPrioritySet(const std::string& name, unsigned int priority) {
    return tContProfileChange(
        "tContProfileSrdbaPrioritySet", name, onuQosOMApi::onuQosOMApiTContParmPriority,
        [this, priority](auto& wanted, auto& om) -> std::optional<onuQosRes> {
            if (!tContProfileIsSrdbaConfigurable(wanted.tContType, tContSrdbaPriority)) {
                return onuQosResOutOfRange;
            }
            om.dbaPriority = wanted.dbaPriority = priority;
            return std::nullopt;
        });
}

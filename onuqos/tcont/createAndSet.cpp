#include <array>
#include <span>

#include "onuqos/support/log.h"
#include "onuqos/tcont/rates.h"

namespace {

constexpr const char* kOperation = "tContProfileCreateAndSet";

using RateRules = std::map<onuTContProfileType, onuTContProfileRates>;

/// The orders in which rates are written. They suit a rise or a fall of the whole, not every exchange between
/// fixed and assured: each step has to keep the rules of the type.
constexpr std::array kMaximumAssuredFixed{&kTContMaximumRate, &kTContAssuredRate, &kTContFixedRate};
constexpr std::array kMaximumAssured{&kTContMaximumRate, &kTContAssuredRate};
constexpr std::array kAssuredMaximum{&kTContAssuredRate, &kTContMaximumRate};
constexpr std::array kFixedAssuredMaximum{&kTContFixedRate, &kTContAssuredRate, &kTContMaximumRate};
constexpr std::array kMaximumFixedAssured{&kTContMaximumRate, &kTContFixedRate, &kTContAssuredRate};

/// Which order suits a profile that is to become `wanted`. A lower maximum comes last, a higher one first.
std::span<const TContRate* const> writeOrder(bool existed, const tContProfileInfo& stored,
                                             const tContProfileInfo& wanted) {
    if (existed && wanted.tContType == tContType3) {
        return stored.assuredRate + rules::kTContRateMargin <= wanted.maximumRate
                   ? std::span<const TContRate* const>(kMaximumAssured)
                   : kAssuredMaximum;
    }
    if (existed && wanted.tContType == tContType5) {
        return wanted.maximumRate < stored.fixedRate + stored.assuredRate + rules::kTContRateMargin
                   ? std::span<const TContRate* const>(kFixedAssuredMaximum)
                   : kMaximumFixedAssured;
    }
    return kMaximumAssuredFixed;
}

/// What a profile is to become: what `mask` selects of `info`, else what is `stored`, if it is, or the
/// default.
onuQos::onuQosRes wantedGet(onuQos& module, const RateRules& rateRules, const tContProfileInfo* stored,
                            const tContProfileInfo& info, unsigned int mask, tContProfileInfo& wanted) {
    module.tContProfileDefaultSet(wanted);

    if ((mask & tContParmId) != 0) {
        if (info.tContId > kTContIdMax) {
            logError(kOperation,
                     "ONUQOS ERROR - tContProfileCreateAndSet: tcontId domain error: ", info.tContId);
            return onuQos::onuQosResOutOfRange;
        }
        wanted.tContId = info.tContId;
    } else if (stored != nullptr) {
        wanted.tContId = stored->tContId;
    }

    if ((mask & tContParmType) != 0) {
        wanted.tContType = info.tContType;
    } else if (stored != nullptr) {
        wanted.tContType = stored->tContType;
    }

    const auto rates = rowOf(rateRules, wanted.tContType);
    const auto& limits = rules::limitsOf(onuQos::TCONT_RATE_GRANULARITY);
    const bool keepsType = stored != nullptr && stored->tContType == wanted.tContType;
    for (const TContRate& row : kTContRates) {
        const std::uint32_t least = rates.*row.kind.least;
        if ((mask & row.kind.parm) == 0) {
            wanted.*row.kind.stored = keepsType ? stored->*row.kind.stored : least;
            continue;
        }
        const std::uint32_t value = info.*row.kind.stored;
        if (value != 0 && rules::tContRateBound(least, value, limits) != rules::RateReason::none) {
            logError(kOperation, row.domainError, value);
            return onuQos::onuQosResOutOfRange;
        }
        if (!(rates.*row.kind.configurable) && value != least) {
            logError(kOperation, row.notConfigurable);
            return onuQos::onuQosResOutOfRange;
        }
        wanted.*row.kind.stored = module.onuQosRoundRateTcont(value, row.kind.type);
    }
    if (wanted.tContType == tContType1 || wanted.tContType == tContType2) {
        wanted.maximumRate = wanted.tContType == tContType1 ? wanted.fixedRate : wanted.assuredRate;
    }

    const char* text = nullptr;
    switch (rules::tContRatesReason(wanted.tContType, rules::ratesOf(wanted))) {
        case rules::RateReason::none:
            return onuQos::onuQosResOk;
        case rules::RateReason::type3Maximum:
            text = "ONUQOS ERROR - tContProfileCreateAndSet: Type 3 assured-max rate inconsistency";
            break;
        case rules::RateReason::type5Guarantee:
            text = "ONUQOS ERROR - tContProfileCreateAndSet: Type 5 fixed-assured rate inconsistency";
            break;
        case rules::RateReason::type5Maximum:
            text = "ONUQOS ERROR - tContProfileCreateAndSet: Type 5 max-fixed-assured rate inconsistency";
            break;
        default:
            return onuQos::onuQosResError;
    }
    logError(kOperation, text);
    return onuQos::onuQosResRateError;
}

/// The steps from `stored`, the record in the table, to `wanted`.
onuQos::onuQosRes wantedSet(onuQos& module, const RateRules& rateRules, const tContProfileInfo& stored,
                            const std::string& name, const tContProfileInfo& wanted, unsigned int mask,
                            bool existed) {
    if ((mask & tContParmId) != 0) {
        const onuQos::onuQosRes res = module.tContProfileIdSet(name, wanted.tContId);
        if (res != onuQos::onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - tContProfileIdSet error: name=", name,
                     ", id=", wanted.tContId);
            return res;
        }
    }
    if ((mask & tContParmType) != 0) {
        const onuQos::onuQosRes res = module.tContProfileTypeSet(name, wanted.tContType);
        if (res != onuQos::onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - tContProfileTypeSet error: name=", name,
                     ", type=", static_cast<int>(wanted.tContType));
            return res;
        }
    }

    const auto rates = rowOf(rateRules, wanted.tContType);
    for (const TContRate* row : writeOrder(existed, stored, wanted)) {
        if ((mask & row->kind.parm) == 0 || !(rates.*row->kind.configurable)) {
            continue;
        }
        const onuQos::onuQosRes res = (module.*row->set)(name, wanted.*row->kind.stored);
        if (res != onuQos::onuQosResOk) {
            logError(kOperation, row->setError, name, ", rate=", wanted.*row->kind.stored);
            return res;
        }
    }
    return onuQos::onuQosResOk;
}

}  // namespace

onuQos::onuQosRes onuQos::tContProfileCreateAndSet(const std::string& name, const tContProfileInfo& info,
                                                   unsigned int mask) {
    const WriteLock lock(kOperation);
    if (!lock) {
        return onuQosResError;
    }
    const auto found = tContProfileMap.find(name);
    const bool existed = found != tContProfileMap.end();
    if (existed && tContProfileIsApplied(name)) {
        logError(kOperation, "ONUQOS ERROR - tContProfileCreateAndSet: T-CONT profile applied error: ", name);
        return onuQosResApplied;
    }
    tContProfileInfo wanted;
    const onuQosRes checked =
        wantedGet(*this, onuTContProfileRatesMap, existed ? &found->second : nullptr, info, mask, wanted);
    if (checked != onuQosResOk) {
        return checked;
    }

    if (!existed) {
        const onuQosRes created = tContProfileCreate(name);
        if (created != onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - tContProfileCreate error: name=", name);
            return created;
        }
    }
    const onuQosRes written =
        wantedSet(*this, onuTContProfileRatesMap, tContProfileMap.at(name), name, wanted, mask, existed);
    if (written != onuQosResOk && !existed && tContProfileDelete(name) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - tContProfileDelete failed: name=", name);
    }
    return written;
}

onuQos::onuQosRes onuQos::tContProfileCopy(const std::string& srcName, const std::string& dstName) {
    const WriteLock lock("tContProfileCopy");
    if (!lock) {
        return onuQosResError;
    }
    const auto source = tContProfileMap.find(srcName);
    if (source == tContProfileMap.end()) {
        return onuQosResNotFound;
    }
    if (tContProfileMap.contains(dstName)) {
        return onuQosResExists;
    }
    const tContProfileInfo copy = source->second;
    unsigned int mask = 0;
    onuQosTContProfileParmsMaskSet(copy, mask);

    const onuQosRes res = tContProfileCreateAndSet(dstName, copy, mask);
    if (res != onuQosResOk) {
        logError("tContProfileCopy", "ONUQOS ERROR - tContProfileCopy: tContProfileCreateAndSet failed, rv: ",
                 static_cast<int>(res));
    }
    return res;
}

#include <array>
#include <span>

#include "entity/log.h"
#include "entity/onuQos.h"
#include "tcont/rates.h"
#include "tcont/rules.h"

namespace {

constexpr const char* kOperation = "tContProfileCreateAndSet";

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
        return stored.assuredRate + kTContRateMargin <= wanted.maximumRate
                   ? std::span<const TContRate* const>(kMaximumAssured)
                   : kAssuredMaximum;
    }
    if (existed && wanted.tContType == tContType5) {
        return wanted.maximumRate < stored.fixedRate + stored.assuredRate + kTContRateMargin
                   ? std::span<const TContRate* const>(kFixedAssuredMaximum)
                   : kMaximumFixedAssured;
    }
    return kMaximumAssuredFixed;
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
    const onuQosRes checked = tContProfileWantedGet(existed ? &found->second : nullptr, info, mask, wanted);
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
    const onuQosRes written = tContProfileWantedSet(name, wanted, mask, existed);
    if (written != onuQosResOk && !existed && tContProfileDelete(name) != onuQosResOk) {
        logError(kOperation, "ONUQOS ERROR - tContProfileDelete failed: name=", name);
    }
    return written;
}

onuQos::onuQosRes onuQos::tContProfileWantedGet(const tContProfileInfo* stored, const tContProfileInfo& info,
                                                unsigned int mask, tContProfileInfo& wanted) {
    tContProfileDefaultSet(wanted);

    if ((mask & tContParmId) != 0) {
        if (info.tContId > kTContIdMax) {
            logError(kOperation,
                     "ONUQOS ERROR - tContProfileCreateAndSet: tcontId domain error: ", info.tContId);
            return onuQosResOutOfRange;
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

    const auto rates = tContProfileRatesOf(wanted.tContType);
    const bool keepsType = stored != nullptr && stored->tContType == wanted.tContType;
    for (const TContRate* row : kTContRates) {
        const std::uint32_t least = rates.*row->least;
        if ((mask & row->parm) == 0) {
            wanted.*row->rate = keepsType ? stored->*row->rate : least;
            continue;
        }
        const std::uint32_t value = info.*row->rate;
        if (value != 0 && (value < least || value > TCONT_PROFILE_RATE_MAX)) {
            logError(kOperation, row->domainError, value);
            return onuQosResOutOfRange;
        }
        if (!(rates.*row->configurable) && value != least) {
            logError(kOperation, row->notConfigurable);
            return onuQosResOutOfRange;
        }
        wanted.*row->rate = onuQosRoundRateTcont(value, row->type);
    }

    switch (wanted.tContType) {
        case tContType1:
            wanted.maximumRate = wanted.fixedRate;
            return onuQosResOk;
        case tContType2:
            wanted.maximumRate = wanted.assuredRate;
            return onuQosResOk;
        case tContType3:
            if (!tContType3RatesAgree(wanted.assuredRate, wanted.maximumRate)) {
                logError(kOperation,
                         "ONUQOS ERROR - tContProfileCreateAndSet: Type 3 assured-max rate inconsistency");
                return onuQosResRateError;
            }
            return onuQosResOk;
        case tContType4:
            return onuQosResOk;
        case tContType5:
            if (!tContType5GuaranteeValid(wanted.fixedRate, wanted.assuredRate)) {
                logError(kOperation,
                         "ONUQOS ERROR - tContProfileCreateAndSet: Type 5 fixed-assured rate inconsistency");
                return onuQosResRateError;
            }
            if (!tContType5MaximumAgrees(wanted.fixedRate, wanted.assuredRate, wanted.maximumRate)) {
                logError(
                    kOperation,
                    "ONUQOS ERROR - tContProfileCreateAndSet: Type 5 max-fixed-assured rate inconsistency");
                return onuQosResRateError;
            }
            return onuQosResOk;
        default:
            return onuQosResError;
    }
}

onuQos::onuQosRes onuQos::tContProfileWantedSet(const std::string& name, const tContProfileInfo& wanted,
                                                unsigned int mask, bool existed) {
    if ((mask & tContParmId) != 0) {
        const onuQosRes res = tContProfileIdSet(name, wanted.tContId);
        if (res != onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - tContProfileIdSet error: name=", name,
                     ", id=", wanted.tContId);
            return res;
        }
    }
    if ((mask & tContParmType) != 0) {
        const onuQosRes res = tContProfileTypeSet(name, wanted.tContType);
        if (res != onuQosResOk) {
            logError(kOperation, "ONUQOS ERROR - tContProfileTypeSet error: name=", name,
                     ", type=", static_cast<int>(wanted.tContType));
            return res;
        }
    }

    const auto rates = tContProfileRatesOf(wanted.tContType);
    const tContProfileInfo& stored = tContProfileMap.at(name);
    for (const TContRate* row : writeOrder(existed, stored, wanted)) {
        if ((mask & row->parm) == 0 || !(rates.*row->configurable)) {
            continue;
        }
        const onuQosRes res = (this->*row->set)(name, wanted.*row->rate);
        if (res != onuQosResOk) {
            logError(kOperation, row->setError, name, ", rate=", wanted.*row->rate);
            return res;
        }
    }
    return onuQosResOk;
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

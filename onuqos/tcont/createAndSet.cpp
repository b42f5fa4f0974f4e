#include <optional>

#include "onuqos/rules/tContRequest.h"
#include "onuqos/support/log.h"
#include "onuqos/tcont/rates.h"

namespace {

constexpr const char* kOperation = "tContProfileCreateAndSet";

using RateRules = std::map<onuTContProfileType, onuTContProfileRates>;

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

    const bool keepsType = stored != nullptr && stored->tContType == wanted.tContType;
    const rules::TContRequest request{
        .type = wanted.tContType,
        .asked = rules::ratesOf(info),
        .mask = mask,
        .kept = keepsType ? std::optional(rules::ratesOf(*stored)) : std::nullopt};
    const auto verdict = rules::tContRequestVerdict(
        rowOf(rateRules, wanted.tContType), request, rules::limitsOf(onuQos::TCONT_RATE_GRANULARITY),
        [&module](std::uint32_t rate, onuTContProfileRateType type) {
            return module.onuQosRoundRateTcont(rate, type);
        });
    if (verdict.kind != nullptr) {
        const TContRate& row = tContRateOf(*verdict.kind);
        if (verdict.reason == rules::RateReason::notCarried) {
            logError(kOperation, row.notConfigurable);
        } else {
            logError(kOperation, row.domainError, info.*row.kind.stored);
        }
        return resultOf(verdict.result());
    }
    for (const TContRate& row : kTContRates) {
        wanted.*row.kind.stored = verdict.rates.*row.kind.value;
    }

    const char* text = nullptr;
    switch (verdict.reason) {
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
    return resultOf(verdict.result());
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
    for (const rules::TContRateKind* kind :
         rules::tContWriteOrder(existed, wanted.tContType, rules::ratesOf(stored), rules::ratesOf(wanted))) {
        const TContRate& row = tContRateOf(*kind);
        if ((mask & kind->parm) == 0 || !(rates.*kind->configurable)) {
            continue;
        }
        const onuQos::onuQosRes res = (module.*row.set)(name, wanted.*kind->stored);
        if (res != onuQos::onuQosResOk) {
            logError(kOperation, row.setError, name, ", rate=", wanted.*kind->stored);
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

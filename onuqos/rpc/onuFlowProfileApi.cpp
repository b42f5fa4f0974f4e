#include "onuqos/rpc/api.h"
#include "onuqos/rpc/conversions.h"

namespace {

onuQos& module() {
    return singleton<onuQos>::instance();
}

std::uint32_t codeOf(onuQos::onuQosRes res) {
    rpcOnuFlowProfileRes code = rpcOnuFlowProfileResError;
    module().onuFlowProfileResTypeSet(res, code);
    return code;
}

/// The answer to a read: the record on success, and 1 when it has no form on the wire.
std::uint32_t answer(onuQos::onuQosRes res, const onuQos::onuFlowProfileInfo& info,
                     rpcOnuFlowProfileInfo& record) {
    if (res != onuQos::onuQosResOk) {
        return codeOf(res);
    }
    return wire::onuFlowProfileSet(record, info) ? rpcOnuFlowProfileResOk : rpcOnuFlowProfileResError;
}

}  // namespace

std::uint32_t onuFlowProfileCreate(const char* name) {
    return codeOf(module().onuFlowProfileCreate(wire::text(name)));
}

std::uint32_t onuFlowProfileDelete(const char* name) {
    return codeOf(module().onuFlowProfileDelete(wire::text(name)));
}

std::uint32_t onuFlowProfileRename(const char* oldName, const char* newName) {
    return codeOf(module().onuFlowProfileRename(wire::text(oldName), wire::text(newName)));
}

std::uint32_t onuFlowProfileCopy(const char* srcName, const char* dstName) {
    return codeOf(module().onuFlowProfileCopy(wire::text(srcName), wire::text(dstName)));
}

std::uint32_t onuFlowProfileGet(const char* name, rpcOnuFlowProfileInfo* info) {
    onuQos::onuFlowProfileInfo profile;
    return answer(module().onuFlowProfileGet(wire::text(name), profile), profile, *info);
}

std::uint32_t onuFlowProfileRuleSet(const char* name, const rpcOnuFlowProfileRule* rule) {
    onuQos::onuFlowProfileRuleType type{};
    if (!module().onuFlowProfileRuleTypeSet(rule->ruleType, type)) {
        return rpcOnuFlowProfileResError;
    }
    onuQos::onuFlowProfileRule wanted = wire::ruleOf(*rule);
    return codeOf(module().onuFlowProfileRuleSet(
        wire::text(name), wanted, type, static_cast<onuQos::onuFlowProfileOperation>(rule->operation)));
}

std::uint32_t onuFlowProfileActionSet(const char* name, const rpcOnuFlowProfileAction* action) {
    onuQos::onuFlowProfileActionType type{};
    if (!module().onuFlowProfileActionTypeSet(action->actionType, type)) {
        return rpcOnuFlowProfileResError;
    }
    onuQos::onuFlowProfileAction wanted = wire::actionOf(*action);
    return codeOf(module().onuFlowProfileActionSet(
        wire::text(name), wanted, type, static_cast<onuQos::onuFlowProfileOperation>(action->operation)));
}

std::uint32_t onuFlowProfileIsApplied(const char* name, bool_t* attached) {
    *attached = module().profileIsAppliedOnuFlow(wire::text(name)) ? TRUE : FALSE;
    return rpcOnuFlowProfileResOk;
}

std::uint32_t onuFlowProfileActionDefaultGet(rpcOnuFlowProfileAction* action) {
    onuQos::onuFlowProfileAction defaults;
    const onuQos::onuQosRes res = module().onuFlowProfileActionDefaultGet(defaults);
    if (res == onuQos::onuQosResOk) {
        wire::actionSet(*action, defaults);
    }
    return codeOf(res);
}

std::uint32_t onuFlowProfileFirstGet(rpcOnuFlowProfileInfo* info) {
    onuQos::onuFlowProfileInfo profile;
    return answer(module().onuFlowProfileFirstGet(profile), profile, *info);
}

std::uint32_t onuFlowProfileNextGet(const char* name, rpcOnuFlowProfileInfo* info) {
    onuQos::onuFlowProfileInfo profile;
    return answer(module().onuFlowProfileNextGet(wire::text(name), profile), profile, *info);
}

std::uint32_t onuFlowProfileCreateAndSet(const char* name, const rpcOnuFlowProfileInfo* info,
                                         rpcOnuFlowProfileParmsMask mask) {
    const onuQos::onuFlowProfileInfo wanted{.name = wire::nameOf(info->name),
                                            .rule = wire::ruleOf(info->rule),
                                            .action = wire::actionOf(info->action),
                                            .appliedIntfSet = {}};
    return codeOf(module().onuFlowProfileCreateAndSet(wire::text(name), wanted, mask));
}

#include "onuqos/entity/onuQos.h"
#include "onuqos/support/log.h"

void onuQos::onuQosOMApiServiceNameGen(const std::string& onuFlowProfileName,
                                       const std::string& tContProfileName, std::string& bindingName) const {
    bindingName = onuFlowProfileName + "-" + tContProfileName;
}

onuQos::onuQosRes onuQos::flowIdToServiceName(unsigned int onuIntf, unsigned int flowId,
                                              std::string& serviceName) const {
    const ReadLock lock("flowIdToServiceName");
    if (!lock) {
        return onuQosResError;
    }
    std::string wanted;
    if (OMApi.flowIdToServiceName(onuIntf, flowId, wanted) != 0) {
        return onuQosResError;
    }
    const auto bindings = onuQosServiceIntfMap.find(onuIntf);
    if (bindings == onuQosServiceIntfMap.end()) {
        return onuQosResError;
    }
    for (const auto& [name, binding] : bindings->second) {
        std::string bindingName;
        onuQosOMApiServiceNameGen(binding.onuFlowProfileName, binding.tContProfileName, bindingName);
        if (bindingName == wanted) {
            serviceName = name;
            return onuQosResOk;
        }
    }
    return onuQosResError;
}

#pragma once

#include <onuqos.h>

#include <string>

#include "onuqos/entity/onuQos.h"

/// Between the records of the wire and those of the module.
namespace wire {

/// The text of an argument; a null pointer is the empty text.
inline std::string text(const char* argument) {
    return argument == nullptr ? std::string() : std::string(argument);
}

/// The text of a record's name field, up to its first NUL.
std::string nameOf(const char (&field)[ONUQOS_NAME_BYTES]);

/// The first 64 bytes of `name`, and zeros after them.
void nameSet(char (&field)[ONUQOS_NAME_BYTES], const std::string& name);

onuQos::onuFlowProfileRule ruleOf(const rpcOnuFlowProfileRule& rule);
onuQos::onuFlowProfileAction actionOf(const rpcOnuFlowProfileAction& action);
void actionSet(rpcOnuFlowProfileAction& record, const onuQos::onuFlowProfileAction& action);

/// False when a VLAN has no form on the wire; name and PCP are written by then.
bool onuFlowProfileSet(rpcOnuFlowProfileInfo& record, const onuQos::onuFlowProfileInfo& info);

tContProfileInfo tContProfileOf(const rpcTContProfileInfo& record);

/// Id, type and rates; false for a type without a form on the wire, after the id.
bool tContRatesSet(rpcTContProfileInfo& record, const tContProfileInfo& info);

/// The SR-DBA fields; false for an allocation type without a form on the wire, with nothing written.
bool tContSrdbaSet(rpcTContProfileInfo& record, const tContProfileInfo& info);

/// The wire counts the two DBA allocation types the other way round; false for anything else.
bool allocTypeOf(rpcTContProfileAllocType wireType, onuTContProfileDbaCtrlMode& mode);

}  // namespace wire

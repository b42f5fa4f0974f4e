#pragma once

#include <onuqos.h>

#include <cstdint>

/// The module's in-process interface in the shape of the wire: one function a procedure. Each converts its
/// arguments, calls the `onuQos` operation of the same name, and answers the procedure's result code as the
/// operation's result maps to it; 1 where it has no code of its own. Outputs are written only on success, but
/// for a stored value that has no form on the wire, which answers 1 after the fields already written. Names
/// are NUL-terminated; a null pointer counts as the empty name. The functions take no lock of their own and
/// may be called from any thread. Rates in kbit/s.
extern "C" {

#pragma GCC visibility push(default)

// ONU flow profiles; the results are those of `rpcOnuFlowProfileRes`.

std::uint32_t onuFlowProfileCreate(const char* name);
std::uint32_t onuFlowProfileDelete(const char* name);
std::uint32_t onuFlowProfileRename(const char* oldName, const char* newName);
std::uint32_t onuFlowProfileCopy(const char* srcName, const char* dstName);
/// Direction, types and operations of the record are not written.
std::uint32_t onuFlowProfileGet(const char* name, rpcOnuFlowProfileInfo* info);
std::uint32_t onuFlowProfileRuleSet(const char* name, const rpcOnuFlowProfileRule* rule);
std::uint32_t onuFlowProfileActionSet(const char* name, const rpcOnuFlowProfileAction* action);
/// Always 0; an unknown profile is not attached.
std::uint32_t onuFlowProfileIsApplied(const char* name, bool_t* attached);
std::uint32_t onuFlowProfileActionDefaultGet(rpcOnuFlowProfileAction* action);
std::uint32_t onuFlowProfileFirstGet(rpcOnuFlowProfileInfo* info);
std::uint32_t onuFlowProfileNextGet(const char* name, rpcOnuFlowProfileInfo* info);
std::uint32_t onuFlowProfileCreateAndSet(const char* name, const rpcOnuFlowProfileInfo* info,
                                         rpcOnuFlowProfileParmsMask mask);

// T-CONT profiles, admission control and ranges; the results are those of `rpcTContProfileRes`.

std::uint32_t tContProfileCreate(const char* name);
std::uint32_t tContProfileDelete(const char* name);
std::uint32_t tContProfileRename(const char* oldName, const char* newName);
std::uint32_t tContProfileCopy(const char* srcName, const char* dstName);
std::uint32_t tContProfileGet(const char* name, rpcTContProfileInfo* info);
/// Always 0; an unknown profile is not attached.
std::uint32_t tContProfileIsApplied(const char* name, bool_t* attached);
/// Does not write the name.
std::uint32_t tContProfileDefaultGet(rpcTContProfileInfo* info);
/// Iteration does not write the SR-DBA fields.
std::uint32_t tContProfileFirstGet(rpcTContProfileInfo* info);
std::uint32_t tContProfileNextGet(const char* name, rpcTContProfileInfo* info);
std::uint32_t tContProfileIdSet(const char* name, std::uint32_t tContId);
/// 1 for a type above 5.
std::uint32_t tContProfileTypeSet(const char* name, rpcTContProfileType tContType);
std::uint32_t tContProfileFixedRateSet(const char* name, std::uint32_t rate);
std::uint32_t tContProfileAssuredRateSet(const char* name, std::uint32_t rate);
std::uint32_t tContProfileMaximumRateSet(const char* name, std::uint32_t rate);
/// Writes T-CONT id, type and rates only.
std::uint32_t tContProfileDefaultTypeGet(rpcTContProfileType tContType, rpcTContProfileInfo* info);
/// Takes the DBA allocation type in the module's own numbering; create-and-set does not act upon it.
std::uint32_t tContProfileCreateAndSet(const char* name, const rpcTContProfileInfo* info,
                                       rpcTContProfileParmsMask mask);
/// 1 for anything but 1 and 2.
std::uint32_t tContProfileAllocTypeSet(const char* name, rpcTContProfileAllocType dbaAllocType);
std::uint32_t tContProfileSrdbaWeightSet(const char* name, std::uint32_t weight);
std::uint32_t tContProfileSrdbaPrioritySet(const char* name, std::uint32_t priority);

std::uint32_t tContProfileConsApplyStateGet(bool_t* applying);
std::uint32_t onuQosCacOltGet(std::uint32_t intf, rpcCacOltInfo* info);
/// Always 0.
std::uint32_t onuQosPortRangesGet(rpcOnuQosRangesData* data);

#pragma GCC visibility pop

}  // extern "C"

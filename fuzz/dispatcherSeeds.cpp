// Writes the seeds of the dispatcher's corpus into a directory: one valid call for each procedure, encoded by
// the generated XDR routines, and a few conversations.

#include <onuqos.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>

#include "callSequence.h"
#include "onuqos/rpc/dispatch.h"

namespace {

/// The routines take names that they could change; encoding does not.
char* text(const char* name) {
    return const_cast<char*>(name);
}

template <typename Argument>
std::string encoded(bool_t (*routine)(XDR*, Argument*), Argument argument) {
    std::string bytes(1U << 13U, '\0');
    XDR xdrs;
    xdrmem_create(&xdrs, bytes.data(), static_cast<u_int>(bytes.size()), XDR_ENCODE);
    if (!routine(&xdrs, &argument)) {
        std::fputs("an argument cannot be encoded\n", stderr);
        std::exit(1);
    }
    bytes.resize(xdr_getpos(&xdrs));
    return bytes;
}

std::string name(const char* profile) {
    return encoded(xdr_wrapstring, text(profile));
}

rpcOnuFlowProfileRule vlanRule(unsigned int vlan) {
    rpcOnuFlowProfileRule rule{};
    rule.cPcp = 5;
    rule.cVlan[vlan / 8] = static_cast<char>(1U << (7 - vlan % 8));
    rule.ruleType = rpcOnuFlowProfileRuleTypeCVlan;
    rule.operation = rpcOnuFlowProfileOperationAdd;
    return rule;
}

rpcOnuFlowProfileAction action() {
    return {.guarRateUs = 1024,
            .peakRateUs = 4096,
            .flowPriorityUs = 3,
            .flowPriorityDs = 1,
            .actionType = rpcOnuFlowProfileActionTypePeakRateUs,
            .operation = rpcOnuFlowProfileOperationSet};
}

rpcOnuFlowProfileInfo flow(const char* profile) {
    rpcOnuFlowProfileInfo info{.name = {}, .rule = vlanRule(100), .action = action()};
    std::ranges::copy(std::string_view(profile), info.name);
    return info;
}

rpcTContProfileInfo tCont(const char* profile) {
    rpcTContProfileInfo info{};
    std::ranges::copy(std::string_view(profile), info.name);
    info.tContId = 2;
    info.tContType = rpcTContProfileType3;
    info.assuredRate = 512;
    info.maximumRate = 1024;
    info.dbaAllocType = rpcTContProfileAllocType1;
    info.dbaWeight = 2;
    return info;
}

constexpr rpcOnuFlowProfileParmsMask kAllOfAFlow = 0x7E;
constexpr rpcTContProfileParmsMask kAllOfATCont = 0x1FE;

/// An argument that succeeds, for each procedure that takes one.
std::map<rpcproc_t, std::string> arguments() {
    return {
        {1, name("data")},
        {2, name("voip")},
        {3, encoded(xdr_rpc_onuflowprofile_rename_1_argument, {text("voip"), text("calls")})},
        {4, encoded(xdr_rpc_onuflowprofile_copy_1_argument, {text("hsi"), text("data")})},
        {5, name("hsi")},
        {6, encoded(xdr_rpc_onuflowprofile_rule_set_1_argument, {text("voip"), vlanRule(10)})},
        {7, encoded(xdr_rpc_onuflowprofile_action_set_1_argument, {text("voip"), action()})},
        {8, name("hsi")},
        {11, name("hsi")},
        {12, encoded(xdr_rpc_onuflowprofile_create_and_set_1_argument,
                     {text("data"), flow("data"), kAllOfAFlow})},
        {100, name("bronze")},
        {101, name("silver")},
        {102, encoded(xdr_rpc_tcontprofile_rename_1_argument, {text("silver"), text("bronze")})},
        {103, encoded(xdr_rpc_tcontprofile_copy_1_argument, {text("gold"), text("bronze")})},
        {104, name("gold")},
        {105, name("gold")},
        {108, name("gold")},
        {109, encoded(xdr_rpc_tcontprofile_id_set_1_argument, {text("silver"), 3})},
        {110, encoded(xdr_rpc_tcontprofile_type_set_1_argument, {text("silver"), rpcTContProfileType4})},
        {111, encoded(xdr_rpc_tcontprofile_fixed_rate_set_1_argument, {text("silver"), 512})},
        {112, encoded(xdr_rpc_tcontprofile_assured_rate_set_1_argument, {text("silver"), 512})},
        {113, encoded(xdr_rpc_tcontprofile_maximum_rate_set_1_argument, {text("silver"), 2048})},
        {114, encoded(xdr_rpcTContProfileType, rpcTContProfileType2)},
        {115, encoded(xdr_rpc_tcontprofile_create_and_set_1_argument,
                      {text("bronze"), tCont("bronze"), kAllOfATCont})},
        {116, encoded(xdr_rpc_tcontprofile_alloc_type_set_1_argument,
                      {text("silver"), rpcTContProfileAllocType1})},
        {117, encoded(xdr_rpc_tcontprofile_srdba_weight_set_1_argument, {text("silver"), 4})},
        {118, encoded(xdr_rpc_tcontprofile_srdba_priority_set_1_argument, {text("silver"), 1})},
        {201, encoded(xdr_u_int, 1U)},
    };
}

std::string call(rpcproc_t procedure, std::string_view argument, bool odd = false) {
    return fuzz::callBytes(
        {.procedure = static_cast<std::uint32_t>(procedure), .odd = odd, .argument = argument});
}

/// More profiles of a family than there may be.
std::string tooMany(rpcproc_t create) {
    std::string calls;
    for (int i = 0; i < 260; ++i) {
        calls += call(create, name(std::to_string(i).c_str()));
    }
    return calls;
}

void write(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream out(file, std::ios::binary);
    out << bytes;
    if (!out.flush()) {
        std::fprintf(stderr, "%s cannot be written\n", file.c_str());
        std::exit(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: dispatcher_seeds DIRECTORY\n", stderr);
        return 2;
    }
    const std::filesystem::path directory = argv[1];
    const auto byProcedure = arguments();
    std::string everything;
    std::string cutShort;
    write(directory / "0-null", call(NULLPROC, ""));
    for (const Procedure& procedure : onuqosProcedures()) {
        const auto row = byProcedure.find(procedure.number);
        const std::string argument = row == byProcedure.end() ? "" : row->second;
        write(directory / (std::to_string(procedure.number) + "-" + std::string(procedure.name)),
              call(procedure.number, argument));
        everything += call(procedure.number, argument, true);
        if (!argument.empty()) {
            cutShort += call(procedure.number, std::string_view(argument).substr(0, argument.size() - 4));
        }
    }
    write(directory / "all-on-odd-addresses", everything);
    write(directory / "all-cut-short", cutShort);
    write(directory / "too-many-flow-profiles", tooMany(1));
    write(directory / "too-many-tcont-profiles", tooMany(100));
    return 0;
}

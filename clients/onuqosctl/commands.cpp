#include "clients/onuqosctl/commands.h"

#include "common/name.h"

namespace onuqosctl {

void Session::require(Family family, std::int32_t result, const std::string& request,
                      const std::string& hint) const {
    if (result == 0) {
        return;
    }
    const std::string command = "onuqosctl ";
    std::string addressed = hint.empty() ? resultHint(family, result) : hint;
    for (std::size_t at = addressed.find(command); at != std::string::npos;
         at = addressed.find(command, at + self.size())) {
        addressed.replace(at, command.size() - 1, self);
    }
    throw Refusal{family, result, request, addressed};
}

void does(const common::Command& command, Action& action, Action run) {
    command.whenNamed([&action, run = std::move(run)] { action = run; });
}

common::Given addName(const common::Command& command, const std::string& placeholder,
                      const std::string& help) {
    command.footer(common::kNameHelp);
    return command.argument(placeholder, help);
}

rules::ClassLimits askPortClass(Session& session, const std::string& request) {
    const auto& reply = session.program.ask(rpc_onu_qos_port_ranges_get_1);
    session.require(Family::tcont, resultOf(reply), request);
    return rules::limitsOf(reply.data.tContRateGranularity);
}

}  // namespace onuqosctl

#include "clients/onuqosctl/commands.h"

#include "common/name.h"

namespace onuqosctl {

namespace {

/// `text` with the commands of this client in it as `self` calls it.
std::string addressed(std::string text, const std::string& self) {
    const std::string command = "onuqosctl ";
    for (std::size_t at = text.find(command); at != std::string::npos;
         at = text.find(command, at + self.size())) {
        text.replace(at, command.size() - 1, self);
    }
    return text;
}

}  // namespace

void Session::require(Family family, std::int32_t result, const std::string& request,
                      const std::string& hint) const {
    Explanation why;
    why.hint = hint;
    requireOr(family, result, request, std::move(why));
}

void Session::requireOr(Family family, std::int32_t result, const std::string& request,
                        Explanation why) const {
    if (result == 0) {
        return;
    }
    if (why.hint.empty() && why.reason.empty()) {
        why.hint = resultHint(family, result);
    }
    for (std::string* text : {&why.hint, &why.command}) {
        *text = addressed(*text, self);
    }
    throw Refusal{family, result, request, std::move(why)};
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

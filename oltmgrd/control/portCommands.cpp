#include "oltmgrd/control/handlers.h"
#include "oltmgrd/observe/portLedger.h"

namespace oltmgrd {
namespace {

Answer ledgerGet(CommandContext& context, const Arguments& arguments) {
    const auto port = arguments.numberIfGiven("interface");
    const auto ports = portLedgers(moduleOf(context), servicesOf(context), *context.host, port);
    if (!ports) {
        throw CommandError("the platform lock was not obtained; try again");
    }
    if (port && ports->empty()) {
        throw CommandError("interface " + std::to_string(*port) + " is no PON port");
    }
    Json list = Json::array();
    for (const PortLedger& ledger : *ports) {
        list.push_back(toJson(ledger));
    }
    return {.text = {}, .arguments = {{"ports", std::move(list)}}};
}

constexpr Handler kHandlers[] = {{"ledger-get", ledgerGet}};

}  // namespace

std::span<const Handler> portHandlers() {
    return kHandlers;
}

}  // namespace oltmgrd

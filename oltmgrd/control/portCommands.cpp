#include "oltmgrd/control/handlers.h"
#include "oltmgrd/observe/portLedger.h"
#include "oltmgrd/observe/tables.h"

namespace oltmgrd {
namespace {

constexpr const char* kNoLock = "the platform lock was not obtained; try again";

onuQosTables tablesOf(const CommandContext& context) {
    onuQosTables tables;
    if (call<&onuQosClassInterface::onuQosTablesGet>(moduleOf(context), tables) != onuQos::onuQosResOk) {
        throw CommandError(kNoLock);
    }
    return tables;
}

Answer ledgerGet(CommandContext& context, const Arguments& arguments) {
    const auto port = arguments.numberIfGiven("interface");
    const auto ports = portLedgers(moduleOf(context), servicesOf(context), *context.host, port);
    if (!ports) {
        throw CommandError(kNoLock);
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

Answer onuList(CommandContext& context, const Arguments& arguments) {
    const auto wanted = arguments.numberIfGiven("interface");
    const auto port = arguments.numberIfGiven("port");
    const onuQosTables tables = tablesOf(context);
    Json list = Json::array();
    for (const HostOnu& onu : context.host->interfaces().onus) {
        if ((wanted && *wanted != onu.interface) || (port && *port != onu.port)) {
            continue;
        }
        const auto services = tables.onuQosServiceIntfMap.find(onu.interface);
        const bool hasRecords = services != tables.onuQosServiceIntfMap.end();
        Json json{{"interface", onu.interface},
                  {"port", onu.port},
                  {"services", hasRecords ? Json(services->second.size()) : Json()}};
        if (const auto account = tables.onuQosOnuCacMap.find(onu.interface);
            account != tables.onuQosOnuCacMap.end()) {
            json.update(accountJson(tables, account->second));
        }
        list.push_back(std::move(json));
    }
    if (wanted && list.empty()) {
        throw CommandError("interface " + std::to_string(*wanted) + " is no ONU" +
                           (port ? " of port " + std::to_string(*port) : ""));
    }
    return {.text = {}, .arguments = {{"onus", std::move(list)}}};
}

Answer tablesGet(CommandContext& context, const Arguments& arguments) {
    return {.text = {},
            .arguments = tablesJson(tablesOf(context), {.onu = arguments.numberIfGiven("interface"),
                                                        .busy = arguments.boolean("busy")})};
}

constexpr Handler kHandlers[] = {{"ledger-get", ledgerGet}, {"onu-list", onuList}, {"tables-get", tablesGet}};

}  // namespace

std::span<const Handler> portHandlers() {
    return kHandlers;
}

}  // namespace oltmgrd

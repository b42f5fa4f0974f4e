#include <csignal>
#include <iostream>
#include <limits>

#include "commands.h"
#include "errors.h"
#include "number.h"

namespace {

using onuqosctl::Endpoint;

struct Options {
    std::string transport = "tcp";
    std::string port;
    std::string timeout = "5";
    clients::Format format = clients::Format::table;
};

Endpoint endpointFrom(const Options& options) {
    Endpoint endpoint;
    endpoint.udp = options.transport == "udp";
    endpoint.timeoutSeconds = clients::parseSeconds(options.timeout, "--timeout");
    if (!options.port.empty()) {
        const std::uint32_t port = clients::parseUnsigned(options.port, "--port");
        if (port == 0 || port > std::numeric_limits<std::uint16_t>::max()) {
            throw clients::UsageError("--port: a port is a number from 1 to 65535");
        }
        endpoint.port = static_cast<std::uint16_t>(port);
    }
    return endpoint;
}

int refuse(const onuqosctl::Refusal& refusal, clients::Format format) {
    if (format == clients::Format::json) {
        onuqosctl::printJson(std::cout, onuqosctl::refusalToJson(refusal));
    }
    std::cerr << "onuqosctl: " << refusal.request << ": " << resultName(refusal.family, refusal.result)
              << " (" << refusal.result << "): " << resultMeaning(refusal.family, refusal.result) << '\n';
    if (!refusal.hint.empty()) {
        std::cerr << "hint: " << refusal.hint << '\n';
    }
    return clients::kRefused;
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);  // a server that closes the connection is an error to report

    CLI::App app(
        "Manages the ONU quality of service of an OLT: T-CONT profiles, ONU flow profiles, admission "
        "control.",
        "onuqosctl");
    app.require_subcommand(1)->fallthrough();
    app.footer(
        "Asks RPC program 536870950 (0x20000026) version 1 on this host, through the portmapper unless "
        "--port is given.\n"
        "Exit status: 0 carried out, 1 refused by the module (its result is printed), 2 usage, 3 no answer.");

    Options options;
    onuqosctl::Action action;
    app.add_option("--transport", options.transport, "How to ask: tcp or udp")
        ->check(CLI::IsMember({"tcp", "udp"}).description(""))
        ->type_name("tcp|udp")
        ->capture_default_str();
    app.add_option("--port", options.port, "Port of the module on 127.0.0.1, as in oltmgrd's ready line")
        ->type_name("N");
    app.add_option("--timeout", options.timeout, "Seconds to wait for each answer, connecting included")
        ->type_name("S")
        ->capture_default_str();
    clients::addFormatOptions(app, options.format);
    onuqosctl::addTContCommands(app, action);
    onuqosctl::addFlowCommands(app, action);
    onuqosctl::addCacCommand(app, action);
    onuqosctl::addModuleCommands(app, action);

    return clients::runCommandLine(app, argc, argv, [&]() -> int {
        onuqosctl::Program program(endpointFrom(options));
        onuqosctl::Session session{program, options.format, std::cout};
        try {
            return action(session);
        } catch (const onuqosctl::Refusal& refusal) {
            return refuse(refusal, options.format);
        }
    });
}

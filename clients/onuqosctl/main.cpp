#include <csignal>
#include <iostream>

#include "clients/onuqosctl/commands.h"
#include "clients/onuqosctl/output.h"
#include "common/number.h"
#include "common/standardDescriptors.h"

int main(int argc, char** argv) {
    common::openStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);  // a server that closes the connection is an error to report

    common::CommandLine line("onuqosctl",
                             "Manages the ONU quality of service of an OLT: T-CONT profiles, ONU flow "
                             "profiles, admission control.");
    const common::Command app = line.commands();
    app.footer(
        R"(Asks RPC program 536870950 (0x20000026) version 1 on this host, through the portmapper unless --port is given.
Exit status: 0 carried out, 1 refused by the module (its result is printed), 2 usage, 3 no answer.
JSON output of what is not carried out is one document: result, resultName, request, text, hint, and an explanation
where the rules of the module give one.)");

    const common::Given transport = app.choice("--transport", {"tcp", "udp"}, "How to ask", "tcp");
    const common::Given port =
        app.option("--port", "N", "Port of the module on 127.0.0.1, as in oltmgrd's ready line");
    const common::Given timeout =
        app.option("--timeout", "S", "Seconds to wait for each answer, connecting included", "5");
    onuqosctl::Action action;
    onuqosctl::addTContCommands(app, action);
    onuqosctl::addFlowCommands(app, action);
    onuqosctl::addCacCommand(app, action);
    onuqosctl::addModuleCommands(app, action);

    return line.run(argc, argv, [&]() -> int {
        std::string self = "onuqosctl";
        onuqosctl::Endpoint endpoint;
        endpoint.timeoutSeconds = common::parseSeconds(timeout.text(), "--timeout");
        endpoint.udp = transport.text() == "udp";
        if (transport.present()) {
            self += " --transport " + transport.text();
        }
        if (port.present()) {
            endpoint.port =
                static_cast<std::uint16_t>(common::parseUnsigned(port.text(), "--port", {1, 0xFFFF}));
            self += " --port " + port.text();
        }
        onuqosctl::Program program(endpoint);
        onuqosctl::Session session{program, line.format(), std::cout, self};
        try {
            return action(session);
        } catch (const onuqosctl::Refusal& refusal) {
            return report(refusal, session.format);
        }
    });
}

#include "clients/onuqosplan/commands.h"
#include "common/standardDescriptors.h"

int main(int argc, char** argv) {
    common::openStandardDescriptors();
    common::CommandLine line("onuqosplan",
                             "Plans the PON ports of an OLT, by the rules that its module keeps.");
    const common::Command app = line.commands();
    app.footer(
        R"(An OLT is read from a running oltmgrd (--control), or from its files (--inventory and --config).
Exit status: 0 fits, 1 does not fit, 2 wrong usage or a file at fault, 3 no answer.)");
    const onuqosplan::Source source(app);
    onuqosplan::Request request{.source = &source, .action = {}};
    for (const auto add : {onuqosplan::addFit, onuqosplan::addDistance, onuqosplan::addPrice,
                           onuqosplan::addPlan, onuqosplan::addHeat, onuqosplan::addFleet}) {
        add(app, request);
    }
    return line.run(argc, argv, [&] { return request.action(line.format()); });
}

#include "oltmgrd/process/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

#include "common/controlPath.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/platform/host.h"

namespace oltmgrd {
namespace {

constexpr double kDeadlineMaxSeconds = 86'400;

}  // namespace

Options readOptions(int argc, char** argv) {
    Options options;
    options.control = common::defaultControlPath();
    double deadlineSeconds = std::chrono::duration<double>(options.lockDeadline).count();

    CLI::App app(
        "Management process of an OLT: loads its inventory and the modules, serves their RPC programs and "
        "a control channel.",
        "oltmgrd");
    app.set_version_flag("--version", "oltmgrd " OLTMGRD_VERSION);
    app.add_option("--inventory", options.inventory,
                   "The OLT's ports, ONUs and features (JSON, comments allowed)")
        ->required()
        ->type_name("FILE");
    app.add_option("--config", options.configuration,
                   "The configuration that is restored at the start and saved by config-save")
        ->type_name("FILE");
    app.add_option("--module", options.modules,
                   "A module to load, libonuqos.so unless given; may be repeated")
        ->type_name("FILE")
        ->expected(1)
        ->take_all();
    app.add_option("--control", options.control, "The socket of the control channel")
        ->type_name("PATH")
        ->capture_default_str();
    app.add_option("--log-file", options.logFile,
                   "Where the log goes instead of standard error; SIGHUP reopens it")
        ->type_name("FILE");
    app.add_option("--log-level", options.logLevel,
                   "How much is logged: 0 nothing, 1 errors, 2 notices too, 3 traces too")
        ->type_name("N")
        ->check(CLI::Range(0, kLogLevelMax))
        ->capture_default_str();
    app.add_option("--log-rate", options.logRate,
                   "Lines a second that are logged of each level, after a burst of 2000; 0 for no limit")
        ->type_name("N")
        ->capture_default_str();
    app.add_flag("--take-over", options.takeOver,
                 "Starts although another process serves the RPC program; the portmapper leads clients here "
                 "then");
    app.add_option("--lock-deadline", deadlineSeconds,
                   "Seconds after which the business-logic lock is not waited for")
        ->type_name("S")
        ->check(CLI::Range(0.0, kDeadlineMaxSeconds))
        ->capture_default_str();
    app.footer(
        "SIGTERM and SIGINT stop it. Exit status: 0 stopped, 1 failed, 2 command line, inventory or "
        "configuration at fault.");

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        std::exit(app.exit(request));
    } catch (const CLI::RequiredError& error) {
        const auto unknown = app.remaining();
        throw StartError((unknown.empty() ? error.what() : "unknown argument: " + unknown.front()) +
                             "; oltmgrd --help lists the options",
                         kBadInput);
    } catch (const CLI::ParseError& error) {
        throw StartError(std::string(error.what()) + "; oltmgrd --help lists the options", kBadInput);
    }
    options.lockDeadline = std::chrono::milliseconds(static_cast<long long>(deadlineSeconds * 1000));
    return options;
}

}  // namespace oltmgrd

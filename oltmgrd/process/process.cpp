#include "oltmgrd/process/process.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "common/text.h"
#include "oltmgrd/configuration/store.h"
#include "oltmgrd/control/server.h"
#include "oltmgrd/control/socket.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/memory.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/observe/portLedger.h"
#include "oltmgrd/platform/standin/host.h"
#include "oltmgrd/process/operatorLog.h"
#include "oltmgrd/process/signals.h"
#include "oltmgrd/rpc/portmapper.h"
#include "oltmgrd/rpc/server.h"
#include "oltmgrd/services/serviceSide.h"

namespace oltmgrd {
namespace {

constexpr std::chrono::seconds kRegistrationLimit{2};
constexpr std::chrono::seconds kRequestsLimit{1};
constexpr std::chrono::milliseconds kTurnLimit{5000};
constexpr std::chrono::milliseconds kTurnInterval{10};
// For a stop in order. What is left undone then takes the process half a second more at most.
constexpr std::chrono::milliseconds kStopLimit{1300};
constexpr std::chrono::milliseconds kFlushLimit{100};

/// A stop was asked for while the process was starting.
struct StopAskedFor {};

/// Nothing when there is no configuration to restore.
std::optional<ConfigurationDocument> readSavedConfiguration(const std::string& path) {
    if (path.empty()) {
        return std::nullopt;
    }
    std::error_code error;
    if (std::filesystem::symlink_status(path, error).type() != std::filesystem::file_type::not_found) {
        return loadConfiguration(path);
    }
    const auto directory = std::filesystem::absolute(path).parent_path();
    if (!std::filesystem::is_directory(directory, error)) {
        throw StartError("configuration " + path + ": there is no directory " + directory.string(),
                         kBadInput);
    }
    tellOperator("configuration " + path + ": is not there yet; starting without");
    return std::nullopt;
}

std::string textOf(const HostAlarm& alarm) {
    std::string text = std::string("alarm ") + (alarm.reported ? "raised" : "cleared") + ": code " +
                       std::to_string(alarm.code) + ", interface " + std::to_string(alarm.interface);
    if (!alarm.text.empty()) {
        text += ", " + common::printable(alarm.text);
    }
    for (std::size_t at = 0; at < alarm.numbers.size(); ++at) {
        text += (at == 0 ? ", numbers " : " ") + std::to_string(alarm.numbers[at]);
    }
    return text;
}

/// The management process. Its members are declared in the order in which they are made.
class Process {
public:
    explicit Process(const Options& options)
        : options_(options),
          signals_({.hangUp = reopenLog, .giveUp = [this] { endAtOnce(); }, .limit = kStopLimit}) {}

    ~Process() {
        stop();
        signals_.end();
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Throws `StopAskedFor` as well.
    void start() {
        host_->setLogLevel(options_.logLevel);
        host_->takeLog(takeLogLine);
        for (const std::string& warning : host_->readInventory(options_.inventory)) {
            tellOperator("warning: inventory " + options_.inventory + ": " + warning);
        }
        std::string warning;
        std::optional<LockedFile> configurationFile = lockConfiguration(warning);
        auto configuration = readSavedConfiguration(options_.configuration);
        if (!warning.empty()) {
            tellOperator(warning);
        }
        withLock([this] { socket_.emplace(options_.control); });
        goOn();
        // Saved service profiles take the place of the inventory's, once the profiles that they name are
        // there.
        host_->configure(!configuration);
        host_->setLockDeadline(options_.lockDeadline);
        std::optional<Descriptor> turn = awaitRegistrationTurn();
        refuseToBeSecond();
        loadModule();
        if (configuration_ && configurationFile) {
            configuration_->keep(std::move(*configurationFile));
        }
        notice("starting, inventory " + options_.inventory +
               (options_.configuration.empty() ? "" : ", configuration " + options_.configuration));
        withLock([this] { rpc_.emplace(*host_, tellOperator); });
        if (!portmapperIsThere()) {
            tellOperator(
                "no portmapper takes connections on 127.0.0.1 port 111: RPC clients have to be given the "
                "port (--port) until rpcbind is started.");
        }
        host_->onAlarm([alarms = context_.alarms, module = module_](const HostAlarm& alarm) {
            notice(textOf(alarm));
            alarms->note({.alarm = alarm,
                          .port = module == nullptr ? std::nullopt : ledgerOf(*module, alarm.interface)});
        });
        startEntities();  // before the receive loop: entities may be served only once they have started
        goOn();
        if (configuration) {
            restore(*configuration);
            configuration.reset();
            returnFreeMemory();
        }
        goOn();
        rpc_->start(module_ != nullptr, kRegistrationLimit);
        turn.reset();
        context_.rpc = &*rpc_;
        context_.host = host_.get();
        commands_.emplace(context_);
        control_ = std::make_unique<ControlServer>(socket_->descriptor(), *commands_);
        control_->start();
        sayReady();
    }

    /// Waits until the process is told to stop.
    void run() {
        signals_.awaitStop();
        notice("stopping");
    }

    /// Stops what was started.
    void stop() {
        if (std::exchange(stopped_, true)) {
            return;
        }
        if (rpc_) {
            rpc_->giveUpRegistration();
        }
        const bool isIdle = !control_ || control_->stop(kRequestsLimit);
        if (rpc_) {
            rpc_->stop();
        }
        stopEntities();
        if (!isIdle) {
            // A request still waits for the lock, and would find objects that are gone.
            endAtOnce();
        }
        withLock([this] { socket_.reset(); });
        control_.reset();
        // Those of other platforms may outlive this object.
        host_->onAlarm(nullptr);
    }

private:
    /// Leaves nothing behind that others see, and ends the process.
    [[noreturn]] void endAtOnce() {
        const std::lock_guard guard(ending_);
        socket_.reset();
        tellOperator("stopped with work under way");
        if (rpc_) {
            rpc_->withdraw();
        }
        flushLog(kFlushLimit);
        std::_Exit(kStopped);
    }

    /// Does what `endAtOnce` must not meet halfway.
    template <typename Work>
    void withLock(Work work) {
        const std::lock_guard guard(ending_);
        work();
    }

    void goOn() {
        if (signals_.isStopAskedFor()) {
            throw StopAskedFor();
        }
    }

    /// The lock of the configuration's file, which lasts as long as the process. Without it the file is
    /// restored all the same.
    std::optional<LockedFile> lockConfiguration(std::string& warning) const {
        if (options_.configuration.empty()) {
            return std::nullopt;
        }
        try {
            return LockedFile(options_.configuration);
        } catch (const FileInUseError& error) {
            throw StartError("configuration " + std::string(error.what()) +
                                 "; stop that one or give another file with --config",
                             kBadInput);
        } catch (const FileError& error) {
            // Once it is known that it can be read: it may not be there at all.
            warning = "warning: configuration is restored but cannot be saved: " + std::string(error.what());
        }
        return std::nullopt;
    }

    /// Of two that start at the same time, each would find that nobody serves the program. Any process may
    /// keep the turn, so no start waits for it for ever.
    std::optional<Descriptor> awaitRegistrationTurn() {
        std::optional<Descriptor> turn;
        auto left = options_.takeOver ? 0 : kTurnLimit / kTurnInterval;
        for (; left > 0 && !(turn = takeRegistrationTurn()); --left) {
            goOn();
            std::this_thread::sleep_for(kTurnInterval);
        }
        return turn;
    }

    void refuseToBeSecond() const {
        if (options_.takeOver) {
            return;
        }
        const auto published = publishedPorts();
        if (published && *published != RpcPorts{} && !portmapperIsThere()) {
            throw StartError(
                "the portmapper is that of another network, and has the RPC program for a process there; "
                "give "
                "this network a portmapper and a /run of its own, or have clients there led astray with "
                "--take-over");
        }
        if (published && isProgramServed(*published)) {
            throw StartError("another process serves the RPC program, rpc-udp=" +
                             std::to_string(published->udp) + " rpc-tcp=" + std::to_string(published->tcp) +
                             "; stop that one, or have the portmapper lead clients here with --take-over");
        }
    }

    void loadModule() {
        module_ = loadModules(options_.modules.empty() ? std::vector{defaultModule()} : options_.modules);
        if (module_ != nullptr) {
            services_.emplace(*module_, *host_);
            configuration_.emplace(*module_, *services_, *host_, options_.configuration);
            context_.module = module_;
            context_.services = &*services_;
            configuration_->onSave([](const std::string& text) { notice(text); });
            context_.configuration = &*configuration_;
        }
    }

    void startEntities() {
        entitiesStarted_ = true;
        try {
            host_->startEntities();
        } catch (const HostError& error) {
            throw StartError(error.what());
        }
    }

    void stopEntities() {
        if (!entitiesStarted_) {
            return;
        }
        entitiesStarted_ = false;
        for (const std::string& entity : host_->stopEntities()) {
            tellOperator("entity " + entity + " did not stop; the log says why");
        }
    }

    void restore(const ConfigurationDocument& document) {
        if (!configuration_) {
            throw StartError("configuration " + options_.configuration +
                             ": no loaded module can restore it; give the module with --module");
        }
        configuration_->restore(document);
        const RestoreReport& report = *configuration_->restoreReport();
        const std::string file = "configuration " + options_.configuration + ": ";
        notice(
            file + "restored " + std::to_string(report.profiles) + " profiles, " +
            std::to_string(report.bindings) + " bindings in " +
            std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(report.duration).count()) +
            " ms");
        for (const std::string& entry : report.lost) {
            tellOperator(file + "not restored: " + entry);
        }
        for (const std::string& difference : report.differences) {
            tellOperator(file + difference);
        }
        if (!report.differences.empty()) {
            tellOperator(file + std::to_string(report.differences.size()) +
                         " differences from what was saved, which the lines above tell");
        }
        if (!report.lost.empty()) {
            tellOperator(file + std::to_string(report.lost.size()) +
                         " entries were not restored; the file keeps them until a save is forced");
        }
    }

    void sayReady() const {
        const RpcPorts ports = rpc_->ports();
        const std::string ready = "ready control=" + options_.control +
                                  " rpc-udp=" + std::to_string(ports.udp) +
                                  " rpc-tcp=" + std::to_string(ports.tcp);
        notice(ready);
        printLine("oltmgrd " + ready);
    }

    const Options& options_;
    std::mutex ending_;  // what `endAtOnce` uses
    const std::unique_ptr<Host> host_ = standinHost();
    CommandContext context_;
    std::optional<ControlSocket> socket_;
    const onuQosClassInterface* module_ = nullptr;
    std::optional<ServiceSide> services_;
    std::optional<ConfigurationStore> configuration_;
    std::optional<RpcServer> rpc_;
    bool entitiesStarted_ = false;
    bool stopped_ = false;
    std::optional<CommandTable> commands_;
    std::unique_ptr<ControlServer> control_;
    Signals signals_;  // its thread uses the others from its first moment on
};

}  // namespace

int runProcess(const Options& options) {
    Signals::block();
    hardenRpc();
    openLog({.file = options.logFile, .linesPerSecond = options.logRate});
    Process process(options);
    try {
        process.start();
        process.run();
    } catch (const StopAskedFor&) {
        notice("stopping before it was ready");
    }
    process.stop();
    notice("stopped");
    return kStopped;
}

}  // namespace oltmgrd

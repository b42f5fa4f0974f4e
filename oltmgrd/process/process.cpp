#include "oltmgrd/process/process.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "oltmgrd/configuration/store.h"
#include "oltmgrd/control/server.h"
#include "oltmgrd/control/socket.h"
#include "oltmgrd/files/errors.h"
#include "oltmgrd/files/memory.h"
#include "oltmgrd/module/module.h"
#include "oltmgrd/platform/standin/host.h"
#include "oltmgrd/process/operatorLog.h"
#include "oltmgrd/rpc/guard.h"
#include "oltmgrd/rpc/server.h"
#include "oltmgrd/services/serviceSide.h"
#include "standin/error.h"
#include "standin/log.h"

namespace oltmgrd {
namespace {

constexpr std::chrono::seconds kRegistrationLimit{2};
constexpr std::chrono::seconds kRequestsLimit{1};

/// The signals that the main thread takes. Threads inherit that they are blocked.
sigset_t handledSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

void blockSignals() {
    const sigset_t signals = handledSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

/// Gives the signals their usual effect: the next one ends the process at once.
void unblockSignals() {
    const sigset_t signals = handledSignals();
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void openLog(const Options& options) {
    standin::log::setLevel(options.logLevel);
    setLogsToFile(!options.logFile.empty());
    if (!options.logFile.empty()) {
        try {
            standin::log::toFile(options.logFile);
        } catch (const standin::Error& error) {
            throw StartError(error.what());
        }
    }
}

void reopenLog() {
    try {
        standin::log::reopen();
    } catch (const standin::Error& error) {
        tellOperator(std::string("the log goes on in its old file: ") + error.what());
    }
}

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

/// The management process. Its members stand in the order in which they come to life.
class Process {
public:
    explicit Process(const Options& options) : options_(options) {}

    ~Process() { stopEntities(); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void start() {
        for (const std::string& warning : host_->readInventory(options_.inventory)) {
            tellOperator("warning: inventory " + options_.inventory + ": " + warning);
        }
        auto configuration = readSavedConfiguration(options_.configuration);
        socket_.emplace(options_.control);
        // Saved service profiles take the place of the inventory's, once the profiles that they name are
        // there.
        host_->configure(!configuration);
        host_->setLockDeadline(options_.lockDeadline);
        loadModule();
        rpc_.emplace(*host_);
        if (!rpc_->isPortmapperThere()) {
            tellOperator(
                "no portmapper takes connections on 127.0.0.1 port 111: RPC clients have to be given the "
                "port (--port). To have it published, start rpcbind before oltmgrd.");
        }
        startEntities();  // before the receive loop: entities may be served only once they have started
        if (configuration) {
            restore(*configuration);
            configuration.reset();
            returnFreeMemory();
        }
        rpc_->start(module_ != nullptr, kRegistrationLimit);
        guard_.emplace();
        context_.rpc = &*rpc_;
        context_.host = host_.get();
        commands_.emplace(context_);
        control_ = std::make_unique<ControlServer>(socket_->descriptor(), *commands_);
        control_->start();
        sayReady();
    }

    /// Waits until the process is told to stop.
    static void run() {
        const sigset_t signals = handledSignals();
        while (true) {
            int signal = 0;
            if (::sigwait(&signals, &signal) != 0) {
                continue;
            }
            if (signal != SIGHUP) {
                return;
            }
            reopenLog();
        }
    }

    void stop() {
        unblockSignals();
        rpc_->giveUpRegistration();
        const bool isIdle = control_->stop(kRequestsLimit);
        guard_.reset();
        rpc_->stop();
        stopEntities();
        socket_.reset();
        if (!isIdle) {
            // A request still waits for the lock, and would find objects that are gone.
            tellOperator("stopping with a request under way");
            std::fflush(nullptr);
            std::_Exit(kStopped);
        }
        control_.reset();
    }

private:
    void loadModule() {
        module_ = loadModules(options_.modules.empty() ? std::vector{defaultModule()} : options_.modules);
        if (module_ != nullptr) {
            services_.emplace(*module_, *host_);
            configuration_.emplace(*module_, *services_, *host_, options_.configuration);
            context_.module = module_;
            context_.services = &*services_;
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
        rpc_->giveUpRegistration();
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
        for (const std::string& entry : report.lost) {
            tellOperator(file + "not restored: " + entry);
        }
        for (const std::string& difference : report.differences) {
            tellOperator(file + difference);
        }
        if (!report.lost.empty()) {
            tellOperator(file + std::to_string(report.lost.size()) +
                         " entries were not restored; the file keeps them until a save is forced");
        }
    }

    void sayReady() const {
        const RpcPorts ports = rpc_->ports();
        std::printf("oltmgrd ready control=%s rpc-udp=%u rpc-tcp=%u\n", options_.control.c_str(), ports.udp,
                    ports.tcp);
        std::fflush(stdout);
    }

    const Options& options_;
    const std::unique_ptr<Host> host_ = standinHost();
    CommandContext context_;
    std::optional<ControlSocket> socket_;
    const onuQosClassInterface* module_ = nullptr;
    std::optional<ServiceSide> services_;
    std::optional<ConfigurationStore> configuration_;
    std::optional<RpcServer> rpc_;
    std::optional<RpcGuard> guard_;
    bool entitiesStarted_ = false;
    std::optional<CommandTable> commands_;
    std::unique_ptr<ControlServer> control_;
};

}  // namespace

int runProcess(const Options& options) {
    blockSignals();
    hardenRpc();
    openLog(options);
    Process process(options);
    process.start();
    Process::run();
    process.stop();
    return kStopped;
}

}  // namespace oltmgrd

#include "clients/onuqosplan/fleet.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

#include "clients/onuqosplan/portFit.h"
#include "clients/onuqosplan/source.h"
#include "common/errors.h"
#include "common/text.h"

namespace onuqosplan {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> foldersOf(const std::string& directory) {
    std::vector<std::string> names;
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code unreadable;
        if (entry->is_directory(unreadable)) {
            names.push_back(entry->path().filename().string());
        }
    }
    if (error || names.empty()) {
        throw common::UsageError("fleet " + common::printable(directory) + ": " +
                                 (error ? error.message() : "holds no folder; each OLT has one"));
    }
    std::ranges::sort(names);
    return names;
}

FleetOlt readOlt(const fs::path& folder, const std::function<Tariff(const Olt&)>& tariffOf) {
    FleetOlt row{.name = folder.filename().string(), .fault = {}};
    try {
        for (const char* file : {"inventory.json", "configuration.json"}) {
            if (std::error_code error; !fs::exists(folder / file, error)) {
                throw common::UsageError("lacks " + std::string(file));
            }
        }
        const Olt olt =
            offlineOlt((folder / "inventory.json").string(), (folder / "configuration.json").string());
        const Tariff tariff = tariffOf(olt);
        for (const Port& port : olt.ports) {
            const PortFit fit = fitOn(port, tariff, On::idle, port.idleOnus, {port.state.maxDistance});
            ++row.ports;
            row.portsOver += port.state.limits() ? 0U : 1U;
            row.idleOnus += port.idleOnus;
            row.alarm += fit.alarm.count;
            row.admission += fit.admission.count;
            row.both += fit.both();
        }
    } catch (const std::exception& error) {
        row.fault = error.what();
    }
    return row;
}

}  // namespace

std::vector<FleetOlt> readFleet(const std::string& directory,
                                const std::function<Tariff(const Olt&)>& tariffOf,
                                const std::function<void(std::size_t done, std::size_t all)>& progress) {
    const std::vector<std::string> names = foldersOf(directory);
    std::vector<FleetOlt> olts(names.size());
    std::atomic<std::size_t> next = 0;
    std::mutex telling;
    std::size_t done = 0;  // guarded by `telling`
    const auto work = [&] {
        for (std::size_t at = next++; at < names.size(); at = next++) {
            olts[at] = readOlt(fs::path(directory) / names[at], tariffOf);
            const std::lock_guard lock(telling);
            progress(++done, names.size());
        }
    };
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    {
        std::vector<std::jthread> others;
        for (std::size_t i = 1; i < std::min(cores, names.size()); ++i) {
            others.emplace_back(work);
        }
        work();
    }
    return olts;
}

}  // namespace onuqosplan

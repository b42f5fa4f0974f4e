#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "oltmgrd/commands/arguments.h"
#include "oltmgrd/platform/hardwareView.h"
#include "oltmgrd/platform/serviceProfile.h"

namespace oltmgrd {

/// The platform cannot do what it is told. One line that names the thing and the reason; nothing has changed
/// then, unless the operation says otherwise.
class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The log levels run from 0, nothing, to this.
inline constexpr int kLogLevelMax = 9;

struct HostEntity {
    std::string name;
    std::string_view state;  ///< "registered", "started", "failed" or "stopped"
};

struct HostOnu {
    std::uint32_t interface = 0;
    std::uint32_t port = 0;  ///< interface of its PON port
};

/// Interface indexes, ascending.
struct HostInterfaces {
    std::vector<std::uint32_t> ports;  ///< PON ports
    std::vector<HostOnu> onus;
};

/// An alarm as an entity reported or retreated it.
struct HostAlarm {
    bool reported = false;  ///< false: retreated
    std::uint32_t code = 0;
    std::uint32_t interface = 0;
    std::int32_t board = 0;
    std::string text;
    std::vector<int> numbers;
    std::chrono::system_clock::time_point time;
};

/// A control command that this platform alone has; its row is among the common ones.
struct HostCommand {
    std::string_view name;
    Answer (*handle)(const Arguments& arguments);  ///< what it throws refuses the command
    bool waits = true;  ///< for the platform lock, so that it must not hold up others
};

/// What the process asks of the platform that it starts. One object in a process. Unless said otherwise
/// operations may be called from any thread, and those that cannot do what they are told throw `HostError`.
class Host {
public:
    virtual ~Host() = default;
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Start and end, by the thread of the process alone

    /// Reads the OLT's ports, ONUs and features; the warnings about them, a line each. Throws `StartError`
    /// that names file, JSON pointer and reason.
    virtual std::vector<std::string> readInventory(const std::string& file) = 0;
    /// Makes the platform what the inventory says, with its service profiles or without. Throws `StartError`.
    virtual void configure(bool withServiceProfiles) = 0;
    /// How long an acquisition of the platform lock waits.
    virtual void setLockDeadline(std::chrono::milliseconds deadline) = 0;
    /// Starts the registered entities in dependency order; the error names the first that does not start.
    virtual void startEntities() = 0;
    /// Stops them in the reverse order; the names of those that did not stop.
    virtual std::vector<std::string> stopEntities() = 0;

    // Entities

    virtual std::vector<HostEntity> entities() const = 0;
    /// Returns all entities to their factory settings under the exclusive platform lock; the names of those
    /// that answered false. Throws when the lock was not obtained: then none was asked.
    virtual std::vector<std::string> applyDefaultSettings() = 0;

    // Interfaces

    virtual HostInterfaces interfaces() const = 0;

    // Notices, raised on the calling thread; false when a handler vetoed one

    virtual bool configurationApplyStart() = 0;
    virtual bool configurationApplyStop() = 0;
    virtual bool interfaceEvent(std::int32_t interface, std::int32_t event) = 0;
    /// Throws where the platform has no ONU equipment.
    virtual bool onuConfigEvent(std::uint32_t interface, bool ready, bool other) = 0;
    /// Sets the fibre distances of a PON port, kilometres. The caller tells the module.
    virtual void setDistances(std::uint32_t port, std::uint32_t min, std::uint32_t max) = 0;
    /// What the entities reply to a message; nothing when a handler vetoed it.
    virtual std::optional<std::string> sendMessage(const std::string& name, const std::string& argument) = 0;

    // Service profiles, in the order in which they were added

    virtual void addServiceProfile(const ServiceProfile& profile) = 0;
    virtual void removeServiceProfile(const std::string& name) = 0;
    virtual std::vector<ServiceProfile> serviceProfiles() const = 0;

    // What the platform tells

    /// Sends the lines of the platform's log there, whole and with their ends, on the threads that write
    /// them.
    virtual void takeLog(std::function<void(int level, std::string_view line)> take) = 0;
    /// Lines above this level are not written.
    virtual void setLogLevel(int level) = 0;
    /// Calls `tell` at every report and retreat of an alarm, on the thread that makes it; null for nobody.
    virtual void onAlarm(std::function<void(const HostAlarm&)> tell) = 0;

    /// Nothing on a platform whose hardware layer cannot be read.
    virtual std::optional<HardwareView> hardware() const = 0;
    /// The number by which the platform tells a profile from every other of its family, also after it was
    /// renamed; 0 when it knows no profile of that name, or has no such numbers.
    virtual std::uint64_t tcontProfileSerial(const std::string& name) const = 0;
    virtual std::uint64_t flowProfileSerial(const std::string& name) const = 0;

    // Threads that registered with the platform, by name

    /// Waits until such a thread has registered and none runs any more; false if that takes longer than
    /// `limit`.
    virtual bool awaitThreadEnd(std::string_view name, std::chrono::milliseconds limit) = 0;
    /// Sends a signal to those that run.
    virtual void signalThreads(std::string_view name, int signal) = 0;

    /// The control commands of this platform alone.
    virtual std::span<const HostCommand> commands() const = 0;

protected:
    Host() = default;
};

}  // namespace oltmgrd

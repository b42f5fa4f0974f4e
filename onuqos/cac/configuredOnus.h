#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>

/// Which ONUs are configured behind each PON port, so that the overhead of an ONU is found without asking the
/// platform for the parent of every other ONU each time: on a full OLT that would be a walk over all ONUs at
/// the first binding of each.
///
/// Parents are asked of the platform in the order of the ONU indexes and remembered until the interface
/// registry reports an event of that ONU; the ONU that decides a search is asked for in every search.
/// Thread-safe; asks without its own lock, so that the platform may report events under a lock that its
/// answers need.
class ConfiguredOnus {
public:
    /// Asks the platform for the parent of an ONU; nothing when it does not answer.
    using ParentOf = std::function<std::optional<std::uint32_t>(std::uint32_t onu)>;

    /// What a search found: whether another ONU of the port is configured, or which ONU's parent is unknown.
    struct Answer {
        bool found = false;
        std::optional<std::uint32_t> unanswered;
    };

    void add(std::uint32_t onu);
    void setConfigured(std::uint32_t onu, bool configured);
    void clearConfigured();

    /// The platform may have moved this interface; its parent is asked anew. Takes any interface.
    void forgetParent(std::uint32_t intf);

    /// Looks for a configured ONU behind `port` other than `except`, in the order of the indexes; the first
    /// parent that is not answered ends the search.
    Answer otherOnPort(std::uint32_t port, std::uint32_t except, const ParentOf& parentOf);

private:
    struct Onu {
        std::optional<std::uint32_t> parent;
        bool configured = false;
        std::uint64_t forgotten = 0;  ///< how often: an answer from before counts no more
    };

    /// The first ONU behind `last` that may decide a search: its parent is unknown, or was `port`.
    std::optional<std::uint32_t> nextToAsk(std::uint32_t port, std::uint32_t except,
                                           std::optional<std::uint32_t> last) const;
    void setParent(std::uint32_t onu, std::uint32_t parent);
    void index(std::uint32_t onu, const Onu& record);
    void unindex(std::uint32_t onu, const Onu& record);

    std::mutex mutex_;
    std::map<std::uint32_t, Onu> onus_;
    std::set<std::uint32_t> withoutParent_;
    std::map<std::uint32_t, std::set<std::uint32_t>> configuredByPort_;  ///< ONUs whose parent is known
};

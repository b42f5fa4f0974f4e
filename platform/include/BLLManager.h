#pragma once

#include <boost/function.hpp>
#include <sstream>
#include <string>

#include "BLEntity.h"
#include "Notification.h"
#include "singleton.h"

/// The manager of the business-logic layer: it knows the entities and the threads of the process, owns the
/// lock that protects all business-logic data, and raises the notifications that concern every entity.
class [[gnu::visibility("default")]] BLLManager : public singleton<BLLManager> {
public:
    using configurationApplyStart_t = Notification::Event<boost::function<bool()>, boost::function<void()>>;
    /// The argument is the platform's reason for the end of the apply.
    using configurationApplyStop_t = Notification::Event<boost::function<bool()>, boost::function<void(int)>>;
    /// Arguments: message name, its argument, the stream that takes the reply, the sender.
    using externalMessage_t =
        Notification::Event<boost::function<bool()>,
                            boost::function<void(const std::string&, const std::string&, std::ostringstream*,
                                                 const std::string&)>>;

    /// The business-logic lock for writing, held from construction to destruction by the constructing thread.
    ///
    /// Waits for other holders, but not for ever: past the platform's deadline it is not obtained. A thread
    /// that holds the exclusive lock obtains it again, and the shared lock too, to any depth. A thread that
    /// holds only the shared lock does not obtain the exclusive lock; it is told so at once.
    class [[gnu::visibility("default")]] exclusiveLock_t {
    public:
        exclusiveLock_t();
        ~exclusiveLock_t();
        exclusiveLock_t(const exclusiveLock_t&) = delete;
        exclusiveLock_t& operator=(const exclusiveLock_t&) = delete;

        bool obtained() const {
            return obtained_;
        }

    private:
        bool obtained_;
    };

    /// The business-logic lock for reading. A thread that holds it, shared or exclusive, obtains it again
    /// without waiting, also while a writer waits. Otherwise a writer that waits goes first.
    class [[gnu::visibility("default")]] sharedLock_t {
    public:
        sharedLock_t();
        ~sharedLock_t();
        sharedLock_t(const sharedLock_t&) = delete;
        sharedLock_t& operator=(const sharedLock_t&) = delete;

        bool obtained() const {
            return obtained_;
        }

    private:
        bool obtained_;
    };

    /// Makes an entity known to the manager, which drives it from then on until the entity is destroyed.
    void registerEntity(BLEntity & entity);

    /// Notes the calling thread under `name` until it ends.
    void registerThread(const std::string& name);

    /// Raised before and after saved configuration is applied in bulk.
    configurationApplyStart_t& configurationApplyStartEvent();
    configurationApplyStop_t& configurationApplyStopEvent();

    /// Raised when an operator sends a debug message; every handler sees every message.
    externalMessage_t& externalMessageEvent();

private:
    friend class singleton<BLLManager>;
    BLLManager();
    ~BLLManager();
};

extern template class singleton<BLLManager>;

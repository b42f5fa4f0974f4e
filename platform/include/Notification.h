#pragma once

#include <algorithm>
#include <boost/function/function_base.hpp>
#include <mutex>
#include <type_traits>
#include <utility>
#include <vector>

namespace Notification {

/// A platform event with two lists of handlers. `PreHandler` and `PostHandler` are `boost::function` types. A
/// post-handler takes the event's arguments; a pre-handler takes the same or none, returns bool and can veto
/// the event.
///
/// All operations may be called from any thread. Handlers run on the thread that raises the event, in the
/// order in which they were appended, and without any lock of the event: a handler may append and
/// unsubscribe. A handler removed while another thread raises the event may still be called once.
template <typename PreHandler, typename PostHandler>
class Event {
public:
    Event() = default;
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void appendPre(const PreHandler& handler) {
        const std::lock_guard guard(mutex_);
        preHandlers_.push_back(handler);
    }

    void appendPost(const PostHandler& handler) {
        const std::lock_guard guard(mutex_);
        postHandlers_.push_back(handler);
    }

    /// Removes every post-handler that equals `bound`, a member function bound to its object with
    /// `boost::bind` in the form in which it was appended.
    template <typename Bound>
    void unsubscribePost(const Bound& bound) {
        const std::lock_guard guard(mutex_);
        std::erase_if(postHandlers_,
                      [&bound](const PostHandler& handler) { return handler.contains(bound); });
    }

    /// Raises the event: every pre-handler, and if none answers false, every post-handler. False on a veto.
    template <typename... Arguments>
    bool raise(const Arguments&... arguments) const {
        const auto [preHandlers, postHandlers] = handlers();
        const auto agrees = [&](const PreHandler& handler) {
            if constexpr (std::is_invocable_v<const PreHandler&, const Arguments&...>) {
                return handler(arguments...);
            } else {
                return handler();
            }
        };
        if (!std::ranges::all_of(preHandlers, agrees)) {
            return false;
        }
        std::ranges::for_each(postHandlers, [&](const PostHandler& h) { h(arguments...); });
        return true;
    }

private:
    std::pair<std::vector<PreHandler>, std::vector<PostHandler>> handlers() const {
        const std::lock_guard guard(mutex_);
        return {preHandlers_, postHandlers_};
    }

    mutable std::mutex mutex_;
    std::vector<PreHandler> preHandlers_;
    std::vector<PostHandler> postHandlers_;
};

}  // namespace Notification

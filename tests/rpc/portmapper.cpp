#include "rpc/portmapper.h"

#include <rpc/pmap_clnt.h>
#include <rpc/rpc.h>

#include <algorithm>
#include <mutex>

namespace {

std::mutex mutex;
std::vector<portmapper::Call> made;
int refused = 0;

}  // namespace

namespace portmapper {

std::vector<Call> calls() {
    const std::lock_guard guard(mutex);
    return made;
}

void clear() {
    const std::lock_guard guard(mutex);
    made.clear();
}

void refuse(int protocol) {
    const std::lock_guard guard(mutex);
    refused = protocol;
}

unsigned short portOf(int protocol) {
    const auto all = calls();
    const auto last = std::find_if(all.rbegin(), all.rend(),
                                   [protocol](const Call& call) { return call.protocol == protocol; });
    return last == all.rend() ? static_cast<unsigned short>(0) : last->port;
}

}  // namespace portmapper

// In place of the library's own, for its calls too.
extern "C" {

[[gnu::visibility("default")]] bool_t pmap_set(unsigned long program, unsigned long version, int protocol,
                                               int port) {
    const std::lock_guard guard(mutex);
    made.push_back({"set", program, version, protocol, static_cast<unsigned short>(port)});
    return protocol == refused ? FALSE : TRUE;
}

[[gnu::visibility("default")]] bool_t pmap_unset(unsigned long program, unsigned long version) {
    const std::lock_guard guard(mutex);
    made.push_back({"unset", program, version});
    return TRUE;
}

}  // extern "C"

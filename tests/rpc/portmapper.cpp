#include "rpc/portmapper.h"

#include <rpc/pmap_clnt.h>
#include <rpc/rpc.h>

unsigned short portmapper::portOf(int protocol) {
    unsigned short port = 0;
    for (const Call& call : calls) {
        port = call.protocol == protocol ? call.port : port;
    }
    return port;
}

// In place of the library's own, for its calls too.
extern "C" {

[[gnu::visibility("default")]] bool_t pmap_set(unsigned long program, unsigned long version, int protocol,
                                               int port) {
    portmapper::calls.push_back({"set", program, version, protocol, static_cast<unsigned short>(port)});
    return protocol == portmapper::refused ? FALSE : TRUE;
}

[[gnu::visibility("default")]] bool_t pmap_unset(unsigned long program, unsigned long version) {
    portmapper::calls.push_back({"unset", program, version});
    return TRUE;
}

}  // extern "C"

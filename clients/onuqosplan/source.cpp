#include "clients/onuqosplan/source.h"

#include "common/controlChannel.h"
#include "common/controlPath.h"
#include "common/errors.h"
#include "common/number.h"

namespace onuqosplan {

Source::Source(common::Command app)
    : control_(app.option("--control", "PATH", "Live: the socket of oltmgrd's control channel",
                          common::defaultControlPath())),
      timeout_(app.option("--timeout", "S", "Live: seconds to wait for each answer", "60")),
      owner_(app.option("--socket-owner", "USER",
                        "Live: believes an oltmgrd of this user, by name or number, besides one of your own "
                        "or of root")),
      inventory_(app.option("--inventory", "FILE", "Offline: the inventory of the OLT")),
      configuration_(app.option("--config", "FILE", "Offline: its saved configuration")) {
    configuration_.needs(inventory_);
}

Olt Source::read() const {
    if (!inventory_.present()) {
        return liveOlt(control_.text(), common::parseSeconds(timeout_.text(), "--timeout"),
                       common::believedOwners(owner_.text()));
    }
    if (control_.present()) {
        throw common::UsageError(
            "--control asks a running OLT and --inventory reads files: give one of them");
    }
    return offlineOlt(inventory_.text(), configuration_.text());
}

}  // namespace onuqosplan

#pragma once

#include "dba.h"

namespace standin {

/// What the bindings in the hardware layer commit on the PON port with this interface index.
CommittedRates committedRates(unsigned int ponInterface);

}  // namespace standin

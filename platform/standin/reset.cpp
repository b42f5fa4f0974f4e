#include "standin/reset.h"

#include <vector>

#include "state.h"

namespace standin {
namespace {

using Makers = std::vector<void (*)()>;

}  // namespace

void atReset(void (*makeAnew)()) {
    lasting<Guarded<Makers>>().with([makeAnew](Makers& makers) { makers.push_back(makeAnew); });
}

void reset() {
    const auto makers = lasting<Guarded<Makers>>().with([](const Makers& all) { return all; });
    for (const auto makeAnew : makers) {
        makeAnew();
    }
}

}  // namespace standin

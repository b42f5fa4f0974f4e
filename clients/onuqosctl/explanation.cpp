#include "clients/onuqosctl/explanation.h"

namespace onuqosctl {

Explanation tablesChanged(bool accepted, std::optional<std::uint32_t> asked) {
    Explanation why;
    why.reason = "tablesChanged";
    why.asked = asked;
    why.hint = accepted
                   ? "the tables have changed since; as they are now the request would be accepted: try again"
                   : "the tables have changed since: try again";
    return why;
}

std::string rangeText(const Explanation& why, bool zero) {
    std::string text = why.value + " may ";
    if (why.least && why.most) {
        text += std::string("be ") + (zero && *why.least > 0 ? "0, or " : "") + std::to_string(*why.least) +
                " to " + std::to_string(*why.most);
    } else {
        text += zero ? "only be 0" : "not be set";
    }
    text += " now";
    if (why.below || why.above) {
        text += ", nearest " + std::to_string(why.below ? *why.below : *why.above);
        if (why.below && why.above && why.below != why.above) {
            text += " and " + std::to_string(*why.above);
        }
    }
    return text;
}

std::optional<std::uint32_t> proposal(const Explanation& why) {
    return why.above ? why.above : why.below;
}

}  // namespace onuqosctl

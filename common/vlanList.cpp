#include "common/vlanList.h"

#include <algorithm>
#include <set>

#include "common/errors.h"
#include "common/number.h"
#include "common/text.h"

namespace common {
namespace {

std::uint16_t parseVlan(const std::string& text) {
    return static_cast<std::uint16_t>(parseUnsigned(text, "VLAN id", {0, kVlanIdMax}));
}

}  // namespace

VlanList parseVlans(const std::string& text) {
    std::set<std::uint16_t> vlans;
    std::size_t from = 0;
    while (!text.empty() && from <= text.size()) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        const std::string piece = text.substr(from, comma - from);
        const std::size_t dash = piece.find('-');
        const std::uint16_t first = parseVlan(piece.substr(0, dash));
        const std::uint16_t last = dash == std::string::npos ? first : parseVlan(piece.substr(dash + 1));
        if (first > last) {
            throw UsageError("VLAN range " + inQuotes(piece) + " runs backwards");
        }
        for (unsigned vlan = first; vlan <= last; ++vlan) {
            vlans.insert(static_cast<std::uint16_t>(vlan));
        }
        from = comma + 1;
    }
    return {vlans.begin(), vlans.end()};
}

std::string formatVlans(const VlanList& vlans) {
    std::string text;
    for (auto first = vlans.begin(); first != vlans.end();) {
        const auto gap =
            std::adjacent_find(first, vlans.end(), [](unsigned a, unsigned b) { return b != a + 1; });
        const auto last = gap == vlans.end() ? vlans.end() - 1 : gap;
        text += text.empty() ? "" : ",";
        text += std::to_string(*first);
        if (last != first) {
            text += "-" + std::to_string(*last);
        }
        first = last + 1;
    }
    return text;
}

}  // namespace common

#include "clients/onuqosplan/heat.h"

#include <algorithm>
#include <span>
#include <utility>

#include "clients/onuqosplan/use.h"

namespace onuqosplan {
namespace {

constexpr std::size_t kLabel = 5;  // "fixed"

std::string right(const std::string& text, std::size_t width) {
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

char sign(const Use& use) {
    return use.isOver() ? '!' : use.isHigh() ? '+' : ' ';
}

/// Numbers of the 256-colour palette: background and foreground.
std::string coloured(const std::string& text, const Use& use) {
    const char* colours = use.isOver()          ? "48;5;160;38;5;231"
                          : use.isHigh()        ? "48;5;208;38;5;16"
                          : use.percent() >= 50 ? "48;5;220;38;5;16"
                          : use.used != 0       ? "48;5;28;38;5;231"
                                                : "";
    return *colours == '\0' ? text : "\x1b[" + std::string(colours) + "m" + text + "\x1b[0m";
}

std::string row(const char* label, std::span<const Port> ports, std::size_t cell, Use PortUse::*of,
                bool colour) {
    std::string line = label;
    for (const Port& port : ports) {
        const Use use = useOf(port.state).*of;
        const std::string text = right(std::to_string(use.percent()) + sign(use), cell - 1);
        line += ' ' + (colour ? coloured(text, use) : text);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + '\n';
}

void addOver(std::string& text, const Olt& olt) {
    for (const Port& port : olt.ports) {
        const PortUse use = useOf(port.state);
        for (const auto& [name, of] : {std::pair("fixed", use.fixed), std::pair("total", use.total)}) {
            if (of.isOver()) {
                text += "port " + std::to_string(port.interface) + " over: " + name + ' ' +
                        std::to_string(of.used) + " of " + std::to_string(of.limit) + '\n';
            }
        }
    }
}

}  // namespace

std::string heatText(const Olt& olt, std::size_t width, bool colour) {
    std::size_t cell = 5;  // a blank, three digits, a sign
    for (const Port& port : olt.ports) {
        const PortUse use = useOf(port.state);
        cell = std::max({cell, std::to_string(port.interface).size() + 2,
                         std::to_string(std::max(use.fixed.percent(), use.total.percent())).size() + 2});
    }
    const std::size_t inLine = std::max<std::size_t>(1, (std::max(width, kLeastWidth) - kLabel) / cell);
    std::string text = "used of the alarm's limits, %; fixed: by distance, total: by class\n";
    for (std::size_t first = 0; first < olt.ports.size(); first += inLine) {
        const auto ports = std::span(olt.ports).subspan(first, std::min(inLine, olt.ports.size() - first));
        text += "port ";
        for (const Port& port : ports) {
            text += right(std::to_string(port.interface), cell - 1) + ' ';
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n' + row("fixed", ports, cell, &PortUse::fixed, colour) +
                row("total", ports, cell, &PortUse::total, colour);
    }
    text += "! over the limit, + above 85 %\n";
    addOver(text, olt);
    return text;
}

Json heatJson(const Olt& olt) {
    Json ports = Json::array();
    for (const Port& port : olt.ports) {
        Json json{{"port", port.interface}, {"technology", technologyName(port.technology)}};
        json.update(useJson(port.state));
        ports.push_back(std::move(json));
    }
    return {{"ports", std::move(ports)}};
}

}  // namespace onuqosplan

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <thread>

#include "clients/onuqosplan/commands.h"
#include "clients/onuqosplan/heat.h"
#include "clients/onuqosplan/use.h"
#include "common/number.h"
#include "common/terminal.h"

namespace onuqosplan {
namespace {

using common::Command;
using common::Given;

std::size_t terminalWidth() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    const char* columns = std::getenv("COLUMNS");
    const unsigned long told = columns == nullptr ? 0 : std::strtoul(columns, nullptr, 10);
    return told != 0 ? told : 80;
}

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

int heat(const Source& source, const Given& watch, const Given& noColour, common::Format format) {
    const bool onTerminal = ::isatty(STDOUT_FILENO) == 1;
    const bool colour = onTerminal && !noColour.present() && !isSet("NO_COLOR");
    const double seconds = watch.present() ? common::parseSeconds(watch.text(), "--watch") : 0;
    for (;;) {
        const Olt olt = source.read();
        if (format == common::Format::json) {
            Json json = heatJson(olt);
            if (!olt.notes.empty()) {
                json["notes"] = olt.notes;
            }
            print(json);
            std::cout.flush();
        } else {
            std::string text = watch.present() && onTerminal ? "\x1b[H\x1b[2J" : "";
            text += heatText(olt, terminalWidth(), colour);
            for (const std::string& note : olt.notes) {
                text += "note: " + note + '\n';
            }
            common::writeOwn(STDOUT_FILENO, text);
        }
        if (!watch.present()) {
            const bool over = std::ranges::any_of(olt.ports, [](const Port& port) {
                return std::string_view(useOf(port.state).state()) == "over";
            });
            return over ? kDoesNotFit : kFits;
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
}

}  // namespace

void addHeat(Command app, Request& request) {
    const Command command = app.add("heat", "Maps how much of the alarm's limits the ports use");
    const Given watch = command.option("--watch", "S", "Again every so many seconds, until interrupted");
    const Given noColour = command.flag("--no-color", "No colours, as with NO_COLOR in the environment");
    command.footer("Status: 0 every port keeps its limits, 1 one is over them.");
    command.whenNamed([&request, watch, noColour] {
        request.action = [&request, watch, noColour](common::Format format) {
            return heat(*request.source, watch, noColour, format);
        };
    });
}

}  // namespace onuqosplan

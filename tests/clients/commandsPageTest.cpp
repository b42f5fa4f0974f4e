#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "common/commands/rows.h"

// docs/commands.md is made from the rows, so that the page and the channel cannot differ.

namespace {

constexpr const char* kPage = ONUQOS_COMMANDS_PAGE;

constexpr const char* kHead = R"(# The control channel's commands

A Unix stream socket; one JSON object a line each way, any number a connection, answered in order:

    -> {"command": "ledger-get", "arguments": {"interface": 1}}
    <- {"result": 0, "text": "", "arguments": {"ports": [...]}}

`result` is 0 for a command that was carried out, 1 for one that was refused, with the reason in `text`, and 2 for one that
is not known. What the module answered is in `arguments`: `res` the number, `resName` its name. Names are bytes: strings,
or `{"base64": "..."}` where they are no UTF-8. Rates are kbit/s unless said otherwise. An argument with a default may be
left out. `list-commands` lists the commands that a process has, and `oltctl call COMMAND JSON` sends any of them.
)";

std::string page() {
    std::ostringstream text;
    text << kHead;
    for (const auto& row : common::commands::rows()) {
        text << "\n## " << row.name << "\n\n" << row.help << ": `oltctl " << row.words << "`.\n";
        if (!row.arguments.empty()) {
            text << "\n| argument | kind | default | oltctl | meaning |\n|---|---|---|---|---|\n";
        }
        for (const auto& argument : row.arguments) {
            text << "| `" << argument.name << "` | " << common::commands::kindName(argument.kind) << " | "
                 << (argument.required() ? "" : "`" + std::string(argument.fallback) + "`") << " | "
                 << (argument.onCommandLine() ? "`" + std::string(argument.option) + "`" : "always true")
                 << " | " << argument.help << " |\n";
        }
    }
    return text.str();
}

TEST(CommandsPage, IsThatOfTheRows) {
    if (std::getenv("ONUQOS_WRITE_PAGES") != nullptr) {
        std::ofstream(kPage) << page();
    }
    std::ifstream file(kPage);
    const std::string written(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(written, page())
        << "ONUQOS_WRITE_PAGES=1 ctest --preset release -R CommandsPage writes it anew";
}

}  // namespace

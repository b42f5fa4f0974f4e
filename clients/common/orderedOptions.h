#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace clients {

/// Options of which every occurrence counts, in the order of the command line.
class OrderedOptions {
public:
    explicit OrderedOptions(CLI::App& app) : app_(&app) {}

    void add(const std::string& option, const std::string& valueName, const std::string& help);

    /// The place of the option among those added, and its value, for each occurrence; once the line is
    /// parsed.
    [[nodiscard]] std::vector<std::pair<std::size_t, std::string>> given() const;

private:
    CLI::App* app_;
    std::vector<CLI::Option*> options_;
};

}  // namespace clients

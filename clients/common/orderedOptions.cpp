#include "orderedOptions.h"

#include <algorithm>

namespace clients {

void OrderedOptions::add(const std::string& option, const std::string& valueName, const std::string& help) {
    CLI::Option* added = app_->add_option(option, help);
    added->type_name(valueName)->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    options_.push_back(added->allow_extra_args(false));
}

std::vector<std::pair<std::size_t, std::string>> OrderedOptions::given() const {
    std::vector<std::pair<std::size_t, std::string>> occurrences;
    std::vector<std::size_t> seen(options_.size(), 0);
    for (const CLI::Option* parsed : app_->parse_order()) {
        const auto found = std::find(options_.begin(), options_.end(), parsed);
        if (found != options_.end()) {
            const auto at = static_cast<std::size_t>(found - options_.begin());
            occurrences.emplace_back(at, parsed->results().at(seen[at]++));
        }
    }
    return occurrences;
}

}  // namespace clients

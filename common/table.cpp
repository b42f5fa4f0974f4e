#include "common/table.h"

#include <algorithm>
#include <ostream>

#include "common/text.h"

namespace common {
namespace {

constexpr std::uint64_t kBarCells = 20;
constexpr std::uint64_t kPerMille = 1000;

std::string padding(const std::string& cell, std::size_t width) {
    const std::size_t used = displayWidth(cell);
    return std::string(width > used ? width - used : 0, ' ');
}

/// `whole` parts of used/capacity, rounded down, except that a use above nothing is at least one part.
std::uint64_t share(std::uint64_t used, std::uint64_t capacity, std::uint64_t whole) {
    if (used >= capacity) {
        return whole;
    }
    return used == 0 ? 0 : std::max<std::uint64_t>(1, used * whole / capacity);
}

}  // namespace

void Table::add(std::vector<std::string> cells) {
    rows_.push_back(std::move(cells));
}

void Table::print(std::ostream& out) const {
    std::vector<std::size_t> widths;
    for (std::size_t at = 0; at < columns_.size(); ++at) {
        std::size_t width = displayWidth(columns_[at].header);
        for (const auto& row : rows_) {
            width = std::max(width, displayWidth(row[at]));
        }
        widths.push_back(width);
    }
    const auto line = [&](const auto& cellAt) {
        std::string text;
        for (std::size_t at = 0; at < columns_.size(); ++at) {
            const std::string& cell = cellAt(at);
            const std::string pad = padding(cell, widths[at]);
            text += at == 0 ? "" : "  ";
            text += columns_[at].align == Align::right ? pad + cell : cell + pad;
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << '\n';
    };
    line([this](std::size_t at) -> const std::string& { return columns_[at].header; });
    for (const auto& row : rows_) {
        line([&row](std::size_t at) -> const std::string& { return row[at]; });
    }
}

void printFields(std::ostream& out, const std::vector<std::pair<std::string, std::string>>& fields) {
    std::size_t width = 0;
    for (const auto& [label, value] : fields) {
        width = std::max(width, displayWidth(label));
    }
    for (const auto& [label, value] : fields) {
        out << label << padding(label, width) << "  " << value << '\n';
    }
}

std::string bar(std::uint64_t used, std::uint64_t capacity) {
    const std::uint64_t cells = share(used, capacity, kBarCells);
    const std::uint64_t perMille = share(used, capacity, kPerMille);
    std::string text = "[" + std::string(cells, '#') + std::string(kBarCells - cells, '-') + "] ";
    return text + std::to_string(perMille / 10) + "." + std::to_string(perMille % 10) + "%";
}

}  // namespace common

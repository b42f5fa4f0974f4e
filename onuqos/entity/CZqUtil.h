#pragma once

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace CZqUtil {

enum CZqUtilRes : int { CZqUtilResOk = 0, CZqUtilResEmpty = 1 };

/// Appends a list of numbers to `text`, ascending, runs of consecutive numbers as "first-last": 1, 2, 3, 5
/// gives "1-3,5". Duplicates stay. Unless `limit` is 0, stops before the first piece with which `text` would
/// reach that length, so that it can end in a comma. An empty list appends nothing and is `CZqUtilResEmpty`.
template <typename Number>
CZqUtilRes vectorValuesStringGet(const std::vector<Number>& values, std::string& text, unsigned int limit) {
    if (values.empty()) {
        return CZqUtilResEmpty;
    }
    std::vector<Number> sorted = values;
    std::ranges::sort(sorted);
    for (auto first = sorted.cbegin(); first != sorted.cend();) {
        const auto gap = std::adjacent_find(first, sorted.cend(),
                                            [](Number before, Number after) { return after - before != 1; });
        const auto last = gap == sorted.cend() ? std::prev(gap) : gap;
        std::string piece = std::to_string(*first);
        if (last != first) {
            piece += "-" + std::to_string(*last);
        }
        first = std::next(last);
        if (first != sorted.cend()) {
            piece += ",";
        }
        if (limit != 0 && text.size() + piece.size() >= limit) {
            break;
        }
        text += piece;
    }
    return CZqUtilResOk;
}

}  // namespace CZqUtil

#include "rte/BLL/core/recordReader.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace rte {
namespace {

constexpr std::uint32_t kLastFragment = 0x80000000;
constexpr std::uintptr_t kAlignment = 4;

std::span<const char> take(std::span<const char>& input, std::size_t most) {
    const auto taken = input.first(std::min(most, input.size()));
    input = input.subspan(taken.size());
    return taken;
}

bool isAligned(std::span<const char> bytes) {
    return reinterpret_cast<std::uintptr_t>(bytes.data()) % kAlignment == 0;
}

}  // namespace

bool RecordReader::takeMark(std::span<const char>& input) {
    const auto taken = take(input, mark_.size() - markSize_);
    std::ranges::copy(taken, mark_.begin() + static_cast<std::ptrdiff_t>(markSize_));
    markSize_ += taken.size();
    if (markSize_ < mark_.size()) {
        return false;
    }
    markSize_ = 0;
    std::uint32_t mark = 0;
    std::memcpy(&mark, mark_.data(), sizeof mark);
    mark = ntohl(mark);
    isLast_ = (mark & kLastFragment) != 0;
    left_ = mark & ~kLastFragment;
    inFragment_ = true;
    failed_ = left_ > kRecordMax - gathered_.bytes().size();
    return !failed_;
}

std::optional<std::span<const char>> RecordReader::next(std::span<const char>& input) {
    release();
    while (!failed_) {
        if (!inFragment_) {
            if (!takeMark(input)) {
                return std::nullopt;
            }
            if (isLast_ && gathered_.empty() && left_ <= input.size() && isAligned(input)) {
                inFragment_ = false;
                return take(input, left_);
            }
        }
        const auto taken = take(input, left_);
        failed_ = !gathered_.append(taken);
        left_ -= taken.size();
        if (left_ != 0 || failed_) {
            return std::nullopt;
        }
        inFragment_ = false;
        if (isLast_) {
            returned_ = true;
            return gathered_.bytes();
        }
    }
    return std::nullopt;
}

void RecordReader::release() {
    if (std::exchange(returned_, false)) {
        gathered_.release();
    }
}

}  // namespace rte

#pragma once

#include <cstddef>
#include <span>

namespace rte {

/// A sequence of bytes in memory pages of its own. They go back to the system as soon as they are released,
/// whatever the allocator of the process would keep, and growing moves no bytes.
class PageBuffer {
public:
    PageBuffer() = default;
    PageBuffer(const PageBuffer&) = delete;
    PageBuffer& operator=(const PageBuffer&) = delete;
    ~PageBuffer() { release(); }

    /// False when the system has no memory left; the buffer is unchanged then.
    bool append(std::span<const char> bytes);

    void release();

    std::span<const char> bytes() const { return {pages_, size_}; }
    bool empty() const { return size_ == 0; }

    /// What it takes of the process's memory, bytes.
    std::size_t held() const { return capacity_; }

private:
    char* pages_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace rte

#include "rte/BLL/core/pageBuffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <utility>

namespace rte {

bool PageBuffer::append(std::span<const char> bytes) {
    if (bytes.empty()) {
        return true;
    }
    if (bytes.size() > capacity_ - size_) {
        static const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        const std::size_t wanted = (size_ + bytes.size() + page - 1) / page * page;
        void* grown = pages_ == nullptr ? ::mmap(nullptr, wanted, PROT_READ | PROT_WRITE,
                                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                                        : ::mremap(pages_, capacity_, wanted, MREMAP_MAYMOVE);
        if (grown == MAP_FAILED) {
            return false;
        }
        pages_ = static_cast<char*>(grown);
        capacity_ = wanted;
    }
    std::memcpy(pages_ + size_, bytes.data(), bytes.size());
    size_ += bytes.size();
    return true;
}

void PageBuffer::release() {
    if (pages_ != nullptr) {
        ::munmap(std::exchange(pages_, nullptr), std::exchange(capacity_, 0));
        size_ = 0;
    }
}

}  // namespace rte

#pragma once

#include <unistd.h>

#include <utility>

namespace oltmgrd {

/// A file descriptor that is closed with the object; -1 for none.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor() {
        if (descriptor_ != -1) {
            ::close(descriptor_);
        }
    }

    operator int() const { return descriptor_; }

    /// Closes it; false with errno set when what was written may be lost.
    bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_;
};

}  // namespace oltmgrd

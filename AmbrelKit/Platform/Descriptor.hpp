#ifndef AMBRELKIT_PLATFORM_DESCRIPTOR_HPP
#define AMBRELKIT_PLATFORM_DESCRIPTOR_HPP

#include <unistd.h>
#include <utility>

namespace AmbrelKit {

/// A descriptor that is closed with its owner; -1 for none.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

} // namespace AmbrelKit

#endif

#ifndef AMBRELKIT_PLATFORM_DESCRIPTOR_HPP
#define AMBRELKIT_PLATFORM_DESCRIPTOR_HPP

#include <unistd.h>
#include <utility>

namespace AmbrelKit {

/// A descriptor of the kernel that is closed with its owner; -1 for none. Of any thread, one at a
/// time.
class Descriptor {
public:
    /// Takes it over; -1 for none.
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    /// The other one has none afterwards.
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    /// Closes its own, and takes the other's over.
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
    /// The descriptor, still owned; -1 for none.
    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

} // namespace AmbrelKit

#endif

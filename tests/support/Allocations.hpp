#ifndef AMBREL_TESTS_SUPPORT_ALLOCATIONS_HPP
#define AMBREL_TESTS_SUPPORT_ALLOCATIONS_HPP

#include <cstddef>

/// What a program takes of memory by `new`, where Allocations.cpp is part of it. On one thread.
namespace Allocations {

/// Bytes that are held now.
std::size_t held();

/// While one lives, there is memory for so many further allocations, and then for one time, or from
/// then on, for none.
class Shortage {
public:
    enum Lasts { once, on };

    explicit Shortage(std::size_t after, Lasts lasts = once);
    Shortage(const Shortage&) = delete;
    Shortage& operator=(const Shortage&) = delete;
    ~Shortage() { end(); }

    /// Whether an allocation has failed.
    bool end();
};

} // namespace Allocations

#endif

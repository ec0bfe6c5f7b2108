#ifndef AMBRELKIT_PLATFORM_WEAKLIST_HPP
#define AMBRELKIT_PLATFORM_WEAKLIST_HPP

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace AmbrelKit {

/// Those who are to be told of something, known weakly, in the order in which they were added. Used
/// on one thread.
template <class Member> class WeakList {
public:
    /// Adds it at the end.
    void add(std::weak_ptr<Member> member) {
        if (members_.size() >= crowd_) { // those that are gone cost nothing but their place
            std::erase_if(members_, [](const auto& one) { return one.expired(); });
            crowd_ = std::max(smallestCrowd, members_.size() * 2);
        }
        members_.push_back(std::move(member));
    }

    /// Removes it where it is there.
    void remove(const std::weak_ptr<Member>& member) {
        removals_ += std::erase_if(members_, [&](const auto& one) { return isSame(one, member); });
    }

    /// Whether it is there, and still lives.
    [[nodiscard]] bool contains(const std::weak_ptr<Member>& member) const {
        return std::ranges::any_of(members_, [&](const auto& one) { return isSame(one, member); });
    }

    /// Visits those who are in the list now, but not who goes or is removed before its turn. A
    /// visit may do anything but end the list itself.
    template <class Visit> void each(const Visit& visit) const {
        const auto members = members_;
        const auto removals = removals_;
        for (const auto& weak : members) {
            const auto member = weak.lock();
            if (member && (removals == removals_ || contains(weak))) {
                visit(*member);
            }
        }
    }

    /// Whether `holds` holds for one of them; it may not change the list.
    template <class Predicate> [[nodiscard]] bool any(const Predicate& holds) const {
        return std::ranges::any_of(members_, [&](const auto& weak) {
            const auto member = weak.lock();
            return member && holds(*member);
        });
    }

private:
    static constexpr std::size_t smallestCrowd = 8;

    static bool isSame(const std::weak_ptr<Member>& one, const std::weak_ptr<Member>& other) {
        return !one.owner_before(other) && !other.owner_before(one);
    }

    std::vector<std::weak_ptr<Member>> members_;
    std::size_t crowd_ = smallestCrowd; ///< so many, and who is gone is looked for
    std::size_t removals_ = 0;
};

} // namespace AmbrelKit

#endif

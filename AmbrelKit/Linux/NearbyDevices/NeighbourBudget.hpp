#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_NEIGHBOURBUDGET_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_NEIGHBOURBUDGET_HPP

#include <array>
#include <cstddef>
#include <cstdint>

namespace AmbrelKit::Linux {

/// How much new a stack takes in of what its neighbours tell, counted in records. One neighbour may
/// tell of 3,000 services, more than a network has, and all together of 5,000; each of half as many
/// again as are left for the others, so that no few neighbours use up all. What is beyond waits
/// until it is heard again, as whoever offers a service answers whenever they are asked, while a
/// flood of ever new names is not heard again.
class NeighbourBudget {
public:
    /// What a service costs, whether or not all that belongs to it comes with it: it is looked for.
    static constexpr std::size_t perService = 5;

    /// Whether what costs so much may be taken in; then it has been paid for. `sender` is a hash.
    [[nodiscard]] bool grants(std::uint64_t sender, std::size_t cost, bool isHeardAgain);

    /// All of it may be used anew.
    void renew() { *this = {}; }

private:
    class Share {
    public:
        [[nodiscard]] bool grants(std::uint64_t sender, std::size_t cost, std::size_t most);

    private:
        std::array<std::uint32_t, 4096> used_{}; ///< by hash of the sender: few share one
        std::size_t usedByAll_ = 0;
    };

    Share first_;
    Share again_;
};

} // namespace AmbrelKit::Linux

#endif

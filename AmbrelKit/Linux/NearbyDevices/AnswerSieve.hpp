#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_ANSWERSIEVE_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_ANSWERSIEVE_HPP

#include "AmbrelKit/Linux/NearbyDevices/NeighbourBudget.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

/// Stands before the sockets of a multicast DNS stack that only asks. Handling a record costs Avahi
/// the more, the more it was told within the last half second, and much of what comes says nothing
/// new: most neighbours answer by IPv6 once more what they have answered by IPv4, many answer anew
/// what is known, and what this and other hosts ask comes in, too. So the stack is given answers
/// alone, without those that consist of what came by IPv4 in the last seconds on the same
/// interface, and that the stack surely took: it reads no further than to a record that it refuses.
/// All else is for the stack: what replaces something or takes it back, what cannot be
/// read; but no more than the neighbours' budget has room for.
class AnswerSieve {
public:
    /// Whether what is next in the socket `descriptor` is for the stack; if not, it has been taken
    /// out. One that is empty, or no mDNS socket, is the stack's matter; when the kernel tells of
    /// interfaces, of which the stack may forget what it held, nothing is known any more.
    [[nodiscard]] bool admitsNext(int descriptor);

    /// The records that were let through in the last half second.
    [[nodiscard]] std::size_t recentRecords();

    /// The answers by IPv6 that were left out so far.
    [[nodiscard]] std::size_t repeatsByIPv6() const { return repeatsByIPv6_; }

private:
    struct Datagram;
    /// All the records of a name and a type in one datagram, or one that others may stand beside.
    struct RecordSet {
        std::uint64_t key = 0;
        std::uint64_t content = 0;
        bool lasts = true; ///< long enough to do without a repeat
        std::size_t pointers = 0;
    };
    using Known = std::unordered_map<std::uint64_t, std::uint64_t>; // content by key

    using Clock = std::chrono::steady_clock;

    [[nodiscard]] bool admits(const Datagram& datagram);
    [[nodiscard]] bool readRecords(const Datagram& datagram, std::size_t count);
    const std::uint8_t* readRecord(const Datagram& datagram, const std::uint8_t* at);
    [[nodiscard]] bool isKnown(const RecordSet& set) const;
    [[nodiscard]] bool isAffordable(const Datagram& datagram, std::size_t records);
    void note(const RecordSet& set);
    void forget();
    void forgetTheOld();

    std::array<std::uint8_t, 9000> buffer_{}; ///< the longest that mDNS allows
    std::vector<RecordSet> sets_;             ///< of the datagram at hand
    bool areOrdinary_ =
        true;          ///< the records of the datagram: Avahi drops what follows one it refuses
    std::string text_; ///< of the record at hand
    Known known_;      ///< what came by IPv4
    Known knownBefore_;
    Clock::time_point knownSince_;
    NeighbourBudget budget_;
    std::unordered_set<std::uint64_t> putOff_; ///< contents
    std::deque<std::pair<Clock::time_point, std::size_t>> admitted_;
    std::size_t recent_ = 0; ///< of `admitted_`
    std::size_t repeatsByIPv6_ = 0;
};

} // namespace AmbrelKit::Linux

#endif

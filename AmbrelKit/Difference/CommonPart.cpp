#include "AmbrelKit/Difference/CommonPart.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace AmbrelKit::Differences {

namespace {

using Index = std::ptrdiff_t;
using Pair = std::pair<Index, Index>;

constexpr Index greatestCost = 512; ///< how many elements are removed or added on one path

/// The lists from one pair of places to another.
struct Span {
    Index a, aEnd, b, bEnd;

    [[nodiscard]] bool isEmpty() const { return a == aEnd || b == bEnd; }
};

/// Finds the path with the fewest removals and additions, after E. W. Myers, "An O(ND) Difference
/// Algorithm and Its Variations": of the paths of each cost, the one that reaches furthest on each
/// diagonal (a - b).
class CommonPart {
public:
    CommonPart(const std::vector<Value>& a, const std::vector<Value>& b) : a_(a), b_(b) {}

    std::vector<Pair> find() {
        Span span{0, std::ssize(a_), 0, std::ssize(b_)};
        takeBeginning(span);
        const Index end = trimEnd(span);
        if (Span rest = span; !span.isEmpty() && !takePath(rest, false)) {
            betweenLandmarks(span);
        }
        for (Index i = 0; i < end; ++i) {
            places_.emplace_back(span.aEnd + i, span.bEnd + i);
        }
        return std::move(places_);
    }

private:
    [[nodiscard]] bool isSame(Index a, Index b) const { return a_.begin()[a] == b_.begin()[b]; }

    void takeBeginning(Span& span) {
        while (!span.isEmpty() && isSame(span.a, span.b)) {
            places_.emplace_back(span.a++, span.b++);
        }
    }

    [[nodiscard]] Index trimEnd(Span& span) const {
        Index count = 0;
        while (!span.isEmpty() && isSame(span.aEnd - 1, span.bEnd - 1)) {
            --span.aEnd;
            --span.bEnd;
            ++count;
        }
        return count;
    }

    /// How far the cheapest way to the diagonal `k` leads in `a`, by a path of that cost.
    Index& furthest(Index cost, Index k) {
        return furthest_.begin()[cost * (cost + 1) / 2 + (cost + k) / 2];
    }

    [[nodiscard]] bool comesFromAbove(Index cost, Index k) {
        return k == -cost || (k != cost && furthest(cost - 1, k - 1) < furthest(cost - 1, k + 1));
    }

    /// Takes the common part along the cheapest path through the span; where it costs too much,
    /// false, or with `anyway` along the one that leads furthest, and moves the span behind that.
    bool takePath(Span& span, bool anyway) {
        const Index n = span.aEnd - span.a;
        const Index m = span.bEnd - span.b;
        furthest_.clear();
        Index best = 0; // the diagonal that leads furthest at the last cost
        for (Index cost = 0; cost <= greatestCost; ++cost) {
            furthest_.resize(static_cast<std::size_t>((cost + 1) * (cost + 2) / 2));
            Index reached = -1;
            for (Index k = -cost; k <= cost; k += 2) {
                const Index x = extended(span, cost, k);
                if (x == n && x - k == m) {
                    takeBack(span, cost, k);
                    return true;
                }
                if (x <= n && x - k <= m && 2 * x - k > reached) {
                    reached = 2 * x - k;
                    best = k;
                }
            }
        }
        if (anyway) {
            const Index x = furthest(greatestCost, best);
            takeBack(span, greatestCost, best);
            span.a += x;
            span.b += x - best;
        }
        return false;
    }

    /// Notes and gives the furthest place on the diagonal `k`.
    Index extended(const Span& span, Index cost, Index k) {
        Index x = 0;
        if (cost > 0) {
            x = comesFromAbove(cost, k) ? furthest(cost - 1, k + 1) : furthest(cost - 1, k - 1) + 1;
        }
        while (span.a + x < span.aEnd && span.b + x - k < span.bEnd &&
               isSame(span.a + x, span.b + x - k)) {
            ++x;
        }
        furthest(cost, k) = x;
        return x;
    }

    /// Takes what is common on the path that led there.
    void takeBack(const Span& span, Index cost, Index k) {
        const Index first = std::ssize(places_);
        for (Index x = furthest(cost, k);; --cost) {
            const bool down = cost > 0 && comesFromAbove(cost, k);
            const Index before = cost == 0 ? 0 : furthest(cost - 1, down ? k + 1 : k - 1);
            const Index start = cost == 0 || down ? before : before + 1;
            for (; x > start; --x) {
                places_.emplace_back(span.a + x - 1, span.b + x - 1 - k);
            }
            if (cost == 0) {
                break;
            }
            k += down ? 1 : -1;
            x = before;
        }
        std::reverse(places_.begin() + first, places_.end());
    }

    /// The places of what occurs once in each list, in the order of the first.
    [[nodiscard]] std::vector<Pair> onceInBoth(const Span& span) const {
        struct Occurrence {
            Index place = 0;
            int inA = 0;
            int inB = 0;
        };
        std::unordered_map<Value, Occurrence> occurrences;
        for (Index i = span.a; i < span.aEnd; ++i) {
            ++occurrences[a_.begin()[i]].inA;
        }
        for (Index j = span.b; j < span.bEnd; ++j) {
            auto& occurrence = occurrences[b_.begin()[j]];
            ++occurrence.inB;
            occurrence.place = j;
        }
        std::vector<Pair> pairs;
        for (Index i = span.a; i < span.aEnd; ++i) {
            const auto& occurrence = occurrences[a_.begin()[i]];
            if (occurrence.inA == 1 && occurrence.inB == 1) {
                pairs.emplace_back(i, occurrence.place);
            }
        }
        return pairs;
    }

    /// The most of the pairs that are in the same order in both lists, found by patience: each is a
    /// card, and goes onto the first pile whose topmost is not before it.
    static std::vector<Pair> longestAscending(const std::vector<Pair>& cards) {
        std::vector<Index> before; // for each card the one on the pile before; -1: none
        std::vector<Index> piles;  // the topmost cards
        for (const Pair& card : cards) {
            const auto pile =
                std::lower_bound(piles.begin(), piles.end(), card.second,
                                 [&](Index top, Index b) { return cards.begin()[top].second < b; });
            const Index number = std::ssize(before);
            before.push_back(pile == piles.begin() ? -1 : *std::prev(pile));
            pile == piles.end() ? piles.push_back(number) : void(*pile = number);
        }
        std::vector<Pair> found;
        for (Index card = piles.empty() ? -1 : piles.back(); card >= 0;
             card = before.begin()[card]) {
            found.push_back(cards.begin()[card]);
        }
        std::reverse(found.begin(), found.end());
        return found;
    }

    void betweenLandmarks(Span span) {
        for (const auto& [a, b] : longestAscending(onceInBoth(span))) {
            takePieces({span.a, a, span.b, b});
            places_.emplace_back(a, b);
            span.a = a + 1;
            span.b = b + 1;
        }
        takePieces(span);
    }

    void takePieces(Span span) {
        for (takeBeginning(span); !span.isEmpty() && !takePath(span, true);) {
        }
    }

    const std::vector<Value>& a_;
    const std::vector<Value>& b_;
    std::vector<Pair> places_;
    std::vector<Index> furthest_; ///< by cost and every second diagonal
};

} // namespace

std::vector<Pair> commonPart(const std::vector<Value>& a, const std::vector<Value>& b) {
    return CommonPart(a, b).find();
}

} // namespace AmbrelKit::Differences

#include "AmbrelKit/Difference/Matching.hpp"

#include "AmbrelKit/Difference/CommonPart.hpp"

#include <cstddef>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace AmbrelKit::Differences {

namespace {

Value identity(ValueTable& table, const Part& part) {
    if (part.label != nullptr || !part.value->isIdentified()) {
        return part.label != nullptr ? part.label : part.value;
    }
    Node keys;
    std::copy_if(part.value->parts.begin(), part.value->parts.end(), std::back_inserter(keys.parts),
                 [](const Part& key) { return key.isKey; });
    return table(std::move(keys));
}

/// For each part of `before` the index of its partner in `after`, or `none`.
constexpr std::size_t none = ~std::size_t{0};

std::vector<std::size_t> partners(ValueTable& table, const Node& before, const Node& after) {
    std::unordered_map<Value, std::size_t> first;         // of an identity in `after`
    std::vector<std::size_t> further(after.parts.size()); // the next of the same identity
    for (std::size_t j = after.parts.size(); j-- > 0;) {
        const auto found = first.try_emplace(identity(table, after.parts[j]), none).first;
        further[j] = std::exchange(found->second, j);
    }
    std::vector<std::size_t> partners;
    partners.reserve(before.parts.size());
    for (const Part& part : before.parts) {
        const auto found = first.find(identity(table, part));
        const bool isThere = found != first.end() && found->second != none;
        partners.push_back(isThere ? std::exchange(found->second, further[found->second]) : none);
    }
    return partners;
}

std::vector<Value> valuesOf(const Node& list) {
    std::vector<Value> values;
    values.reserve(list.parts.size());
    for (const Part& part : list.parts) {
        values.push_back(part.value);
    }
    return values;
}

} // namespace

Matches matchedByIdentity(ValueTable& table, const Node& before, const Node& after) {
    const auto partnerOf = partners(table, before, after);
    std::vector<bool> isMatched(after.parts.size());
    for (const std::size_t partner : partnerOf) {
        if (partner != none) {
            isMatched[partner] = true;
        }
    }
    Matches matches;
    std::size_t next = 0;
    const auto addNewUpTo = [&](std::size_t end) {
        for (; next < end; ++next) {
            if (!isMatched[next]) {
                matches.all.push_back({nullptr, &after.parts[next]});
            }
        }
    };
    std::size_t last = 0;
    for (std::size_t i = 0; i < partnerOf.size(); ++i) {
        const std::size_t partner = partnerOf[i];
        if (partner == none) {
            matches.all.push_back({&before.parts[i], nullptr});
            continue;
        }
        addNewUpTo(partner);
        matches.all.push_back({&before.parts[i], &after.parts[partner]});
        matches.inOrder = matches.inOrder && partner >= last;
        last = partner;
    }
    addNewUpTo(after.parts.size());
    return matches;
}

Matches matchedByPlace(const Node& before, const Node& after) {
    const auto a = before.parts.begin();
    const auto b = after.parts.begin();
    const std::ptrdiff_t n = std::ssize(before.parts);
    const std::ptrdiff_t m = std::ssize(after.parts);
    auto common = commonPart(valuesOf(before), valuesOf(after));
    common.emplace_back(n, m);
    Matches matches;
    std::ptrdiff_t i = 0;
    std::ptrdiff_t j = 0;
    for (const auto& [nextInA, nextInB] : common) {
        while (nextInA - i == nextInB - j && i < nextInA) {
            matches.all.push_back({&a[i++], &b[j++]});
        }
        for (; i < nextInA; ++i) {
            matches.all.push_back({&a[i], nullptr});
        }
        for (; j < nextInB; ++j) {
            matches.all.push_back({nullptr, &b[j]});
        }
        if (i < n && j < m) {
            matches.all.push_back({&a[i++], &b[j++]});
        }
    }
    return matches;
}

} // namespace AmbrelKit::Differences

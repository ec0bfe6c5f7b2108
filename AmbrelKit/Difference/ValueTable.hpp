#ifndef AMBRELKIT_DIFFERENCE_VALUETABLE_HPP
#define AMBRELKIT_DIFFERENCE_VALUETABLE_HPP

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace AmbrelKit::Differences {

struct Node;

/// Of one table: equal values are one node.
using Value = const Node*;

/// One of what a value is made of.
struct Part {
    Value label = nullptr; ///< a field's name; null in a list
    Value value = nullptr;
    bool isKey = false; ///< what identifies the whole

    bool operator==(const Part&) const = default;
};

struct Node {
    enum class Kind { word, text, list, fields };

    Kind kind = Kind::fields;
    std::string text = {}; ///< of a word as it is shown, of a text as it is
    std::vector<Part> parts = {};

    [[nodiscard]] bool hasParts() const { return kind == Kind::list || kind == Kind::fields; }
    [[nodiscard]] bool isIdentified() const {
        return std::any_of(parts.begin(), parts.end(), [](const Part& part) { return part.isKey; });
    }
    bool operator==(const Node&) const = default;
};

class ValueTable {
public:
    /// The one value of this content, as long as the table lives.
    Value operator()(Node node) { return &*nodes_.insert(std::move(node)).first; }

private:
    struct Hash {
        std::size_t operator()(const Node& node) const {
            std::size_t hash = std::hash<std::string_view>{}(node.text);
            const auto mix = [&hash](const void* part) {
                constexpr std::size_t odd = 0x9E3779B97F4A7C15U;
                hash = (hash ^ std::hash<const void*>{}(part)) * odd;
                hash ^= hash >> 29U;
            };
            for (const Part& part : node.parts) {
                mix(part.label);
                mix(part.value);
            }
            return hash + static_cast<std::size_t>(node.kind);
        }
    };

    std::unordered_set<Node, Hash> nodes_;
};

} // namespace AmbrelKit::Differences

#endif

#include "AmbrelKit/Difference/DifferenceText.hpp"

#include "AmbrelKit/Difference/Matching.hpp"
#include "AmbrelKit/Difference/QuotedText.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace AmbrelKit::Differences {

namespace {

std::string inOneLine(const Node& node);

std::string nameOf(const Node& label) {
    return label.kind == Node::Kind::text ? nameOrQuoted(label.text) : inOneLine(label);
}

/// The parts, or those that are keys, on one line.
std::string inOneLine(const std::vector<Part>& parts, bool keysAlone) {
    std::string line;
    for (const Part& part : parts) {
        if (part.isKey || !keysAlone) {
            line += (line.empty() ? "" : ", ") +
                    (part.label != nullptr ? nameOf(*part.label) + ": " : "") +
                    inOneLine(*part.value);
        }
    }
    return line;
}

std::string inOneLine(const Node& node) {
    switch (node.kind) {
    case Node::Kind::word:
        return printable(node.text);
    case Node::Kind::text:
        return Differences::quoted(node.text); // rather than the standard library's
    case Node::Kind::list:
        return "[" + inOneLine(node.parts, false) + "]";
    case Node::Kind::fields:
        break;
    }
    return "{" + inOneLine(node.parts, false) + "}";
}

/// Of what has parts only that it has some.
std::string inShort(const Node& node) {
    if (node.parts.empty()) {
        return inOneLine(node);
    }
    return node.kind == Node::Kind::list ? "[...]" : "{...}";
}

bool isIdentifiedElement(const Part& part) {
    return part.label == nullptr && part.value->isIdentified();
}

/// Of a part that stands in both, or in one of them. An element without identity bears its place in
/// each list.
std::string nameOf(const Match& match, const Node& before, const Node& after) {
    const Part& part = match.before != nullptr ? *match.before : *match.after;
    if (part.label != nullptr) {
        return nameOf(*part.label);
    }
    if (isIdentifiedElement(part)) {
        return "[" + inOneLine(part.value->parts, true) + "]";
    }
    const auto index = [](const Part* part, const Node& list) {
        return part == nullptr ? "" : std::to_string(part - list.parts.data());
    };
    const std::string a = index(match.before, before);
    const std::string b = index(match.after, after);
    return "[" + a + (a.empty() || b.empty() || a == b ? "" : " -> ") + (a == b ? "" : b) + "]";
}

bool areFoundByIdentity(const Node& node) {
    return node.kind == Node::Kind::fields ||
           std::any_of(node.parts.begin(), node.parts.end(), isIdentifiedElement);
}

class DifferenceText {
public:
    DifferenceText(ValueTable& table, const DifferenceOptions& options)
        : table_(table), options_(options) {}

    std::string operator()(Value before, Value after);

private:
    /// Where a part stands.
    struct Place {
        std::size_t depth = 0;
        std::string name = {}; ///< nothing for the whole
    };

    void compare(const Place& place, const Part& before, const Part& after);
    void compareParts(const Place& place, const Node& a, const Node& b);

    /// The part with all that it holds.
    void write(char mark, const Place& place, const Part& part);

    /// The line above what a part holds; gives where that stands.
    Place beginParts(char mark, const Place& place);
    void writeLine(char mark, std::size_t depth, std::string_view content);

    ValueTable& table_;
    const DifferenceOptions& options_;
    std::string text_;
    bool isFull_ = false;
};

std::string DifferenceText::operator()(Value before, Value after) {
    if (before != after) {
        compare({}, {.label = nullptr, .value = before}, {.label = nullptr, .value = after});
    }
    if (isFull_) {
        text_ += "~ more than " + std::to_string(options_.greatestLength) +
                 " bytes of text: the rest is left out\n";
    }
    return std::move(text_);
}

void DifferenceText::compare(const Place& place, const Part& before, const Part& after) {
    if (before.value == after.value) {
        if (options_.keepsEqualParts) {
            write(' ', place, before);
        }
    } else if (before.value->kind != after.value->kind || !before.value->hasParts()) {
        write('-', place, before);
        write('+', place, after);
    } else if (place.depth >= options_.greatestDepth && !place.name.empty()) {
        writeLine('~', place.depth, place.name + ": different, deeper than is shown");
    } else {
        compareParts(place, *before.value, *after.value);
    }
}

void DifferenceText::compareParts(const Place& place, const Node& a, const Node& b) {
    Place inside = beginParts(' ', place);
    const auto matches = areFoundByIdentity(a) || areFoundByIdentity(b)
                             ? matchedByIdentity(table_, a, b)
                             : matchedByPlace(a, b);
    for (const Match& match : matches.all) {
        if (isFull_) {
            return;
        }
        const bool inBoth = match.before != nullptr && match.after != nullptr;
        if (inBoth && match.before->value == match.after->value && !options_.keepsEqualParts) {
            continue;
        }
        inside.name = nameOf(match, a, b);
        if (inBoth) {
            compare(inside, *match.before, *match.after);
        } else if (match.before != nullptr) {
            write('-', inside, *match.before);
        } else {
            write('+', inside, *match.after);
        }
    }
    if (!matches.inOrder) {
        writeLine('~', inside.depth, "in another order");
    }
}

void DifferenceText::write(char mark, const Place& place, const Part& part) {
    const Node& node = *part.value;
    const bool keysAreNamed = !place.name.empty() && isIdentifiedElement(part);
    const auto isNamed = [&](const Part& one) { return one.isKey && keysAreNamed; };
    if (node.parts.empty() || place.depth >= options_.greatestDepth) {
        return writeLine(mark, place.depth,
                         place.name + (place.name.empty() ? "" : ": ") + inShort(node));
    }
    if (std::all_of(node.parts.begin(), node.parts.end(), isNamed)) {
        return writeLine(mark, place.depth, place.name);
    }
    Place inside = beginParts(mark, place);
    for (const Part& one : node.parts) {
        if (isFull_) {
            return;
        }
        if (!isNamed(one)) {
            inside.name = nameOf({&one, nullptr}, node, node);
            write(mark, inside, one);
        }
    }
}

DifferenceText::Place DifferenceText::beginParts(char mark, const Place& place) {
    if (place.name.empty()) {
        return place;
    }
    writeLine(mark, place.depth, place.name + ":");
    return {.depth = place.depth + 1};
}

void DifferenceText::writeLine(char mark, std::size_t depth, std::string_view content) {
    const std::size_t indentation = 2 * depth;
    constexpr std::size_t around = 3; // the mark, a space, the line break
    if (isFull_ || text_.size() + indentation + content.size() + around > options_.greatestLength) {
        isFull_ = true;
        return;
    }
    text_ += mark;
    text_.append(1 + indentation, ' ');
    text_ += content;
    text_ += '\n';
}

} // namespace

std::string differenceText(ValueTable& table, Value before, Value after,
                           const DifferenceOptions& options) {
    return DifferenceText(table, options)(before, after);
}

} // namespace AmbrelKit::Differences

#include "AmbrelKit/Difference/DifferenceText.hpp"

#include "AmbrelKit/Difference/Draft.hpp"
#include "AmbrelKit/Difference/QuotedText.hpp"

#include <algorithm>

namespace AmbrelKit::Differences {

namespace {

/// The value on one line; of what has parts only that it has some.
std::string inOneLine(const Node& node) {
    switch (node.kind) {
    case Node::Kind::word:
        return node.text;
    case Node::Kind::text:
        return Differences::quoted(node.text); // rather than the standard library's
    case Node::Kind::list:
        return node.parts.empty() ? "[]" : "[...]";
    case Node::Kind::fields:
        break;
    }
    return node.parts.empty() ? "{}" : "{...}";
}

std::string nameOf(const Node& label) {
    return label.kind == Node::Kind::text ? nameOrQuoted(label.text) : inOneLine(label);
}

/// What identifies an element of a list.
std::string identification(const Node& element) {
    std::string name;
    for (const Part& key : element.parts) {
        if (key.isKey) {
            name += (name.empty() ? "[" : ", ") + nameOf(*key.label) + ": " + inOneLine(*key.value);
        }
    }
    return name + "]";
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
        return identification(*part.value);
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

} // namespace

std::string DifferenceText::operator()(Value before, Value after, bool isCut) {
    if (before != after) {
        compare({}, {.label = nullptr, .value = before}, {.label = nullptr, .value = after});
    }
    if (isFull_) {
        text_ += "~ more than " + std::to_string(options_.greatestLength) +
                 " bytes of text: the rest is left out\n";
    }
    if (isCut) {
        text_ += "~ more than " + std::to_string(Draft::greatestCount) + " values or " +
                 std::to_string(Draft::greatestDepth) + " levels: the rest is not compared\n";
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
    } else if (place.depth >= options_.greatestDepth) {
        writeLine('~', place.depth, place.name + ": different, deeper than is shown");
    } else {
        compareParts(place, before, after);
    }
}

void DifferenceText::compareParts(const Place& place, const Part& before, const Part& after) {
    const Node& a = *before.value;
    const Node& b = *after.value;
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
    if (a.kind == Node::Kind::list && !matches.inOrder) {
        writeLine('~', inside.depth, "in another order");
    }
}

void DifferenceText::write(char mark, const Place& place, const Part& part) {
    const Node& node = *part.value;
    const bool keysAreNamed = !place.name.empty() && isIdentifiedElement(part);
    const auto isNamed = [&](const Part& one) { return one.isKey && keysAreNamed; };
    if (node.parts.empty() || place.depth >= options_.greatestDepth) {
        return writeLine(mark, place.depth,
                         place.name + (place.name.empty() ? "" : ": ") + inOneLine(node));
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

} // namespace AmbrelKit::Differences

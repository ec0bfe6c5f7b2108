#include "AmbrelKit/Difference/Draft.hpp"

#include <algorithm>
#include <utility>

namespace AmbrelKit::Differences {

void Draft::label(Value name, bool isKey) {
    node().kind = Node::Kind::fields;
    open_.back().next = {.label = name, .value = nullptr, .isKey = isKey};
}

bool Draft::open() {
    const Part part = std::exchange(open_.back().next, {});
    if (open_.size() == 1) {
        count_ = 0;
    }
    if (open_.size() > 1 + greatestDepth || count_ == greatestCount) {
        isCut_ = true;
        return false;
    }
    ++count_;
    open_.push_back({.part = part});
    return true;
}

void Draft::close() {
    Part part = open_.back().part;
    part.value = finished();
    node().parts.push_back(part);
}

void Draft::closeAsLabel() {
    const Value name = finished();
    label(name, false);
}

Value Draft::finished() {
    Open last = std::move(open_.back());
    open_.pop_back();
    if (!last.isSorted) {
        std::sort(last.node.parts.begin(), last.node.parts.end(),
                  [](const Part& a, const Part& b) { return a.label->text < b.label->text; });
    }
    return table(std::move(last.node));
}

} // namespace AmbrelKit::Differences

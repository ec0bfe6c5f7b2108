#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_GROUPBY_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_GROUPBY_HPP

#include <functional>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace AmbrelKit {

/// The elements of `list` by their key; of several with one key the last one. `keyPath` is a member
/// or a function of an element.
template <class Element, class KeyPath>
auto group(const std::vector<Element>& list, KeyPath keyPath) {
    using Key = std::remove_cvref_t<std::invoke_result_t<KeyPath, const Element&>>;
    std::unordered_map<Key, Element> groups;
    groups.reserve(list.size());
    for (const Element& element : list) {
        groups.insert_or_assign(std::invoke(keyPath, element), element);
    }
    return groups;
}

} // namespace AmbrelKit

#endif

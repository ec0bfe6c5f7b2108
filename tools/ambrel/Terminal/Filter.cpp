#include "tools/ambrel/Terminal/Filter.hpp"

#include "tools/ambrel/JSONMember.hpp"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utf8proc.h>
#include <utility>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

std::string asType(const std::string& text) {
    std::string type = folded(text);
    if (type.ends_with('.')) {
        type.pop_back();
    }
    return type;
}

} // namespace

std::string folded(const std::string& text) {
    utf8proc_uint8_t* result = nullptr;
    const auto length = utf8proc_map(
        reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
        static_cast<utf8proc_ssize_t>(text.size()), &result,
        static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD));
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owned(result, std::free);
    return length < 0 ? text
                      : std::string(reinterpret_cast<const char*>(result),
                                    static_cast<std::size_t>(length));
}

void Filter::setTypes(std::vector<std::string> types) {
    types_ = std::move(types);
    std::transform(types_.begin(), types_.end(), types_.begin(), asType);
}

void Filter::setNames(const std::vector<std::string>& names) {
    names_.clear();
    std::transform(names.begin(), names.end(), std::back_inserter(names_), folded);
}

bool Filter::letsThrough(const JSONValue& sighting) const {
    if (!types_.empty() &&
        std::find(types_.begin(), types_.end(), asType(textOf(member(sighting, "protocolType")))) ==
            types_.end()) {
        return false;
    }
    const std::string name = names_.empty() ? "" : folded(textOf(member(sighting, "name")));
    return names_.empty() || std::any_of(names_.begin(), names_.end(), [&](const auto& part) {
               return name.find(part) != name.npos;
           });
}

JSONDictionary filtered(JSONDictionary dictionary, const Filter& filter) {
    for (const char* key : {"bleScan", "nearbyDevices"}) {
        const auto found = dictionary.find(key);
        if (!filter.letsAllThrough() && found != dictionary.end() && found->second.is_array()) {
            auto& list = found->second.get_ref<JSONValue::array_t&>();
            std::erase_if(list, [&](const JSONValue& each) { return !filter.letsThrough(each); });
        }
    }
    return dictionary;
}

} // namespace Ambrel

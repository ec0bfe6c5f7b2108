#include "tools/ambrel/JSONMember.hpp"

#include <nlohmann/json.hpp>

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

const JSONValue& member(const JSONDictionary& dictionary, const char* key) {
    static const JSONValue missing;
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? missing : found->second;
}

const JSONValue& member(const JSONValue& value, const char* key) {
    static const JSONDictionary none;
    return member(value.is_object() ? value.get_ref<const JSONDictionary&>() : none, key);
}

const std::string& textOf(const JSONValue& value) {
    static const std::string none;
    return value.is_string() ? value.get_ref<const std::string&>() : none;
}

} // namespace Ambrel

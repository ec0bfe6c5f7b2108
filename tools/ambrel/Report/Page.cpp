#include "tools/ambrel/Report/Page.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/JSONMember.hpp"
#include "tools/ambrel/Report/EmbeddedPage.hpp"

namespace Ambrel {

using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

namespace {

/// For a browser that runs no script: numbers and times alone, which need no escape.
std::string inWords(const JSONDictionary& model) {
    const auto time = [&](const char* name) {
        const JSONValue& seconds = member(model, name);
        return seconds.is_number() ? localTime(seconds.get<double>()).value_or("-") : "-";
    };
    std::string text = "Collections: " + member(model, "collections").dump() + ", from " +
                       time("first") + " to " + time("last");
    for (const char* table : {"peripherals", "services", "networks", "addresses", "places"}) {
        text += std::string(", ") + table + ": " + member(member(model, table), "distinct").dump();
    }
    return text;
}

/// JSON in which nothing ends a script: "<" stands in its texts alone, and there has an escape.
std::string scriptable(const JSONDictionary& model) {
    std::string text;
    for (const char character : JSONValue(model).dump()) {
        if (character == '<') {
            text += "\\u003c";
        } else {
            text += character;
        }
    }
    return text;
}

} // namespace

std::string reportPage(const JSONDictionary& model) {
    std::string text(pageStart);
    text.append(inWords(model)).append(pageMiddle).append(scriptable(model)).append(pageEnd);
    return text;
}

} // namespace Ambrel

// Collections, one a line, as the page of a report: no text of theirs leaves its place in the page.

#include "tools/ambrel/Report/Report.hpp"
#include "fuzz/Properties.hpp"
#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Report/Page.hpp"

#include <cstdint>

using namespace AmbrelKit;
using Fuzz::require;

namespace {

/// What stands between two texts, of which the first is the only one of its kind before it.
std::string_view between(std::string_view page, std::string_view begin, std::string_view end) {
    const auto first = page.find(begin);
    require(first != page.npos, "the page has its parts");
    page.remove_prefix(first + begin.size());
    return page.substr(0, page.find(end));
}

void requirePrintable(const JSONValue& value) {
    for (const auto& [key, each] : value.items()) {
        Fuzz::requireOneLine(key);
        if (each.is_string()) {
            Fuzz::requireOneLine(each.get_ref<const std::string&>());
        } else if (each.is_structured()) {
            requirePrintable(each);
        }
    }
}

std::string_view modelIn(std::string_view page) {
    return between(page, "<script type=\"application/json\" id=\"model\">", "</script>");
}

std::string_view summaryIn(std::string_view page) { return between(page, "<noscript><p>", "</p>"); }

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool hasZone = setenv("TZ", "Europe/Berlin", 1) == 0;
    static const std::string empty = Ambrel::reportPage(Ambrel::Report().model());
    Ambrel::Report report;
    for (const std::string_view line : Fuzz::split(Fuzz::textOf(data, size), '\n')) {
        if (auto dictionary = Fuzz::dictionaryOf(line)) {
            report.add(std::move(*dictionary));
        }
    }
    const JSONDictionary model = report.model();
    const std::string page = Ambrel::reportPage(model);
    const std::string_view written = modelIn(page);
    require(hasZone && JSONValue::parse(written) == JSONValue(model), "the model is whole",
            written);
    require(written.find('<') == written.npos, "nothing in the model is markup", written);
    const std::string_view summary = summaryIn(page);
    require(summary.find_first_of("<>&\"'") == summary.npos, "words are plain", summary);
    require(page.size() - written.size() - summary.size() ==
                empty.size() - modelIn(empty).size() - summaryIn(empty).size(),
            "the rest is as ever");
    requirePrintable(model);
    return 0;
}

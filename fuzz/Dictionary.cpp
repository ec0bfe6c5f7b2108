// What a file of the store, or the input of `ambrel store save`, may hold, on a page of any width.

#include "fuzz/Properties.hpp"
#include "tools/ambrel/Store/CSV.hpp"
#include "tools/ambrel/Store/GeoJSON.hpp"
#include "tools/ambrel/Store/Summary.hpp"
#include "tools/ambrel/Terminal/CollectionTables.hpp"
#include "tools/ambrel/Terminal/Output.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <cstdint>

using namespace AmbrelKit;
using Fuzz::require;

namespace {

void checkTable(const std::string& text, std::size_t columns) {
    constexpr std::size_t least = 40; // a heading of a section alone takes so much
    Fuzz::requireHarmless(text);
    for (const std::string_view line : Fuzz::split(text, '\n')) {
        require(columns < least || Ambrel::displayWidth(line) <= columns, "a table fits", text);
    }
}

void checkTables(const JSONDictionary& dictionary, std::size_t columns, unsigned choices) {
    Ambrel::OutputOptions options;
    options.marksTime = (choices & 1U) != 0;
    if ((choices & 2U) != 0) {
        options.filter.setNames({"a"});
    }
    if ((choices & 4U) != 0) {
        options.columns = {"name", "seen", "address"};
    }
    const std::vector<std::string> deaf{(choices & 8U) != 0 ? "bluetooth" : "wifi"};
    for (const std::size_t width : {Ambrel::unlimited, columns}) {
        checkTable(
            Ambrel::collectionTables(dictionary, options, {.columns = width, .style = {}}, deaf),
            width);
        Ambrel::Table list(Ambrel::Summary::columns(), {.columns = width, .style = {}});
        list.add(Ambrel::Summary(dictionary).row(1.7e9));
        checkTable(list.take(), width);
    }
}

void checkFiles(const JSONDictionary& dictionary) {
    std::string lines = Ambrel::csvLines(dictionary);
    require(lines.ends_with("\r\n"), "a line ends");
    for (auto end = lines.find("\r\n"); end != lines.npos; end = lines.find("\r\n", end)) {
        lines.erase(end, 1);
    }
    Fuzz::requireHarmless(lines);
    if (const auto position = Ambrel::feature(dictionary)) {
        require(Fuzz::dictionaryOf(JSONValue(*position).dump()).has_value(), "it is GeoJSON");
    }
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text = Fuzz::textOf(data, size);
    const unsigned choices = Fuzz::takeLast(text);
    const std::size_t columns = Fuzz::takeLast(text);
    const auto dictionary = Fuzz::dictionaryOf(text);
    if (dictionary) {
        checkTables(*dictionary, columns, choices);
        checkFiles(*dictionary);
        for (const auto format : {Ambrel::OutputFormat::pretty, Ambrel::OutputFormat::json}) {
            const std::string shown = Ambrel::formatted(*dictionary, format);
            Fuzz::requireHarmless(shown);
            require(Fuzz::dictionaryOf(shown) == dictionary, "it reads back", shown);
        }
    }
    return 0;
}

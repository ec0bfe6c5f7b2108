// Two dictionaries, one a line, and how far to look: what differs between them is told, and that
// nothing does only where nobody can tell them apart.

#include "AmbrelKit/Difference/Difference.hpp"
#include "fuzz/Properties.hpp"
#include "tools/ambrel/Collecting/Changes.hpp"

#include <cstdint>

using namespace AmbrelKit;
using Fuzz::require;

namespace {

void checkDifference(const JSONDictionary& before, const JSONDictionary& after,
                     const DifferenceOptions& options) {
    const std::string text = difference(before, after, options);
    Fuzz::requireHarmless(text);
    require(text.size() <= options.greatestLength + 200, "it is bounded");
    for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
        require(std::string_view("-+ ~").find(text[begin]) != std::string_view::npos,
                "a line has its mark", text);
        require(text.find('\n', begin) != text.npos, "each line ends", text);
    }
}

void checkChanges(const JSONDictionary& before, const JSONDictionary& after) {
    Ambrel::Changes changes;
    for (const auto* collection : {&before, &after, &after}) {
        const auto told = changes.next(*collection, {});
        for (const Ambrel::Change& change : told) {
            Fuzz::requireOneLine(Ambrel::line(change, {}));
            (void)change.dump();
        }
    }
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text = Fuzz::textOf(data, size);
    DifferenceOptions bounds{.keepsEqualParts = Fuzz::takeLast(text) % 2 == 1,
                             .greatestDepth = Fuzz::takeLast(text) % 8,
                             .greatestLength = Fuzz::takeLast(text) * 4,
                             .greatestCount = Fuzz::takeLast(text)};
    const auto lines = Fuzz::split(text, '\n');
    const auto before = Fuzz::dictionaryOf(lines.front());
    const auto after = lines.size() > 1 ? Fuzz::dictionaryOf(lines[1]) : before;
    if (!before || !after) {
        return 0;
    }
    const bool equal = JSONValue(*before).dump() == JSONValue(*after).dump();
    require(difference(*before, *after).empty() == equal, "what differs is told", text);
    require(difference(*after, *before).empty() == equal, "in both directions", text);
    require(difference(*before, *before).empty(), "nothing differs from itself", text);
    for (const DifferenceOptions& options : {DifferenceOptions(), bounds}) {
        checkDifference(*before, *after, options);
        checkDifference(*after, *before, options);
    }
    const JSONValue patch = JSONValue::diff(*before, *after);
    require(JSONValue(*before).patch(patch) == JSONValue(*after), "the patch makes it", text);
    checkChanges(*before, *after);
    return 0;
}

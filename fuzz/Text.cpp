// Any bytes as text for people: printable, one line, and as wide as it is said to be.

#include "AmbrelKit/Internal/Extensions/Text.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "fuzz/Properties.hpp"
#include "tools/ambrel/Terminal/Filter.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <cstdint>

using Fuzz::require;

namespace {

void checkWidths(const std::string& text, std::size_t columns) {
    const std::size_t width = Ambrel::displayWidth(text);
    for (const std::string& part : {Ambrel::cut(text, columns), Ambrel::ending(text, columns)}) {
        Fuzz::requireOneLine(part);
        require(Ambrel::displayWidth(part) <= columns, "it is cut to fit", part);
        require(width > columns || part == text, "what fits is whole", part);
    }
    require(Ambrel::padding(text, columns).size() + std::min(width, columns) == columns,
            "it is padded", text);
    for (const std::string& line : Ambrel::lines({text, "and", text}, ", ", columns + 2)) {
        Fuzz::requireOneLine(line);
        require(Ambrel::displayWidth(line) <= columns + 2, "lines fit", line);
    }
    Fuzz::requireHarmless(Ambrel::fittedHelp(text, columns + 20));
}

void checkCanonical(std::string_view bytes, const std::string& repaired) {
    const AmbrelKit::Text text(bytes);
    require(text.string() == repaired, "a text is repaired");
    const AmbrelKit::Text again(text.canonical());
    require(again == text && again.canonical() == text.canonical(), "NFC is its own NFC", bytes);
    const std::string folded = Ambrel::folded(repaired);
    require(Ambrel::folded(folded) == folded, "folding is done once", folded);
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t longest = 10'000; // a name has 255 bytes
    std::string_view bytes = Fuzz::textOf(data, std::min(size, longest));
    const std::size_t columns = Fuzz::takeLast(bytes) % 100;
    const std::string repaired = AmbrelKit::repairedUTF8(bytes);
    require(AmbrelKit::isValidUTF8(repaired), "it is repaired");
    require(!AmbrelKit::isValidUTF8(bytes) || repaired == bytes, "what is well stays");
    const std::string shown = AmbrelKit::printable(bytes);
    Fuzz::requireOneLine(shown);
    require(AmbrelKit::printable(shown) == shown, "what is printable stays", shown);
    checkWidths(shown, columns);
    checkCanonical(bytes, repaired);
    return 0;
}

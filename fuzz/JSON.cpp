// Any bytes as JSON text: what is read is written so that it reads back to the same.

#include "AmbrelKit/Internal/Extensions/DoubleText.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptValue.hpp"
#include "fuzz/Properties.hpp"

#include <algorithm>
#include <cstdint>

using namespace AmbrelKit;
using Fuzz::require;

namespace {

/// As the library's own writer has it: unlike its values, 1 and 1.0 differ.
void checkWritten(const JSONDictionary& dictionary) {
    try {
        const std::string text = writeJSON(dictionary);
        require(writeJSON(Fuzz::dictionaryOf(text).value()) == text, "it reads back", text);
        for (const std::string& shown :
             {printableJSON(text), printableJSON(JSONValue(dictionary).dump(2))}) {
            Fuzz::requireHarmless(shown);
            require(Fuzz::dictionaryOf(shown) == dictionary, "escapes change nothing", shown);
        }
    } catch (const JSONTextError& error) { // it became too long
        require(error.byte() == 0, "no byte of a value is wrong");
    }
}

/// The reader of scripts goes its own way, and takes nothing that is no JSON.
void checkScriptReader(std::string_view text) {
    try {
        Simulated::LineParser parser;
        const JSONValue value = Simulated::jsonValue(parser.parse(text));
        require(value.is_object() && JSONValue::accept(text), "it is JSON", text);
        (void)Simulated::quoted(text);
    } catch (const Simulated::LineError& error) {
        Fuzz::requireOneLine(error.what());
    }
}

/// Lines are those of the text.
void checkLines(std::string_view text) {
    std::istringstream input{std::string(text)};
    std::istringstream plain{std::string(text)};
    std::string line;
    std::string expected;
    while (std::getline(plain, expected)) {
        require(readJSONLine(input, line) && line == expected, "lines are as they stand", text);
    }
    require(!readJSONLine(input, line), "no line is added", text);
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = Fuzz::textOf(data, size);
    const auto dictionary = Fuzz::dictionaryOf(text);
    if (dictionary) {
        checkWritten(*dictionary);
    }
    checkScriptReader(text);
    checkLines(text);
    if (const auto number = doubleOfText(text)) {
        require(doubleText(*number) == text, "a number has one text", text);
    }
    return 0;
}

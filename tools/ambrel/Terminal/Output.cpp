#include "tools/ambrel/Terminal/Output.hpp"

#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Process/HeldSignals.hpp"
#include "tools/ambrel/Terminal/CollectionTables.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

namespace {

constexpr int indentation = 2;

void writeLine(const std::string& text) {
    const auto interruptible = HeldSignals::letThrough();
    std::cerr << text + "\n";
}

} // namespace

OutputFormat outputFormat(const std::string& name) {
    if (name.empty()) {
        return isatty(STDOUT_FILENO) == 1 ? OutputFormat::pretty : OutputFormat::json;
    }
    if (name == "table") {
        return OutputFormat::table;
    }
    return name == "pretty" ? OutputFormat::pretty : OutputFormat::json;
}

std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format,
                      const Page& page) {
    switch (format) {
    case OutputFormat::table:
        return collectionTables(data, page);
    case OutputFormat::pretty:
        return AmbrelKit::printableJSON(AmbrelKit::JSONValue(data).dump(indentation)) + "\n";
    case OutputFormat::json:
        break;
    }
    return AmbrelKit::printableJSON(AmbrelKit::JSONValue(data).dump()) + "\n";
}

void say(const std::string& text) { writeLine("ambrel: " + printable(text)); }

void sayNote(const std::string& text) {
    constexpr std::size_t nameWidth = 8; // of the program
    const std::size_t columns = page(STDERR_FILENO).columns;
    std::string note;
    for (const std::string& line :
         lines(wordsOf("note: " + printable(text)), " ", columns - std::min(columns, nameWidth))) {
        note += (note.empty() ? "ambrel: " : "\n" + std::string(nameWidth, ' ')) + line;
    }
    writeLine(note);
}

void printResult(const std::string& text) {
    errno = 0;
    std::cout << text << std::flush;
    if (!std::cout) {
        throw CommandError(failed,
                           "can't write the result: " + std::generic_category().message(errno));
    }
}

} // namespace Ambrel

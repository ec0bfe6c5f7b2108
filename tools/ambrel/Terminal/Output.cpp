#include "tools/ambrel/Terminal/Output.hpp"

#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Process/HeldSignals.hpp"
#include "tools/ambrel/Terminal/CollectionTables.hpp"
#include "tools/ambrel/Terminal/Terminal.hpp"
#include "tools/ambrel/Terminal/TerminalText.hpp"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

namespace {

constexpr int indentation = 2;

/// Behind the program's name, in as many lines as a terminal needs.
std::string message(const std::string& text) {
    const std::string name = "ambrel: ";
    const std::size_t columns = terminalColumns(STDERR_FILENO).value_or(unlimited);
    std::string message;
    for (const std::string& line :
         lines({printable(text)}, " ", columns - std::min(columns - 1, name.size()))) {
        message += (message.empty() ? name : std::string(name.size(), ' ')) + line + "\n";
    }
    return message;
}

void print(const std::string& message) {
    const auto interruptible = HeldSignals::letThrough();
    std::cerr << message;
}

} // namespace

OutputFormat outputFormat(const OutputOptions& options) {
    if (options.json && options.pretty) {
        throw CommandError(badInput, "--json and --pretty are two formats: choose one");
    }
    const bool isForReading = isatty(STDOUT_FILENO) == 1 || options.asksForTable;
    const std::string name = options.json              ? "json"
                             : options.pretty          ? "pretty"
                             : !options.format.empty() ? options.format
                             : isForReading            ? "table"
                                                       : "json";
    if (name == "table") {
        return OutputFormat::table;
    }
    if (options.asksForTable) {
        throw CommandError(badInput, "--columns is for tables, not for " + name);
    }
    return name == "pretty" ? OutputFormat::pretty : OutputFormat::json;
}

std::string presented(const AmbrelKit::JSONDictionary& data, const OutputOptions& options,
                      const std::vector<std::string>& deaf) {
    const OutputFormat format = outputFormat(options);
    if (format == OutputFormat::table) {
        return collectionTables(data, options, page(STDOUT_FILENO, options.color), deaf);
    }
    return formatted(filtered(data, options.filter), format);
}

std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format) {
    switch (format) {
    case OutputFormat::table:
        return collectionTables(data, {}, {});
    case OutputFormat::pretty:
        return AmbrelKit::printableJSON(AmbrelKit::JSONValue(data).dump(indentation)) + "\n";
    case OutputFormat::json:
        break;
    }
    return AmbrelKit::printableJSON(AmbrelKit::JSONValue(data).dump()) + "\n";
}

void say(const std::string& text) { print(message(text)); }

void sayNote(const std::string& text, ColorChoice color) {
    const std::string label = "note:";
    std::string note = message(label + " " + text);
    if (const auto place = note.find(label); place != note.npos) { // as in any but a tiny terminal
        note.replace(place, label.size(), Style(STDERR_FILENO, color)(Meaning::caution, label));
    }
    print(note);
}

void printHelp(const std::string& text) {
    constexpr std::size_t most = 80; // columns
    printResult(fittedHelp(text, std::min(terminalColumns(STDOUT_FILENO).value_or(most), most)));
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

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

void say(const std::string& text) {
    const std::string name = "ambrel: ";
    const auto columns = terminalColumns(STDERR_FILENO);
    std::string message = columns ? "" : name + printable(text);
    if (columns) {
        const std::size_t room = *columns - std::min(*columns - 1, name.size());
        for (const std::string& line : lines(wordsOf(printable(text)), " ", room)) {
            message += message.empty() ? name : "\n" + std::string(name.size(), ' ');
            message += line;
        }
    }
    const auto interruptible = HeldSignals::letThrough();
    std::cerr << message + "\n";
}

void sayNote(const std::string& text) { say("note: " + text); }

void printHelp(const std::string& text) {
    printResult(fittedHelp(text, terminalColumns(STDOUT_FILENO).value_or(unlimited)));
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

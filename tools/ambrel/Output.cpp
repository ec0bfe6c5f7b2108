#include "tools/ambrel/Output.hpp"

#include "AmbrelKit/Platform/PrintableText.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/HeldSignals.hpp"
#include "tools/ambrel/Table.hpp"

#include <cerrno>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace Ambrel {

namespace {

constexpr int indentation = 2;

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

std::string formatted(const AmbrelKit::JSONDictionary& data, OutputFormat format) {
    switch (format) {
    case OutputFormat::table:
        return table(data);
    case OutputFormat::pretty:
        return AmbrelKit::printableJSON(AmbrelKit::JSONValue(data).dump(indentation)) + "\n";
    case OutputFormat::json:
        break;
    }
    return AmbrelKit::printableJSON(AmbrelKit::JSONValue(data).dump()) + "\n";
}

void say(const std::string& text) {
    const auto interruptible = HeldSignals::letThrough();
    std::cerr << "ambrel: " + AmbrelKit::printable(text) + "\n";
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

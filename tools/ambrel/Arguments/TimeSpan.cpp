#include "tools/ambrel/Arguments/TimeSpan.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"

#include <CLI/CLI.hpp>
#include <string>

namespace Ambrel {

namespace {

std::string checkTime(const std::string& text) {
    return pointInTime(text) ? "" : "\"" + text + "\" is no point in time";
}

void addBound(CLI::App& command, const std::string& name, double& bound,
              const std::string& description) {
    command
        .add_option_function<std::string>(
            name, [&bound](const std::string& text) { bound = pointInTime(text).value(); },
            description)
        ->type_name("TIME")
        ->check(checkTime);
}

} // namespace

void addTimeSpan(CLI::App& command, TimeSpan& span) {
    addBound(command, "--since", span.since, "not those before this time");
    addBound(command, "--until", span.until, "not those after this time");
    command.footer(std::string("A time is ") + pointInTimeForms + ".");
}

} // namespace Ambrel

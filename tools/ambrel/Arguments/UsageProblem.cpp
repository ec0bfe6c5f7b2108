#include "tools/ambrel/Arguments/UsageProblem.hpp"

#include "tools/ambrel/Arguments/Command.hpp"
#include "tools/ambrel/Commands.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

namespace Ambrel {

namespace {

/// What could have been typed, and how it is said.
using Candidates = std::vector<std::pair<std::string, std::string>>;

/// How many characters must be changed, left out, put in or swapped with the next to make one text
/// of the other.
std::size_t distance(std::string_view a, std::string_view b) {
    // From the first i characters of the one to the first j of the other.
    std::vector least(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                least[i][j] = i + j;
                continue;
            }
            const std::size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
            least[i][j] =
                std::min({least[i - 1][j] + 1, least[i][j - 1] + 1, least[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                least[i][j] = std::min(least[i][j], least[i - 2][j - 2] + 1);
            }
        }
    }
    return least.back().back();
}

/// The question whether the candidate nearest to `typed` was meant, where one is near.
std::string suggestion(std::string_view typed, const Candidates& candidates) {
    constexpr std::size_t shortestStart = 3;
    typed = typed.substr(0, typed.find('='));
    const std::string_view name =
        typed.substr(std::min(typed.find_first_not_of('-'), typed.size()));
    constexpr std::size_t longestName = 64;
    if (name.size() > longestName) { // no slip: and the distance takes the product of the lengths
        return "";
    }
    std::string question;
    std::size_t least = name.size() / 3 + 1; // what is farther is another word
    for (const auto& [candidate, said] : candidates) {
        const bool begun = name.size() >= shortestStart && candidate.starts_with(name);
        if (const auto changes = begun ? 0 : distance(name, candidate); changes < least) {
            least = changes;
            question = said == typed ? "" : "; did you mean " + said + "?";
        }
    }
    return question;
}

Candidates commandCandidates(const CLI::App& command, const std::string& path = "") {
    Candidates candidates;
    for (const CLI::App* one : commandsOf(command)) {
        const std::string said = path + one->get_name();
        candidates.emplace_back(one->get_name(), said);
        const auto within = commandCandidates(*one, said + " ");
        candidates.insert(candidates.end(), within.begin(), within.end());
    }
    return candidates;
}

Candidates optionCandidates(const CLI::App& command) {
    Candidates candidates;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            candidates.emplace_back(name, "--" + name);
        }
    }
    return candidates;
}

std::string withHelp(const std::string& problem, const CLI::App& command) {
    std::string name = command.get_name();
    for (const CLI::App* one = command.get_parent(); one != nullptr; one = one->get_parent()) {
        name = one->get_name() + " " + name;
    }
    return problem + " (see " + name + " --help)";
}

std::string unknownCommand(const CLI::App& command, const std::string& name) {
    return withHelp("\"" + name + "\" is no command" + suggestion(name, commandCandidates(command)),
                    command);
}

} // namespace

CLI::App& commandNamed(const CLI::App& command, const std::string& name) {
    for (CLI::App* one : commandsOf(command)) {
        if (one->get_name() == name) {
            return defined(*one);
        }
    }
    throw CommandError(badInput, unknownCommand(command, name));
}

std::string unexpected(const std::string& typed, const CLI::App& command) {
    return withHelp("not expected: " + typed +
                        suggestion(typed.substr(0, typed.find(' ')), optionCandidates(command)),
                    command);
}

std::string usageProblem(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App* command = &app;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
    }
    const auto rest = app.remaining(true);
    const bool commandIsMissing = !commandsOf(*command).empty();
    if (commandIsMissing && rest.empty()) {
        return withHelp("a command is missing", *command);
    }
    if (commandIsMissing && !rest.front().starts_with('-')) {
        return unknownCommand(*command, rest.front());
    }
    if (commandIsMissing || dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return unexpected(CLI::detail::join(rest, " "), *command);
    }
    std::string problem = error.what();
    constexpr std::string_view count = "1 required ";
    if (const auto place = problem.find(count); place != std::string::npos) {
        problem.erase(place, count.size()); // --service: 1 required TYPE missing
    }
    return withHelp(problem, *command);
}

} // namespace Ambrel

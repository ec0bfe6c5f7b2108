#include "tools/ambrel/UsageProblem.hpp"

#include "tools/ambrel/Commands.hpp"

#include <algorithm>
#include <array>
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
    // Of the start of `a` that has been gone through, and of the two starts before it, to each
    // start of `b`.
    std::array<std::vector<std::size_t>, 3> rows;
    rows.fill(std::vector<std::size_t>(b.size() + 1));
    auto& [row, before, beforeThat] = rows;
    for (std::size_t i = 0; i <= a.size(); ++i) {
        std::swap(beforeThat, before);
        std::swap(before, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            if (i == 0) {
                row[j] = j;
                continue;
            }
            const std::size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
            row[j] = std::min({row[j - 1] + 1, before[j] + 1, before[j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], beforeThat[j - 2] + 1);
            }
        }
    }
    return row[b.size()];
}

/// The question whether the candidate nearest to `typed` was meant, where one is near.
std::string suggestion(std::string_view typed, const Candidates& candidates) {
    constexpr std::size_t shortestStart = 3;
    typed = typed.substr(0, typed.find('='));
    typed.remove_prefix(std::min(typed.find_first_not_of('-'), typed.size()));
    std::string question;
    std::size_t least = typed.size() / 3 + 1; // what is farther is another word
    for (const auto& [name, said] : candidates) {
        const bool begun = typed.size() >= shortestStart && name.starts_with(typed);
        if (const auto changes = begun ? 0 : distance(typed, name); changes < least) {
            least = changes;
            question = "; did you mean " + said + "?";
        }
    }
    return question;
}

std::vector<const CLI::App*> commandsOf(const CLI::App& command) {
    return command.get_subcommands([](const CLI::App*) { return true; });
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

const CLI::App& commandNamed(const CLI::App& command, const std::string& name) {
    for (const CLI::App* one : commandsOf(command)) {
        if (one->get_name() == name) {
            return *one;
        }
    }
    throw CommandError(badInput, unknownCommand(command, name));
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
        return withHelp("not expected: " + CLI::detail::join(rest, " ") +
                            suggestion(rest.front(), optionCandidates(*command)),
                        *command);
    }
    std::string problem = error.what();
    constexpr std::string_view count = "1 required ";
    if (const auto place = problem.find(count); place != std::string::npos) {
        problem.erase(place, count.size()); // --service: 1 required TYPE missing
    }
    return withHelp(problem, *command);
}

} // namespace Ambrel

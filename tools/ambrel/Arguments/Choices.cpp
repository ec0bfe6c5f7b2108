#include "tools/ambrel/Arguments/Choices.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

namespace Ambrel {

std::function<std::string(const std::string&)> oneOf(std::vector<std::string> choices) {
    return [choices = std::move(choices)](const std::string& text) {
        std::string problem;
        if (std::find(choices.begin(), choices.end(), text) == choices.end()) {
            problem = "\"" + text + "\" is not one of ";
            for (const std::string& choice : choices) {
                problem += (&choice == choices.data() ? "" : ", ") + choice;
            }
        }
        return problem;
    };
}

void addListOption(CLI::App& command, const std::string& name, std::vector<std::string>& chosen,
                   const std::string& description, std::vector<std::string> choices) {
    command.add_option(name, chosen, description)
        ->type_name("LIST")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(oneOf(std::move(choices)));
}

} // namespace Ambrel

#include "tools/ambrel/Choices.hpp"

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

} // namespace Ambrel

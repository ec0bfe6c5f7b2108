#ifndef AMBREL_CHOICES_HPP
#define AMBREL_CHOICES_HPP

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace Ambrel {

/// A check for CLI::Option::check: the text must be one of `choices`.
std::function<std::string(const std::string&)> oneOf(std::vector<std::string> choices);

/// Adds an option that takes some of `choices`, with commas between them or again and again.
void addListOption(CLI::App& command, const std::string& name, std::vector<std::string>& chosen,
                   const std::string& description, std::vector<std::string> choices);

} // namespace Ambrel

#endif

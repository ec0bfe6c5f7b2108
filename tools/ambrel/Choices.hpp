#ifndef AMBREL_CHOICES_HPP
#define AMBREL_CHOICES_HPP

#include <functional>
#include <string>
#include <vector>

namespace Ambrel {

/// A check for CLI::Option::check: the text must be one of `choices`.
std::function<std::string(const std::string&)> oneOf(std::vector<std::string> choices);

} // namespace Ambrel

#endif

#ifndef AMBREL_USAGEPROBLEM_HPP
#define AMBREL_USAGEPROBLEM_HPP

#include <CLI/CLI.hpp>
#include <string>

namespace Ambrel {

/// What is wrong with the command line that `app` could not take, in one line, with what may have
/// been meant.
std::string usageProblem(const CLI::App& app, const CLI::ParseError& error);

/// The same of an option that the command has not.
std::string unexpected(const std::string& typed, const CLI::App& command);

/// The command of `command` that goes by `name`. Throws `CommandError` where there is none,
/// likewise.
CLI::App& commandNamed(const CLI::App& command, const std::string& name);

} // namespace Ambrel

#endif

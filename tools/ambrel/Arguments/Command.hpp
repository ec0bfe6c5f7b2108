#ifndef AMBREL_COMMAND_HPP
#define AMBREL_COMMAND_HPP

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace Ambrel {

/// Adds a command to the program. What it has, options and commands of its own, `define` adds once
/// the command line names it, or it is looked at by `defined`: most runs need one command of many.
void addCommand(CLI::App& program, const std::string& name, const std::string& description,
                std::function<void(CLI::App& command)> define);

/// The same command, with all that it has.
CLI::App& defined(CLI::App& command);

/// The commands of a command, or of the program.
std::vector<CLI::App*> commandsOf(const CLI::App& command);

} // namespace Ambrel

#endif

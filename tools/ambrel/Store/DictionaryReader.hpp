#ifndef AMBREL_DICTIONARYREADER_HPP
#define AMBREL_DICTIONARYREADER_HPP

#include "tools/ambrel/InputFile.hpp"

#include <AmbrelKit/Platform/JSONDictionary.hpp>
#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

namespace Ambrel {

/// Reads dictionaries: one JSON object over any number of lines, or one on each line (NDJSON; blank
/// lines are skipped). Calls `take` with each as soon as it is read, and with the number of its
/// first line. Throws `CommandError` that names the file and the line where no dictionary is.
void readDictionaries(
    InputFile& file,
    const std::function<void(const AmbrelKit::JSONDictionary& dictionary, std::size_t line)>& take);

/// The command line or an input is wrong at that line.
[[noreturn]] void throwBadLine(const std::string& source, std::size_t line,
                               const std::string& reason);

} // namespace Ambrel

#endif

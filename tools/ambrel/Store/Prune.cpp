#include "tools/ambrel/Store/Prune.hpp"

#include "AmbrelKit/Platform/JSONFile.hpp"
#include "tools/ambrel/Arguments/Duration.hpp"
#include "tools/ambrel/Arguments/Number.hpp"
#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Store/Store.hpp"
#include "tools/ambrel/Terminal/Output.hpp"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <limits>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace Ambrel {

namespace {

using AmbrelKit::AmbrelStorage;
using AmbrelKit::JSONDictionary;
using AmbrelKit::JSONValue;

struct Kept {
    std::size_t newest = 1;                                 ///< at least so many
    double since = std::numeric_limits<double>::infinity(); ///< and what is not before
};

std::optional<Kept> kept(const std::string& text) {
    if (const auto count = wholeNumber(text)) {
        return *count > 0 ? std::optional(Kept{*count}) : std::nullopt;
    }
    const bool hasUnit = text.find_first_of("smhdw") != std::string::npos;
    const auto age = hasUnit ? duration(text) : std::nullopt;
    return age ? std::optional(Kept{1, secondsNow() - *age}) : std::nullopt;
}

/// Whether a collection, and nothing else, stands in the file that bears its time. What else stands
/// there is reported; another process may have removed it.
bool isCollection(const AmbrelStorage& store, double time) {
    const std::string path = fileOf(time);
    std::error_code error;
    const auto type = std::filesystem::symlink_status(path, error).type();
    if (type == std::filesystem::file_type::not_found) {
        return false;
    }
    try {
        if (type != std::filesystem::file_type::regular) {
            throw std::runtime_error(path + ": not a regular file");
        }
        const JSONValue value = AmbrelKit::readJSONFile(path);
        if (!value.is_object() || AmbrelStorage::fileName(value.get_ref<const JSONDictionary&>()) !=
                                      AmbrelStorage::fileName({{"timestamp", time}})) {
            throw std::runtime_error(path + ": no collection of that time");
        }
        return true;
    } catch (const std::exception& problem) {
        const auto* failure = dynamic_cast<const std::system_error*>(&problem);
        if (failure == nullptr || failure->code() != std::errc::no_such_file_or_directory) {
            store.report(problem.what());
        }
    }
    return false;
}

/// How many of the oldest are not kept.
std::size_t countOfOld(const AmbrelStorage& store, const std::vector<double>& times,
                       const Kept& kept) {
    std::size_t older = times.size();
    for (std::size_t missing = kept.newest; older > 0 && missing > 0; --older) {
        missing -= isCollection(store, times[older - 1]) ? 1 : 0;
    }
    const auto since = std::lower_bound(times.begin(), times.end(), kept.since);
    return std::min(older, static_cast<std::size_t>(since - times.begin()));
}

/// False when it is not there any more, or can't be removed, which is reported.
bool remove(const AmbrelStorage& store, double time) {
    const std::string path = fileOf(time);
    if (unlink(path.c_str()) == 0) {
        return true;
    }
    if (errno != ENOENT) {
        store.report(path + ": " + std::generic_category().message(errno));
    }
    return false;
}

std::string described(double time) {
    const auto date = localTime(time);
    return timestampText(time) + (date ? " (" + *date + ")" : "");
}

} // namespace

std::string checkKept(const std::string& text) {
    return kept(text) ? "" : "\"" + text + "\" is neither an age nor a number of 1 or more";
}

bool prune(const std::string& keep, bool isRehearsal) {
    const std::string verb = isRehearsal ? "would remove " : "removed ";
    return withStore([&](const AmbrelStorage& store) {
        auto times = hasSaved() ? store.savedTimestamps() : std::vector<double>{};
        times.resize(countOfOld(store, times, kept(keep).value()));
        std::size_t count = 0;
        for (const double time : times) {
            if (isCollection(store, time) && (isRehearsal || remove(store, time))) {
                printResult(verb + described(time) + "\n");
                ++count;
            }
        }
        printResult(verb + std::to_string(count) +
                    (count == 1 ? " collection\n" : " collections\n"));
    });
}

} // namespace Ambrel

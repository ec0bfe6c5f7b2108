#include "tools/ambrel/Store/Selection.hpp"

#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Store/Store.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Ambrel {

namespace {

using AmbrelKit::AmbrelStorage;
using AmbrelKit::JSONDictionary;

constexpr std::string_view newest = "last";

/// How many collections stand behind the one that `last` or `last-N` names.
std::optional<std::size_t> placeFromLast(std::string_view text) {
    if (text == newest) {
        return 0;
    }
    if (!text.starts_with(newest) || text[newest.size()] != '-') {
        return std::nullopt;
    }
    constexpr std::size_t greatestLength = 9; // of a number that no file system exceeds
    const std::string digits(text.substr(newest.size() + 1));
    const bool isNumber = !digits.empty() && digits.size() <= greatestLength &&
                          digits.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::optional<std::size_t>(std::stoul(digits)) : std::nullopt;
}

} // namespace

std::string selectionHelp() {
    return "A collection is named by its time, or by last, last-1 (the one before), ...\nA time "
           "is " +
           std::string(pointInTimeForms) + ", which names the newest that is so old.";
}

std::string checkSelection(const std::string& text) {
    return placeFromLast(text) || pointInTime(text)
               ? ""
               : "\"" + text + "\" is no point in time, nor last or last-N";
}

std::optional<double> selectedTime(const AmbrelStorage& store, const std::string& text) {
    if (const auto time = fixedPointInTime(text)) {
        return time;
    }
    const auto times = hasSaved() ? store.savedTimestamps() : std::vector<double>{};
    auto end = times.end();
    std::size_t behind = 0;
    if (const auto place = placeFromLast(text)) {
        behind = *place;
    } else if (const auto time = pointInTime(text)) {
        end = std::upper_bound(times.begin(), times.end(), *time);
    } else {
        throw CommandError(badInput, checkSelection(text));
    }
    const auto count = static_cast<std::size_t>(end - times.begin());
    return behind < count ? std::optional(times[count - 1 - behind]) : std::nullopt;
}

JSONDictionary selectedCollection(const std::string& text) {
    std::string problem;
    const AmbrelStorage* const store = // a reference makes g++ 14 warn of the argument's end
        &storeReportingTo([&problem](const std::string& line) { problem = line; });
    std::optional<JSONDictionary> found;
    const auto time = selectedTime(*store, text);
    if (time && hasSaved()) {
        store->forEachSavedCollection(*time, *time, [&found](JSONDictionary collection) {
            if (!found) {
                found = std::move(collection);
            }
        });
    }
    if (!found) {
        problem.empty() ? throwNotSaved(text) : throw CommandError(failed, problem);
    }
    return std::move(*found);
}

void throwNotSaved(const std::string& text) {
    throw CommandError(failed, "no collection of " + text + " is saved");
}

} // namespace Ambrel

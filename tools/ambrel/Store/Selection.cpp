#include "tools/ambrel/Store/Selection.hpp"

#include "tools/ambrel/Arguments/Number.hpp"
#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Commands.hpp"
#include "tools/ambrel/Store/Store.hpp"

#include <algorithm>
#include <memory>
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
    return wholeNumber(text.substr(newest.size() + 1));
}

/// The store, whose last problem stands in `problem` from here on. A reference would make g++ 14
/// warn of the argument's end.
const AmbrelStorage* storeNoting(const std::shared_ptr<std::string>& problem) {
    return &storeReportingTo([problem](const std::string& line) { *problem = line; });
}

std::vector<double> savedTimes() {
    const auto problem = std::make_shared<std::string>();
    const AmbrelStorage* const store = storeNoting(problem);
    auto times = hasSaved() ? store->savedTimestamps() : std::vector<double>{};
    if (!problem->empty()) {
        throw CommandError(failed, *problem);
    }
    return times;
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

std::optional<double> selectedTime(const std::string& text) {
    if (const auto time = fixedPointInTime(text)) {
        return time;
    }
    const auto times = savedTimes();
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
    const auto time = selectedTime(text);
    const auto problem = std::make_shared<std::string>();
    const AmbrelStorage* const store = storeNoting(problem);
    std::optional<JSONDictionary> found;
    if (time && hasSaved()) {
        store->forEachSavedCollection(*time, *time, [&found](JSONDictionary collection) {
            if (!found) {
                found = std::move(collection);
            }
        });
    }
    if (!found && time && !problem->empty()) { // of its file, or of another in which it may stand
        throw CommandError(failed, "no collection of " + timestampText(*time) + " can be read; " +
                                       *problem);
    }
    if (!found) {
        throwNotSaved(text, time);
    }
    return std::move(*found);
}

void throwNotSaved(const std::string& text, std::optional<double> time) {
    const auto place = placeFromLast(text);
    std::string reason = "no collection is saved";
    if (time) {
        reason = "no collection of " + timestampText(*time) + " is saved";
    } else if (!place) {
        reason = "no collection as old as " + text + " is saved";
    } else if (*place > 0) {
        reason = "fewer than " + std::to_string(*place + 1) + " collections are saved";
    }
    throw CommandError(failed, reason);
}

} // namespace Ambrel

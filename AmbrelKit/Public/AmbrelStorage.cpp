#include <AmbrelKit/AmbrelStorage.hpp>

#include "AmbrelKit/Internal/Extensions/DoubleText.hpp"
#include "AmbrelKit/Internal/Extensions/File.hpp"
#include "AmbrelKit/Internal/Extensions/ReplaceFile.hpp"
#include "AmbrelKit/Platform/JSONFile.hpp"
#include "AmbrelKit/Platform/JSONText.hpp"
#include "AmbrelKit/Platform/PrintableText.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

namespace AmbrelKit {

namespace {

/// The environment variable's value; absent when it is unset or empty.
std::optional<std::string> environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0' ? std::optional<std::string>(value) : std::nullopt;
}

/// The double that is the integer; nothing when it lies between two doubles.
template <class Integer> std::optional<double> exactly(Integer integer) {
    const auto number = static_cast<double>(integer);
    const double tooGreat = std::ldexp(1.0, std::numeric_limits<Integer>::digits);
    const bool exact = number < tooGreat && static_cast<Integer>(number) == integer;
    return exact ? std::optional(number) : std::nullopt;
}

} // namespace

/// Never destroyed: a host may save while the process ends.
AmbrelStorage& AmbrelStorage::shared() {
    static auto& storage = *new AmbrelStorage;
    return storage;
}

AmbrelStorage::AmbrelStorage()
    : report([](const std::string& line) {
          static const std::ios_base::Init ready; // also for what runs before main
          std::cout << line << std::endl;
      }) {}

void AmbrelStorage::save(const JSONDictionary& dictionary) const {
    const auto name = fileName(dictionary);
    if (!name) {
        return;
    }
    try {
        const std::string directory = path();
        std::vector<std::string> made;
        std::error_code unknown; // whatever it is, making the directory meets it and says so
        if (!std::filesystem::exists(directory, unknown)) {
            made = makeDirectory(directory);
        }
        checkOwner(directory);
        replaceFile(directory, *name, writeJSON(dictionary));
        std::for_each(made.begin(), made.end(), syncEntry);
    } catch (const std::exception& failure) {
        reportFailure(failure);
    }
}

void AmbrelStorage::delete_(const JSONDictionary& dictionary) const {
    const auto name = fileName(dictionary);
    if (!name) {
        return;
    }
    try {
        checkOwner(path());
        removeFile(pathForDirectory(directoryPath, *name));
    } catch (const std::exception& failure) {
        reportFailure(failure);
    }
}

std::vector<JSONDictionary> AmbrelStorage::savedCollections() const {
    std::vector<JSONDictionary> collections;
    forEachSavedCollection([&collections](JSONDictionary collection) {
        collections.push_back(std::move(collection));
    });
    return collections;
}

void AmbrelStorage::forEachSavedCollection(const Visitor& visit) const {
    std::vector<std::string> names;
    forEachNameInDirectory([&names](std::string name) { names.push_back(std::move(name)); });
    for (const std::string& name : names) {
        visitInDirectory(name, visit);
    }
}

/// Holds a number for each file, not its name: there may be many.
void AmbrelStorage::forEachSavedCollection(double since, double until, const Visitor& visit) const {
    constexpr double beforeAll = -std::numeric_limits<double>::infinity();
    const auto inRange = [=](double time) { return time >= since && time <= until; };
    std::vector<double> times;
    std::vector<std::pair<double, std::string>> others;
    forEachNameInDirectory([&](std::string name) {
        if (const auto time = doubleOfText(name)) {
            if (inRange(*time)) {
                times.push_back(*time);
            }
        } else if (const auto collection = getInDirectory(name)) {
            const double other = timestamp(*collection).value_or(beforeAll);
            if (inRange(other)) {
                others.emplace_back(other, std::move(name));
            }
        }
    });
    std::sort(times.begin(), times.end());
    std::sort(others.begin(), others.end());
    auto other = others.begin();
    for (const double time : times) {
        for (; other != others.end() && other->first < time; ++other) {
            visitInDirectory(other->second, visit);
        }
        visitInDirectory(doubleText(time), visit);
    }
    for (; other != others.end(); ++other) {
        visitInDirectory(other->second, visit);
    }
}

std::vector<double> AmbrelStorage::savedTimestamps() const {
    std::vector<double> times;
    forEachNameInDirectory([&times](const std::string& name) {
        if (const auto time = doubleOfText(name)) {
            times.push_back(*time);
        }
    });
    std::sort(times.begin(), times.end());
    return times;
}

std::optional<std::string> AmbrelStorage::fileName(const JSONDictionary& dictionary) {
    const auto time = timestamp(dictionary);
    return time ? std::optional(doubleText(*time)) : std::nullopt;
}

std::optional<std::string> AmbrelStorage::documentsPath() {
    if (auto folder = environment("AMBREL_DOCUMENTS_DIR")) {
        return folder;
    }
    if (auto folders = environment("STATE_DIRECTORY")) {
        return folders->substr(0, folders->find(':')); // a service may have several
    }
    // A relative path in this variable is to be ignored: XDG Base Directory Specification.
    if (auto folder = environment("XDG_DATA_HOME"); folder && folder->front() == '/') {
        return *folder + "/ambrelkit";
    }
    if (auto home = environment("HOME")) {
        return *home + "/.local/share/ambrelkit";
    }
    return std::nullopt;
}

std::string AmbrelStorage::path() { return pathForDirectory(directoryPath); }

std::string AmbrelStorage::pathForDirectory(std::string_view directory) {
    return documentsPath().value_or("").append("/").append(directory);
}

std::string AmbrelStorage::pathForDirectory(std::string_view directory, std::string_view withName) {
    return pathForDirectory(directory).append("/").append(withName);
}

/// The number under "timestamp"; a boolean is none, nor is an integer that a double cannot hold.
std::optional<double> AmbrelStorage::timestamp(const JSONDictionary& dictionary) {
    const auto found = dictionary.find(timestampKey);
    if (found == dictionary.end()) {
        return std::nullopt;
    }
    switch (found->second.type()) {
    case JSONValue::value_t::number_integer:
        return exactly(found->second.get<std::int64_t>());
    case JSONValue::value_t::number_unsigned:
        return exactly(found->second.get<std::uint64_t>());
    case JSONValue::value_t::number_float:
        return found->second.get<double>();
    default:
        return std::nullopt;
    }
}

std::optional<JSONDictionary> AmbrelStorage::getInDirectory(const std::string& withName) const {
    try {
        JSONValue value = readJSONFile(pathForDirectory(directoryPath, withName));
        if (value.is_object()) {
            return std::move(value.get_ref<JSONDictionary&>());
        }
    } catch (const std::exception& failure) {
        reportFailure(failure);
    }
    return std::nullopt;
}

void AmbrelStorage::visitInDirectory(const std::string& withName, const Visitor& visit) const {
    if (auto collection = getInDirectory(withName)) {
        visit(std::move(*collection));
    }
}

void AmbrelStorage::forEachNameInDirectory(
    const std::function<void(std::string name)>& visit) const {
    try {
        checkOwner(path());
        forEachNameIn(path(), [&visit](std::string name) {
            if (!isTemporaryName(name)) {
                visit(std::move(name));
            }
        });
    } catch (const std::exception& failure) {
        reportFailure(failure);
    }
}

void AmbrelStorage::reportFailure(const std::exception& failure) const {
    if (report) {
        report(printable(failure.what())); // a file's name may hold any byte
    }
}

} // namespace AmbrelKit

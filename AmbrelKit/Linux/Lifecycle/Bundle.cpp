#include "AmbrelKit/Platform/Bundle.hpp"

#include "AmbrelKit/Platform/JSONFile.hpp"

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

namespace AmbrelKit {

namespace {

constexpr const char* servicesKey = "NSBonjourServices";
constexpr const char* identifierKey = "CFBundleIdentifier";

/// What was found where a dictionary may be: nothing, a dictionary, or the reason why not.
struct Reading {
    std::optional<JSONDictionary> dictionary;
    std::optional<std::string> problem;
};

std::optional<std::filesystem::path> namedFile() {
    const char* name = std::getenv("AMBREL_INFO");
    if (name == nullptr || *name == '\0') {
        return std::nullopt;
    }
    return name;
}

std::optional<std::filesystem::path> fileBesideExecutable() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        return std::nullopt;
    }
    return executable.parent_path() / "Info.json";
}

/// Only a file that is named has to be there.
Reading readFile(const std::filesystem::path& file, bool named) {
    try {
        JSONValue value = readJSONFile(file);
        if (!value.is_object()) {
            throw std::runtime_error(file.string() + ": the top level is not a JSON object");
        }
        return {.dictionary = std::move(value.get_ref<JSONDictionary&>()), .problem = std::nullopt};
    } catch (const std::exception& error) {
        const auto* told = dynamic_cast<const std::system_error*>(&error);
        const bool missing =
            told != nullptr && told->code() == std::errc::no_such_file_or_directory;
        return missing && !named ? Reading{}
                                 : Reading{.dictionary = std::nullopt, .problem = error.what()};
    }
}

Reading read(const std::optional<JSONDictionary>& fallback) {
    if (const auto file = namedFile()) {
        return readFile(*file, true);
    }
    if (const auto file = fileBesideExecutable()) {
        Reading reading = readFile(*file, false);
        if (reading.dictionary || reading.problem) {
            return reading;
        }
    }
    return {.dictionary = fallback, .problem = std::nullopt};
}

const JSONValue* find(const std::optional<JSONDictionary>& dictionary, const char* key) {
    if (!dictionary) {
        return nullptr;
    }
    const auto entry = dictionary->find(key);
    return entry != dictionary->end() ? &entry->second : nullptr;
}

std::optional<std::vector<std::string>> listOfTexts(const JSONValue& value) {
    if (!value.is_array()) {
        return std::nullopt;
    }
    std::vector<std::string> texts;
    for (const JSONValue& element : value) {
        if (!element.is_string()) {
            return std::nullopt;
        }
        texts.push_back(element.get<std::string>());
    }
    return texts;
}

} // namespace

Bundle& Bundle::main() {
    static auto& bundle = *new Bundle;
    return bundle;
}

std::optional<JSONDictionary> Bundle::infoDictionary() const {
    return read(dictionary_).dictionary;
}

std::optional<std::string> Bundle::problem() const {
    const Reading reading = read(dictionary_);
    const auto* const services = find(reading.dictionary, servicesKey);
    if (services != nullptr && !listOfTexts(*services)) {
        return std::string("\"") + servicesKey + "\" is not a list of strings";
    }
    const auto* const identifier = find(reading.dictionary, identifierKey);
    if (identifier != nullptr && !identifier->is_string()) {
        return std::string("\"") + identifierKey + "\" is not a string";
    }
    return reading.problem;
}

std::optional<std::vector<std::string>> Bundle::bonjourServices() const {
    const auto dictionary = infoDictionary();
    const auto* const services = find(dictionary, servicesKey);
    return services != nullptr ? listOfTexts(*services) : std::nullopt;
}

std::optional<std::string> Bundle::identifier() const {
    const auto dictionary = infoDictionary();
    const auto* const identifier = find(dictionary, identifierKey);
    return identifier != nullptr && identifier->is_string()
               ? std::optional(identifier->get<std::string>())
               : std::nullopt;
}

void Bundle::setInfoDictionary(std::optional<JSONDictionary> dictionary) {
    dictionary_ = std::move(dictionary);
}

} // namespace AmbrelKit

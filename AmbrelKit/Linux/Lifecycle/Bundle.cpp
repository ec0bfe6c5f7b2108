#include "AmbrelKit/Platform/Bundle.hpp"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace AmbrelKit {

namespace {

constexpr const char* servicesKey = "NSBonjourServices";

/// What was found where a dictionary may be: nothing, a dictionary, or the reason why not.
struct Reading {
    std::optional<JSONDictionary> dictionary;
    std::optional<std::string> problem;
};

Reading unusable(const std::filesystem::path& file, const std::string& reason) {
    return {.dictionary = std::nullopt, .problem = file.string() + ": " + reason};
}

Reading parsed(const std::filesystem::path& file, const std::string& text) {
    try {
        JSONValue value = JSONValue::parse(text);
        if (!value.is_object()) {
            return unusable(file, "the top level is not a JSON object");
        }
        return {.dictionary = std::move(value.get_ref<JSONDictionary&>()), .problem = std::nullopt};
    } catch (const JSONValue::parse_error& error) {
        return unusable(file, "not JSON, wrong at byte " + std::to_string(error.byte));
    } catch (const JSONValue::out_of_range&) {
        return unusable(file, "it has a number that is too large");
    }
}

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
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream.is_open()) {
        const int error = errno;
        return !named && error == ENOENT ? Reading{}
                                         : unusable(file, std::generic_category().message(error));
    }
    try {
        return parsed(file, {std::istreambuf_iterator<char>(stream), {}});
    } catch (const std::ios_base::failure& error) { // a directory can be opened, but not read
        return unusable(file, error.code().message());
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
    static Bundle bundle;
    return bundle;
}

std::optional<JSONDictionary> Bundle::infoDictionary() const {
    return read(dictionary_).dictionary;
}

std::optional<std::string> Bundle::problem() const {
    const Reading reading = read(dictionary_);
    if (!reading.dictionary) {
        return reading.problem;
    }
    const auto services = reading.dictionary->find(servicesKey);
    if (services != reading.dictionary->end() && !listOfTexts(services->second)) {
        return std::string("\"") + servicesKey + "\" is not a list of strings";
    }
    return std::nullopt;
}

std::optional<std::vector<std::string>> Bundle::bonjourServices() const {
    const Reading reading = read(dictionary_);
    if (!reading.dictionary) {
        return std::nullopt;
    }
    const auto services = reading.dictionary->find(servicesKey);
    return services == reading.dictionary->end() ? std::nullopt : listOfTexts(services->second);
}

void Bundle::setInfoDictionary(std::optional<JSONDictionary> dictionary) {
    dictionary_ = std::move(dictionary);
}

} // namespace AmbrelKit

#ifndef AMBRELKIT_PLATFORM_BUNDLE_HPP
#define AMBRELKIT_PLATFORM_BUNDLE_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Platform/JSONDictionary.hpp"

#include <optional>
#include <string>
#include <vector>

namespace AmbrelKit {

/// What the host application says of itself: its information dictionary.
///
/// It is the JSON object in the file that the environment variable `AMBREL_INFO` names; without
/// that variable the one in `Info.json` beside the executable; without that file what the host has
/// set. Such a file is a regular one of at most 16 MiB. Nothing is cached but what the host set.
///
/// A host lists there the DNS-SD types that it looks for, before it creates a facade; without the
/// list it finds no services:
///
///     {"NSBonjourServices": ["_ipp._tcp", "_http._tcp"]}
class Bundle {
public:
    /// The bundle of this process, made on first use and never destroyed. Used on one thread at a
    /// time.
    AMBRELKIT_API static Bundle& main();

    /// The information dictionary, or nothing when there is none or it can't be read.
    [[nodiscard]] AMBRELKIT_API std::optional<JSONDictionary> infoDictionary() const;

    /// Why a dictionary that is there can't be used, in one line for people: the file can't be
    /// read, it is not JSON, its top level is not an object, its "NSBonjourServices" is not a list
    /// of strings, or its "CFBundleIdentifier" is not a string. Nothing when all is well, or there
    /// is no dictionary.
    [[nodiscard]] AMBRELKIT_API std::optional<std::string> problem() const;

    /// The dictionary's list of DNS-SD service types, "NSBonjourServices": order and duplicates
    /// kept. Nothing when there is no dictionary, no such key, or its value is not a list of
    /// strings.
    [[nodiscard]] AMBRELKIT_API std::optional<std::vector<std::string>> bonjourServices() const;

    /// The application's identifier, "CFBundleIdentifier", such as "org.example.Application": the
    /// name of its desktop file, without `.desktop`. Nothing when there is no dictionary, no such
    /// key, or its value is not a string.
    [[nodiscard]] AMBRELKIT_API std::optional<std::string> identifier() const;

    /// The dictionary that holds where no file gives one, from the next question on; nothing takes
    /// it away again. A facade that was made before keeps what it was made with.
    AMBRELKIT_API void setInfoDictionary(std::optional<JSONDictionary> dictionary);

private:
    Bundle() = default;

    std::optional<JSONDictionary> dictionary_;
};

} // namespace AmbrelKit

#endif

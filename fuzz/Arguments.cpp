// What a user may type for a value of an option, or a host give as an identifier.

#include "AmbrelKit/Platform/UUID.hpp"
#include "fuzz/Properties.hpp"
#include "tools/ambrel/Arguments/Duration.hpp"
#include "tools/ambrel/Arguments/Number.hpp"
#include "tools/ambrel/Arguments/PointInTime.hpp"
#include "tools/ambrel/Arguments/ServiceTypes.hpp"
#include "tools/ambrel/Store/Prune.hpp"
#include "tools/ambrel/Store/Selection.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

using Fuzz::require;

namespace {

void checkTimes(const std::string& text) {
    using namespace Ambrel;
    if (const auto seconds = duration(text)) {
        require(std::isfinite(*seconds) && *seconds > 0, "a duration is one", text);
    }
    const auto time = fixedPointInTime(text);
    require(!time || pointInTime(text) == time, "a fixed time is one", text);
    if (!time) {
        return;
    }
    require(std::isfinite(*time), "a time is finite", text);
    require(fixedPointInTime(timestampText(*time)) == time, "a time reads back", text);
    const auto local = localTime(*time);
    constexpr double fourDigits = 253'402'000'000; // of the year
    if (local && *time >= 0 && *time < fourDigits) {
        require(fixedPointInTime(*local) == std::floor(*time), "local time reads back", *local);
    }
    Fuzz::requireOneLine(age(*time, 1.7e9));
    Fuzz::requireOneLine(age(1.7e9, *time));
}

void checkIdentifier(const std::string& text) {
    using AmbrelKit::UUID;
    const auto identifier = UUID::parse(text);
    if (identifier) {
        std::string upper = text;
        std::transform(text.begin(), text.end(), upper.begin(),
                       [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c; });
        require(identifier->text() == upper, "an identifier has one text", text);
    }
}

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool hasZone = setenv("TZ", "IST-5:30", 1) == 0;
    static const bool hasFolder = setenv("AMBREL_DOCUMENTS_DIR", "/nonexistent", 1) == 0;
    const std::string text(Fuzz::textOf(data, size));
    if (!hasZone || !hasFolder || text.find('\0') != text.npos) { // as no argument has it
        return 0;
    }
    checkTimes(text);
    checkIdentifier(text);
    (void)Ambrel::isServiceType(text);
    (void)Ambrel::checkKept(text);
    require(Ambrel::checkSelection(text).empty() || !Ambrel::fixedPointInTime(text),
            "a time names a collection", text);
    return 0;
}

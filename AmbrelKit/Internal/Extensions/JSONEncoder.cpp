#include "AmbrelKit/Internal/Extensions/JSONEncoder.hpp"

#include <cmath>
#include <type_traits>

namespace AmbrelKit {

static_assert(std::is_same_v<JSONDictionary, nlohmann::json::object_t>);

JSONEncoder JSONEncoder::default_() {
    JSONEncoder encoder;
    encoder.dateEncodingStrategy = [](TimePoint time) -> JSONValue {
        const std::chrono::duration<double> seconds = time.time_since_epoch();
        return static_cast<std::int64_t>(seconds.count());
    };
    return encoder;
}

JSONValue JSONEncoder::encode(double number) const {
    if (!std::isfinite(number)) {
        throw EncodingError("a number that is not finite has no JSON form");
    }
    return number;
}

JSONValue JSONEncoder::encode(const std::map<Text, Text>& texts) const {
    JSONDictionary dictionary;
    for (const auto& [key, text] : texts) {
        dictionary.emplace(key.string(), encode(text));
    }
    return dictionary;
}

} // namespace AmbrelKit

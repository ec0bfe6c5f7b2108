#include "AmbrelKit/Linux/NearbyDevices/AvahiAnswers.hpp"

#include "AmbrelKit/Linux/Bus/SystemBus.hpp"
#include "AmbrelKit/Linux/Libraries/Systemd.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

std::optional<std::vector<std::string>> readTexts(sd_bus_message* reply) {
    std::vector<std::string> texts;
    int result = sd_bus_message_enter_container(reply, 'a', "ay");
    while (result > 0) {
        const void* bytes = nullptr;
        std::size_t length = 0;
        result = sd_bus_message_read_array(reply, 'y', &bytes, &length);
        if (result > 0) {
            texts.emplace_back(static_cast<const char*>(bytes), length);
        }
    }
    return result < 0 ? std::nullopt : std::optional(std::move(texts));
}

} // namespace

std::optional<ServiceRecord> readService(sd_bus_message* reply, bool withTXT) {
    const char* host = nullptr;
    std::uint16_t port = 0;
    if (isError(reply) || sd_bus_message_skip(reply, "iisss") < 0 ||
        sd_bus_message_read(reply, "s", &host) <= 0 || sd_bus_message_skip(reply, "is") < 0 ||
        sd_bus_message_read(reply, "q", &port) <= 0) {
        return std::nullopt;
    }
    const auto texts = readTexts(reply);
    if (!texts) {
        return std::nullopt;
    }
    return ServiceRecord{host, port,
                         withTXT ? std::optional(txtRecordBytes(*texts)) : std::nullopt};
}

std::optional<HostAddress> readAddress(sd_bus_message* reply) {
    const char* address = nullptr;
    if (isError(reply) || sd_bus_message_skip(reply, "iisi") < 0 ||
        sd_bus_message_read(reply, "s", &address) <= 0) {
        return std::nullopt;
    }
    return parsedAddress(address);
}

} // namespace AmbrelKit::Linux

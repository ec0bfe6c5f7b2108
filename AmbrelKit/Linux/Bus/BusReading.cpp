#include "AmbrelKit/Linux/Bus/BusReading.hpp"

namespace AmbrelKit::Linux {

void readProperties(sd_bus_message* message,
                    const std::function<bool(std::string_view name, std::string_view type)>& read) {
    if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) {
        return;
    }
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        const char* type = nullptr;
        if (sd_bus_message_read(message, "s", &name) <= 0 ||
            sd_bus_message_peek_type(message, nullptr, &type) <= 0 ||
            (!read(name, type) && sd_bus_message_skip(message, "v") < 0) ||
            sd_bus_message_exit_container(message) < 0) {
            return;
        }
    }
}

} // namespace AmbrelKit::Linux

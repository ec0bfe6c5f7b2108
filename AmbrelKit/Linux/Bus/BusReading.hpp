#ifndef AMBRELKIT_LINUX_BUS_BUSREADING_HPP
#define AMBRELKIT_LINUX_BUS_BUSREADING_HPP

#include <functional>
#include <string_view>
#include <systemd/sd-bus.h>

// Reads what messages have in common. What is not of the type that is read is left unread.

namespace AmbrelKit::Linux {

/// Goes through an `a{sv}`. `read` is given each property's name and type and says whether it has
/// read the value, a "v".
void readProperties(sd_bus_message* message,
                    const std::function<bool(std::string_view name, std::string_view type)>& read);

/// Calls `read` for each text of an array of texts.
template <class Read> void eachText(sd_bus_message* message, const Read& read) {
    if (sd_bus_message_enter_container(message, 'a', "s") <= 0) {
        return;
    }
    const char* text = nullptr;
    while (sd_bus_message_read_basic(message, 's', &text) > 0) {
        read(std::string_view(text));
    }
    sd_bus_message_exit_container(message);
}

} // namespace AmbrelKit::Linux

#endif

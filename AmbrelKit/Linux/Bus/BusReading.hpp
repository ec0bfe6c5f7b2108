#ifndef AMBRELKIT_LINUX_BUS_BUSREADING_HPP
#define AMBRELKIT_LINUX_BUS_BUSREADING_HPP

#include <functional>
#include <string_view>
#include <systemd/sd-bus.h>

// Reads what messages have in common. What is not of the type that is read is left unread.

namespace AmbrelKit::Linux {

inline constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

/// sd-bus refuses a text with a Unicode noncharacter (U+FFFE, say), which D-Bus allows, and gets
/// past no text that it refuses. Replaces the noncharacters of a body that is one dictionary, or a
/// text and a dictionary before anything else, by a U+FFFD or its like, and has the body be read
/// from its beginning. False when there are none.
bool replaceNoncharacters(sd_bus_message* message);

/// Reads a body by `read`, which says whether it came to the end of the dictionary in it; where
/// noncharacters kept it from there, it is called again.
template <class Read> void readBody(sd_bus_message* message, const Read& read) {
    if (!read() && replaceNoncharacters(message)) {
        read();
    }
}

/// Goes through a body that is an `a{sv}`, or through the one that comes after its first text.
/// `read` is given each property's name and type and says whether it has read the value, a "v"; it
/// may be given all of them again.
void readProperties(sd_bus_message* message,
                    const std::function<bool(std::string_view name, std::string_view type)>& read);

/// The first text of an array of texts, which is entered, and the one after it; null when there is
/// none, and the array is left.
const char* firstText(sd_bus_message* message);
const char* nextText(sd_bus_message* message);

/// Calls `read` for each text of an array of texts.
template <class Read> void eachText(sd_bus_message* message, const Read& read) {
    for (const char* text = firstText(message); text != nullptr; text = nextText(message)) {
        read(std::string_view(text));
    }
}

} // namespace AmbrelKit::Linux

#endif

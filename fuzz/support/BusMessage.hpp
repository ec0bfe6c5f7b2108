#ifndef AMBREL_FUZZ_SUPPORT_BUSMESSAGE_HPP
#define AMBREL_FUZZ_SUPPORT_BUSMESSAGE_HPP

#include "fuzz/support/BusValues.hpp"

#include <cstring>

/// How a message of D-Bus is laid out, in this machine's order of bytes.
namespace BusMessage {

// Where each stands in the head of a message, of which the fields are the last part.
constexpr std::size_t typeAt = 1;
constexpr std::size_t flagsAt = 2;
constexpr std::size_t bodyLengthAt = 4;
constexpr std::size_t serialAt = 8;
constexpr std::size_t fieldsLengthAt = 12;
constexpr std::size_t headLength = 16;

enum Type : std::uint8_t { call = 1, reply = 2, error = 3, signalled = 4 };
enum Field : std::uint8_t {
    path = 1,
    interface = 2,
    member = 3,
    errorName = 4,
    replySerial = 5,
    destination = 6,
    sender = 7,
    signature = 8,
    descriptors = 9,
};

constexpr std::uint8_t withoutReply = 1;

inline std::uint32_t numberAt(std::string_view bytes, std::size_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

/// Appends a field to those of a message.
void addField(BusValues& fields, Field field, const char* type, std::string_view text);
void addField(BusValues& fields, Field field, std::uint32_t number);

/// A text among the fields of a call of the kit's, which have texts, paths and one signature.
std::string_view textField(std::string_view message, Field wanted);

/// A name that D-Bus allows for a member, and one for an interface or an error.
std::string busMember(std::string_view text);
std::string busInterface(std::string text);

} // namespace BusMessage

#endif

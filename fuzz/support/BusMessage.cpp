#include "fuzz/support/BusMessage.hpp"

#include <algorithm>

namespace BusMessage {

void addField(BusValues& fields, Field field, const char* type, std::string_view text) {
    fields.align(8);
    fields.appendNumber(field, 1);
    fields.appendSignature(type);
    *type == 'g' ? fields.appendSignature(text) : fields.appendText(text);
}

void addField(BusValues& fields, Field field, std::uint32_t number) {
    fields.align(8);
    fields.appendNumber(field, 1);
    fields.appendSignature("u");
    fields.appendNumber(number, 4);
}

std::string_view textField(std::string_view message, Field wanted) {
    const std::size_t end = headLength + numberAt(message, fieldsLengthAt);
    for (std::size_t at = headLength; at + 8 <= end; at = (at + 7) / 8 * 8) {
        const bool isShort = message[at + 2] == 'g';
        const std::size_t textAt = isShort ? at + 5 : at + 8;
        const std::size_t length =
            isShort ? static_cast<std::uint8_t>(message[at + 4]) : numberAt(message, at + 4);
        if (message[at] == static_cast<char>(wanted)) {
            return message.substr(textAt, length);
        }
        at = textAt + length + 1;
    }
    return {};
}

std::string busMember(std::string_view text) {
    auto name = busPath(text).substr(1, 100);
    std::replace(name.begin(), name.end(), '/', '_');
    return name.empty() || (name[0] >= '0' && name[0] <= '9') ? "M" + name : name;
}

std::string busInterface(std::string text) {
    std::replace(text.begin(), text.end(), '.', '/');
    std::string name;
    const auto elements = busPath(text).substr(0, 200);
    for (std::size_t at = 0; at < elements.size();) {
        const auto end = std::min(elements.find('/', at + 1), elements.size());
        name += (name.empty() ? "" : ".") + busMember(elements.substr(at + 1, end - at - 1));
        at = end;
    }
    return name.find('.') == std::string::npos ? "org." + name : name;
}

} // namespace BusMessage

#include "fuzz/support/BusValues.hpp"

#include "AmbrelKit/Platform/UTF8.hpp"

#include <cctype>
#include <cstring>

namespace {

constexpr int deepest = 16; // a bus allows 32 of each kind
constexpr std::size_t longestSignature = 255;
constexpr std::size_t longestBody = 1 << 20;
constexpr std::string_view basicTypes = "ybnqiuxtdhsog";

bool isBasic(char type) { return basicTypes.find(type) != std::string_view::npos; }

std::size_t sizeOf(char type) {
    switch (type) {
    case 'y':
        return 1;
    case 'n':
    case 'q':
        return 2;
    case 'x':
    case 't':
    case 'd':
        return 8;
    default:
        return 4;
    }
}

std::size_t alignmentOf(char type) {
    return type == '(' || type == '{' ? 8 : type == 'v' || type == 'g' ? 1 : sizeOf(type);
}

/// The length of the complete type that `text` begins with; 0 where it is none.
std::size_t lengthOfType(std::string_view text, int depth) {
    if (text.empty() || depth > deepest) {
        return 0;
    }
    if (isBasic(text[0]) || text[0] == 'v') {
        return 1;
    }
    if (text[0] == 'a' && text.substr(1).starts_with('{')) {
        const auto value =
            text.size() > 3 && isBasic(text[2]) ? lengthOfType(text.substr(3), depth + 1) : 0;
        return value > 0 && text.substr(3 + value).starts_with('}') ? value + 4 : 0;
    }
    if (text[0] == 'a') {
        const auto element = lengthOfType(text.substr(1), depth + 1);
        return element > 0 ? element + 1 : 0;
    }
    std::size_t length = 1;
    while (text[0] == '(') {
        if (length > 1 && text.substr(length).starts_with(')')) {
            return length + 1;
        }
        const auto member = lengthOfType(text.substr(std::min(length, text.size())), depth + 1);
        if (member == 0) {
            break;
        }
        length += member;
    }
    return 0;
}

} // namespace

std::string completeTypes(std::string_view text) {
    std::size_t length = 0;
    while (const auto next = lengthOfType(text.substr(length), 0)) {
        if (length + next > longestSignature) {
            break;
        }
        length += next;
    }
    return std::string(text.substr(0, length));
}

std::string busPath(std::string_view text) {
    std::string path;
    for (const char character : text) {
        if (character != '/') {
            path += std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
        } else if (path.empty() || path.back() != '/') {
            path += '/';
        }
    }
    if (!path.starts_with('/')) {
        path.insert(0, 1, '/');
    }
    if (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

void BusValues::appendNumber(std::uint64_t number, std::size_t size) {
    align(size);
    bytes_.append(reinterpret_cast<const char*>(&number), size); // this machine's order
}

void BusValues::appendText(std::string_view text) {
    appendNumber(text.size(), 4);
    bytes_.append(text).push_back('\0');
}

void BusValues::appendSignature(std::string_view signature) {
    bytes_.push_back(static_cast<char>(signature.size()));
    bytes_.append(signature).push_back('\0');
}

void BusValues::append(std::string_view types, Bytes& input) {
    while (!types.empty()) {
        types = appendOne(types, input, 0);
    }
}

/// Returns the types after the first.
std::string_view BusValues::appendOne(std::string_view types, Bytes& input, int depth) {
    const char type = types.front();
    if (type == 'a') {
        const auto length = lengthOfType(types, 0);
        appendArray(types.substr(1, length - 1), input, depth);
        return types.substr(length);
    }
    types.remove_prefix(1);
    if (type == '(' || type == '{') {
        align(8);
        while (types.front() != ')' && types.front() != '}') {
            types = appendOne(types, input, depth + 1);
        }
        types.remove_prefix(1);
    } else if (type == 'v') {
        auto content = completeTypes(input.text(words_));
        content.resize(depth < deepest ? lengthOfType(content, 0) : 0);
        appendSignature(content.empty() ? "y" : content);
        appendOne(content.empty() ? "y" : content, input, depth + 1);
    } else if (type == 's') {
        const auto text = input.text(words_);
        appendText(AmbrelKit::repairedUTF8(text.substr(0, text.find('\0'))));
    } else if (type == 'o') {
        appendText(busPath(input.text(words_)));
    } else if (type == 'g') {
        appendSignature(completeTypes(input.text(words_)));
    } else if (type == 'h') {
        descriptors_ = std::min(descriptors_ + 1, mostDescriptors);
        appendNumber(descriptors_ - 1, 4);
    } else {
        const auto bytes = input.take(sizeOf(type));
        std::uint64_t number = 0;
        std::memcpy(&number, bytes.data(), bytes.size());
        appendNumber(type == 'b' ? number & 1 : number, sizeOf(type));
    }
    return types;
}

void BusValues::appendArray(std::string_view element, Bytes& input, int depth) {
    appendNumber(0, 4);
    const auto lengthAt = bytes_.size() - 4;
    align(alignmentOf(element.front()));
    const auto begin = bytes_.size();
    for (int count = depth < deepest ? input.byte() : 0;
         count > 0 && !input.isEmpty() && bytes_.size() < longestBody; --count) {
        appendOne(element, input, depth + 1);
    }
    const auto length = static_cast<std::uint32_t>(bytes_.size() - begin);
    std::memcpy(bytes_.data() + lengthAt, &length, sizeof length);
}

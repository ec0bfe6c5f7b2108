#include "AmbrelKit/Internal/Extensions/Text.hpp"

#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <utf8proc.h>

namespace AmbrelKit {

namespace {

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string composed(std::string_view text) {
    struct Free {
        void operator()(utf8proc_uint8_t* memory) const { std::free(memory); }
    };
    utf8proc_uint8_t* result = nullptr;
    const auto length =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                     static_cast<utf8proc_ssize_t>(text.size()), &result,
                     static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
    const std::unique_ptr<utf8proc_uint8_t, Free> owned(result);
    if (length < 0) { // the text is valid, so only memory can have been short
        throw std::bad_alloc();
    }
    return {reinterpret_cast<const char*>(result), static_cast<std::size_t>(length)};
}

} // namespace

Text::Text(std::string_view bytes) {
    std::string repaired;
    std::string canonical;
    if (!isASCII(bytes)) {
        if (!isValidUTF8(bytes)) {
            repaired = repairedUTF8(bytes);
            bytes = repaired;
        }
        canonical = composed(bytes);
        if (canonical == bytes) {
            canonical.clear();
        }
    }
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max() ||
        canonical.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::bad_alloc();
    }
    if (bytes.empty()) {
        return;
    }
    const Sizes sizes{static_cast<std::uint32_t>(bytes.size()),
                      static_cast<std::uint32_t>(canonical.size())};
    const auto memory =
        std::make_shared_for_overwrite<char[]>(sizeof sizes + bytes.size() + canonical.size());
    std::memcpy(memory.get(), &sizes, sizeof sizes);
    std::copy(canonical.begin(), canonical.end(),
              std::copy(bytes.begin(), bytes.end(), memory.get() + sizeof sizes));
    memory_ = memory;
}

} // namespace AmbrelKit

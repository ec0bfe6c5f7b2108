// What an access point may send, as the kernel hands it on.

#include "AmbrelKit/Linux/Network/Association.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <cstdlib>

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AmbrelKit::Linux::AssociationSearch search;
    search.add(std::as_bytes(std::span(data, size)));
    const auto network = search.result();
    if (network && network->ssid && !AmbrelKit::isValidUTF8(*network->ssid)) {
        std::abort();
    }
    return 0;
}

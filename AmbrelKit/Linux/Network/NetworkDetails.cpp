#include "AmbrelKit/Linux/Network/NetworkDetails.hpp"

#include "AmbrelKit/Linux/Network/Interfaces.hpp"
#include "AmbrelKit/Linux/Network/Wireless.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

std::optional<std::string> interfaceWithAddress(const std::string& addressIPv4) {
    auto entries = Interfaces().addresses().value_or(std::vector<AddressEntry>());
    std::erase_if(entries, [&](const AddressEntry& entry) { return entry.address != addressIPv4; });
    const auto chosen = primaryAddress(std::move(entries));
    return chosen ? std::optional(repairedUTF8(chosen->interface)) : std::nullopt;
}

std::optional<std::uint32_t> joinedFrequency(const std::string& interface) {
    const auto network = association(interface);
    return network ? network->frequency : std::nullopt;
}

} // namespace AmbrelKit::Linux

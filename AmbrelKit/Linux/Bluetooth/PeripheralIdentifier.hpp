#ifndef AMBRELKIT_LINUX_BLUETOOTH_PERIPHERALIDENTIFIER_HPP
#define AMBRELKIT_LINUX_BLUETOOTH_PERIPHERALIDENTIFIER_HPP

#include "AmbrelKit/Platform/UUID.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace AmbrelKit::Linux {

/// A peripheral's Bluetooth address. The same six bytes as a public and as a random address are two
/// peripherals.
struct HardwareAddress {
    std::array<std::uint8_t, 6> bytes{}; ///< in the order in which they are written
    bool random = false;

    friend bool operator==(const HardwareAddress&, const HardwareAddress&) = default;

    /// The address that `text` spells: six pairs of hexadecimal digits joined by colons. Anything
    /// else gives nothing.
    static std::optional<HardwareAddress> parse(std::string_view text, bool random);
};

/// The identifier that stands for an address on this machine: the same at every run, another one on
/// another machine, and without this machine's id (/etc/machine-id) no way back to the address.
/// Where that cannot be read the identifiers last until the machine is restarted, or for this
/// process.
UUID peripheralIdentifier(const HardwareAddress& address);

/// Reads what the identifiers hang on, once for this process: who prepares them early has the same
/// ones when there are no descriptors left.
void preparePeripheralIdentifiers();

} // namespace AmbrelKit::Linux

#endif

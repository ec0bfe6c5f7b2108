#ifndef AMBRELKIT_PLATFORM_NETSERVICE_HPP
#define AMBRELKIT_PLATFORM_NETSERVICE_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit {

class NetService;

/// Receives a service's reports, on the thread that found the service. The receiver may call the
/// service, or let go of it, inside a report; what it throws leaves through the run loop.
class AMBRELKIT_API NetServiceDelegate {
public:
    virtual ~NetServiceDelegate() = default;

    /// The service has been resolved, for the first time or again: its addresses and TXT record can
    /// be read.
    virtual void netServiceDidResolveAddress(NetService& service) = 0;
};

/// A DNS-SD service that a browser has found. Used on one thread. Releasing it ends what it still
/// asks for.
class AMBRELKIT_API NetService {
public:
    virtual ~NetService() = default;

    /// The receiver of the reports, or null. Not owned.
    [[nodiscard]] virtual std::shared_ptr<NetServiceDelegate> delegate() const = 0;

    /// Replaces the receiver. Once it is absent nothing is reported any more.
    virtual void setDelegate(std::weak_ptr<NetServiceDelegate> delegate) = 0;

    /// Asks for the service's addresses and TXT record. `seconds` is how long to try; 0, or
    /// less, sets no limit. The answer is reported from the run loop, never from inside this call.
    /// A service that does not answer is silent.
    virtual void resolveWithTimeout(double seconds) = 0;

    /// The instance name, valid UTF-8.
    [[nodiscard]] virtual std::string name() const = 0;

    /// The type of the service itself with a trailing dot, for example "_ipp._tcp."; that also of
    /// one found by a subtype, "_colour._sub._ipp._tcp.".
    [[nodiscard]] virtual std::string type() const = 0;

    /// The resolved socket addresses, absent until resolved. Each is a byte string in the BSD
    /// layout: byte 0 its length, byte 1 the address family (2 for IPv4), bytes 2 and 3 the port,
    /// and for IPv4 bytes 4 to 7 the address in network order.
    [[nodiscard]] virtual std::optional<std::vector<std::string>> addresses() const = 0;

    /// The TXT record's bytes as on the wire (each string led by its length byte), absent when
    /// there is none.
    [[nodiscard]] virtual std::optional<std::string> TXTRecordData() const = 0;

    /// The port on which it is served, as the resolved addresses have it; absent without any.
    [[nodiscard]] std::optional<std::uint16_t> port() const;

    /// The name of the host that serves it, as in `printer.local`, valid UTF-8; absent until
    /// resolved, or where the platform does not tell.
    [[nodiscard]] virtual std::optional<std::string> hostName() const { return std::nullopt; }

    /// The name of the network interface on which it was resolved, or until then found; absent
    /// where the interface is gone, or the platform does not tell.
    [[nodiscard]] virtual std::optional<std::string> interface() const { return std::nullopt; }

    /// The keys (as valid UTF-8) and values (raw bytes) of TXT record bytes. Of two equal keys
    /// (ASCII case ignored) the first wins; a string without key is skipped, one without `=` has an
    /// empty value, and a string that runs past the end ends the record. On any thread.
    static std::map<std::string, std::string> dictionaryFromTXTRecordData(std::string_view record);
};

} // namespace AmbrelKit

#endif

#ifndef AMBREL_TESTS_LINUX_LOCATION_LOCATIONBED_HPP
#define AMBREL_TESTS_LINUX_LOCATION_LOCATIONBED_HPP

#include "AmbrelKit/Linux/Location/LocationManagerFactory.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "tests/support/Child.hpp"
#include "tests/support/LoopDriver.hpp"

#include <cmath>
#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace AmbrelKit::Linux {

/// A manager from start to stop, with a receiver that does what the kit does and keeps what it was
/// told.
class Session final : public LocationManagerDelegate {
public:
    explicit Session(const LocationOptions& options)
        : Session(makeLocationManagerFactory(EventLoop::current(), options)) {}
    explicit Session(const LocationManagerFactory& factory);
    ~Session() override;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void locationManagerDidChangeAuthorizationStatus(LocationManager&,
                                                     LocationAuthorizationStatus status) override;
    void locationManagerDidUpdateLocations(LocationManager&,
                                           const std::vector<LocationFix>& locations) override;
    void locationManagerDidFailWithError(LocationManager&, const std::string& error) override;

    [[nodiscard]] bool hasFixes(std::size_t count = 1) const { return fixes.size() >= count; }

    /// How the location fares, as the board of the loop says, and fared since this was made.
    [[nodiscard]] SourceReport report() const { return board_->report(Source::location); }
    [[nodiscard]] SourceCondition condition() const { return report().condition; }

    std::shared_ptr<LocationManager> manager;
    std::vector<int> statuses;
    std::vector<LocationFix> fixes;
    std::vector<std::string> failures;

private:
    std::shared_ptr<SourceBoard> board_ = EventLoop::current()->shared<LoopBoard>();
    std::shared_ptr<Timer> collection_;
    std::shared_ptr<void> alive_ = std::make_shared<int>();
};

/// The place in what `ambrel scan --only location` prints; the altitude has to be in its details.
std::optional<LocationCoordinate> scan(const std::string& source);

/// Listens on a port of loopback, or on a Unix socket, and holds whoever connects.
class Server {
public:
    explicit Server(std::uint16_t port = 0);
    explicit Server(const std::filesystem::path& path);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] std::uint16_t port() const;
    void send(std::string_view text) const;
    void hangUp();

    std::function<void()> accepted = [] {};
    std::vector<int> peers;

private:
    void listenAt(const void* address, std::size_t size, int family);

    int socket_ = -1;
    std::shared_ptr<DescriptorWatch> watch_;
};

/// A receiver at 48.20849 north, 16.37208 west, that tells so at once and every second.
class NmeaServer {
public:
    template <class Where> explicit NmeaServer(const Where& where) : server(where) {
        server.accepted = [this] { burst(); };
    }

    static bool isPlace(const LocationCoordinate& coordinate) {
        return std::abs(coordinate.latitude - 48.20849) < 1e-6 &&
               std::abs(coordinate.longitude + 16.37208) < 1e-6;
    }

    Server server;
    std::set<std::chrono::system_clock::time_point> stamps;

private:
    void burst();

    std::shared_ptr<Timer> timer_ =
        EventLoop::current()->scheduledTimer(1, true, [this](Timer&) { burst(); });
};

} // namespace AmbrelKit::Linux

#endif

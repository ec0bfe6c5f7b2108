#ifndef AMBRELKIT_TESTS_LOCATION_LOCATIONBED_HPP
#define AMBRELKIT_TESTS_LOCATION_LOCATIONBED_HPP

#include "AmbrelKit/Linux/Location/Location.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <csignal>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <vector>

namespace AmbrelKit::Linux {

/// Runs the loop until `condition` holds; false when it does not within `limit`.
bool runUntil(const std::function<bool()>& condition,
              std::chrono::milliseconds limit = std::chrono::seconds(20));

std::size_t openDescriptors();

/// Does what the kit does with a manager, and keeps what it was told.
class Receiver final : public LocationManagerDelegate {
public:
    void locationManagerDidChangeAuthorizationStatus(LocationManager& manager,
                                                     LocationAuthorizationStatus status) override;
    void locationManagerDidUpdateLocations(LocationManager& manager,
                                           const std::vector<LocationFix>& locations) override;
    void locationManagerDidFailWithError(LocationManager& manager,
                                         const std::string& error) override;

    std::vector<int> statuses;
    std::vector<LocationFix> fixes;
    std::vector<std::string> failures;
};

/// A manager with its receiver, from start to stop.
class Session {
public:
    explicit Session(const LocationOptions& options);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    [[nodiscard]] bool hasFixes(std::size_t count = 1) const {
        return heard->fixes.size() >= count;
    }

    std::shared_ptr<Receiver> heard = std::make_shared<Receiver>();
    std::shared_ptr<LocationManager> manager;
};

/// A program of this test, killed with it.
class Child {
public:
    explicit Child(const std::vector<std::string>& command,
                   const std::string& output = "/dev/null");
    ~Child() { signal(SIGKILL); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    /// After SIGKILL it is gone.
    void signal(int number);

private:
    pid_t pid_ = -1;
};

/// Listens on loopback, or on a Unix socket, and holds whoever connects.
class Server {
public:
    explicit Server(std::uint16_t port = 0);
    explicit Server(const std::filesystem::path& path);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] std::uint16_t port() const;
    /// Sends to everybody who is connected.
    void send(std::string_view text);
    void hangUp();

    std::function<void()> accepted = [] {};
    std::vector<int> peers;

private:
    void listenAt(const sockaddr* address, std::size_t size);
    int socket_ = -1;
    std::shared_ptr<DescriptorWatch> watch_;
};

/// A receiver at 48.20849° N, 16.37208° W, one burst of sentences a second.
class NmeaServer {
public:
    template <class Where> explicit NmeaServer(const Where& where) : server(where) { start(); }

    static constexpr LocationCoordinate place{.latitude = 48.20849, .longitude = -16.37208};
    Server server;
    std::set<std::chrono::system_clock::time_point> stamps;

private:
    void start();
    void burst();
    std::shared_ptr<Timer> timer_;
};

} // namespace AmbrelKit::Linux

#endif

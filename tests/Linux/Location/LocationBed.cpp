#include "tests/Linux/Location/LocationBed.hpp"

#include <ctime>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <iterator>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace AmbrelKit::Linux {

namespace {

/// The tick of a collection that is never due.
struct NoTimer final : Timer {
    void invalidate() override {}
};

} // namespace

Session::Session(const LocationManagerFactory& factory)
    : manager(factory()), collection_(board_->collectionTimers([](double, bool, const TimerTick&) {
          return std::make_shared<NoTimer>();
      })(1, true, {})) {
    manager->setDelegate(std::shared_ptr<LocationManagerDelegate>(alive_, this));
}

Session::~Session() { manager->stopUpdatingLocation(); }

void Session::locationManagerDidChangeAuthorizationStatus(LocationManager& /*manager*/,
                                                          LocationAuthorizationStatus status) {
    statuses.push_back(static_cast<int>(status));
    if (status == LocationAuthorizationStatus::notDetermined) {
        manager->requestWhenInUseAuthorization();
    } else if (status == LocationAuthorizationStatus::authorizedWhenInUse) {
        manager->startUpdatingLocation();
    }
}

void Session::locationManagerDidUpdateLocations(LocationManager& /*manager*/,
                                                const std::vector<LocationFix>& locations) {
    fixes.insert(fixes.end(), locations.begin(), locations.end());
}

void Session::locationManagerDidFailWithError(LocationManager& /*manager*/,
                                              const std::string& error) {
    failures.push_back(error);
}

std::optional<LocationCoordinate> scan(const std::string& source) {
    const std::string output =
        std::filesystem::temp_directory_path() / ("ambrel-scan-" + std::to_string(getpid()));
    const std::string details = output + ".details";
    Child tool(
        {AMBREL_TOOL, "scan", "--only", "location", "--location", source, "--details", details},
        output);
    EXPECT_TRUE(runUntil([&tool] { return tool.ended(); }));
    std::ifstream file(output);
    std::filesystem::remove(output);
    const auto dictionary = nlohmann::json::parse(file, nullptr, false);
    const auto location = dictionary.find("locationCollection");
    std::ifstream lines(details);
    std::filesystem::remove(details);
    const std::string told(std::istreambuf_iterator<char>(lines), {});
    if (location == dictionary.end()) {
        EXPECT_EQ(told.find("\"altitude\""), std::string::npos) << told;
        return std::nullopt;
    }
    EXPECT_NE(told.find("\"altitude\":171"), std::string::npos) << told;
    return LocationCoordinate{location->at("lat"), location->at("lon")};
}

Server::Server(std::uint16_t port) {
    const sockaddr_in address{.sin_family = AF_INET,
                              .sin_port = htons(port),
                              .sin_addr = {htonl(INADDR_LOOPBACK)},
                              .sin_zero = {}};
    listenAt(&address, sizeof address, AF_INET);
}

Server::Server(const std::filesystem::path& path) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.native().copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    listenAt(&address, sizeof address, AF_UNIX);
}

Server::~Server() {
    hangUp();
    close(socket_);
}

void Server::listenAt(const void* address, std::size_t size, int family) {
    socket_ = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    EXPECT_EQ(bind(socket_, static_cast<const sockaddr*>(address), static_cast<socklen_t>(size)),
              0);
    EXPECT_EQ(listen(socket_, 16), 0);
    watch_ = EventLoop::current()->watch(socket_, EPOLLIN, [this](std::uint32_t) {
        peers.push_back(accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC));
        accepted();
    });
}

std::uint16_t Server::port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

void Server::send(std::string_view text) const {
    for (const int peer : peers) {
        ::send(peer, text.data(), text.size(), MSG_NOSIGNAL);
    }
}

void Server::hangUp() {
    for (const int peer : peers) {
        close(peer);
    }
    peers.clear();
}

void NmeaServer::burst() {
    using std::chrono::system_clock;
    const auto stamp = std::chrono::floor<std::chrono::seconds>(system_clock::now());
    stamps.insert(stamp);
    const std::time_t seconds = system_clock::to_time_t(stamp);
    std::ostringstream time;
    time << std::put_time(std::gmtime(&seconds), "%H%M%S.00,");
    std::ostringstream date;
    date << std::put_time(std::gmtime(&seconds), ",%d%m%y,,,A");
    const std::string where = "4812.5094,N,01622.3248,W,";
    std::ostringstream sentences;
    for (const std::string& body : {"GPGGA," + time.str() + where + "1,08,1.0,171.0,M,43.0,M,,",
                                    "GPRMC," + time.str() + "A," + where + "1.2,045.0" + date.str(),
                                    std::string("GPGSA,A,3,01,03,06,09,12,,,,,,,,1.8,1.0,1.5")}) {
        const int sum = std::accumulate(body.begin(), body.end(), 0, std::bit_xor<>());
        sentences << '$' << body << '*' << std::hex << std::uppercase << std::setw(2)
                  << std::setfill('0') << sum << "\r\n";
    }
    server.send(sentences.str());
}

} // namespace AmbrelKit::Linux

#include "tests/location/LocationBed.hpp"

#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <numeric>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace AmbrelKit::Linux {

using std::chrono::system_clock;

bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    const auto loop = EventLoop::current();
    const auto end = Clock::now() + limit;
    while (!condition() && Clock::now() < end) {
        pollfd descriptor{.fd = loop->fileDescriptor(), .events = POLLIN, .revents = 0};
        poll(&descriptor, 1, 10); // the condition may be about a daemon
        loop->dispatch();
    }
    return condition();
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

void Receiver::locationManagerDidChangeAuthorizationStatus(LocationManager& manager,
                                                           LocationAuthorizationStatus status) {
    statuses.push_back(static_cast<int>(status));
    if (status == LocationAuthorizationStatus::notDetermined) {
        manager.requestWhenInUseAuthorization();
    } else if (status == LocationAuthorizationStatus::authorizedWhenInUse) {
        manager.startUpdatingLocation();
    }
}

void Receiver::locationManagerDidUpdateLocations(LocationManager& /*manager*/,
                                                 const std::vector<LocationFix>& locations) {
    fixes.insert(fixes.end(), locations.begin(), locations.end());
}

void Receiver::locationManagerDidFailWithError(LocationManager& /*manager*/,
                                               const std::string& error) {
    failures.push_back(error);
}

Session::Session(const LocationOptions& options)
    : manager(makeLocationManagerFactory(EventLoop::current(), options)()) {
    manager->setDelegate(heard);
}

Session::~Session() {
    manager->stopUpdatingLocation();
    manager->setDelegate({});
}

Child::Child(const std::vector<std::string>& command, const std::string& output) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, output.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                     0600);
    posix_spawn_file_actions_adddup2(&files, 1, 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    EXPECT_EQ(posix_spawnp(&pid_, arguments[0], &files, &attributes, arguments.data(), environ), 0)
        << command[0];
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
}

void Child::signal(int number) {
    if (pid_ > 0) {
        kill(-pid_, number);
        if (number == SIGKILL) {
            waitpid(std::exchange(pid_, -1), nullptr, 0);
        }
    }
}

Server::Server(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    listenAt(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

Server::Server(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    listenAt(reinterpret_cast<const sockaddr*>(&address), sizeof address);
    std::filesystem::permissions(path, std::filesystem::perms::all);
}

Server::~Server() {
    hangUp();
    close(socket_);
}

void Server::listenAt(const sockaddr* address, std::size_t size) {
    socket_ = socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int yes = 1;
    setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    EXPECT_EQ(bind(socket_, address, static_cast<socklen_t>(size)), 0);
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

void Server::send(std::string_view text) {
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

void NmeaServer::start() {
    server.accepted = [this] { burst(); };
    timer_ = EventLoop::current()->scheduledTimer(1, true, [this](Timer&) { burst(); });
}

void NmeaServer::burst() {
    const auto stamp = std::chrono::floor<std::chrono::seconds>(system_clock::now());
    stamps.insert(stamp);
    const std::time_t seconds = system_clock::to_time_t(stamp);
    std::ostringstream time;
    std::ostringstream date;
    time << std::put_time(std::gmtime(&seconds), "%H%M%S.00,");
    date << std::put_time(std::gmtime(&seconds), ",%d%m%y");
    const std::string where = "4812.5094,N,01622.3248,W";
    std::ostringstream sentences;
    for (const std::string& body :
         {"GPGGA," + time.str() + where + ",1,08,1.0,171.0,M,43.0,M,,",
          "GPRMC," + time.str() + "A," + where + ",1.2,045.0" + date.str() + ",,,A",
          std::string("GPGSA,A,3,01,03,06,09,12,17,19,23,,,,,1.8,1.0,1.5")}) {
        const int sum = std::accumulate(body.begin(), body.end(), 0, std::bit_xor<>());
        sentences << '$' << body << '*' << std::hex << std::uppercase << std::setw(2)
                  << std::setfill('0') << sum << "\r\n";
    }
    server.send(sentences.str());
}

} // namespace AmbrelKit::Linux

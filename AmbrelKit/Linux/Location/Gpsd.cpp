#include "AmbrelKit/Linux/Location/Gpsd.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <netdb.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/epoll.h>
#include <unistd.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr std::chrono::milliseconds firstRetry{250};
constexpr std::chrono::milliseconds longestRetry{4000};

constexpr std::string_view watchCommand = "?WATCH={\"enable\":true,\"json\":true};\n";

} // namespace

GpsdEndpoint::GpsdEndpoint(const std::string& host, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        throw std::invalid_argument("'" + host + "' is not a numeric address");
    }
    std::copy_n(reinterpret_cast<const char*>(found->ai_addr), found->ai_addrlen,
                reinterpret_cast<char*>(&address));
    size = found->ai_addrlen;
    freeaddrinfo(found);
}

Gpsd::Gpsd(const std::shared_ptr<EventLoop>& loop, const GpsdEndpoint& endpoint,
           std::weak_ptr<LocationSourceOwner> owner)
    : loop_(loop), endpoint_(endpoint), owner_(std::move(owner)), delay_(firstRetry) {}

Gpsd::~Gpsd() { disconnect(); }

std::shared_ptr<Gpsd> Gpsd::start(const std::shared_ptr<EventLoop>& loop,
                                  const GpsdEndpoint& endpoint,
                                  std::weak_ptr<LocationSourceOwner> owner) {
    std::shared_ptr<Gpsd> gpsd(new Gpsd(loop, endpoint, std::move(owner)));
    gpsd->retry_ = loop->deadline([weak = std::weak_ptr(gpsd)] {
        if (const auto gpsd = weak.lock()) {
            gpsd->connect();
        }
    });
    gpsd->connect();
    return gpsd;
}

void Gpsd::connect() {
    const auto loop = loop_.lock();
    if (!loop) {
        return;
    }
    socket_ = ::socket(endpoint_.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (socket_ < 0 || (::connect(socket_, reinterpret_cast<const sockaddr*>(&endpoint_.address),
                                  endpoint_.size) != 0 &&
                        errno != EINPROGRESS)) {
        retryLater();
        return;
    }
    watch_ = loop->watch(socket_, EPOLLOUT, [weak = weak_from_this()](std::uint32_t /*events*/) {
        if (const auto gpsd = weak.lock()) {
            gpsd->socketReady();
        }
    });
}

void Gpsd::socketReady() {
    if (connected_) {
        readReports();
    } else if (!watchReports()) {
        retryLater();
    }
}

bool Gpsd::watchReports() {
    int error = 0;
    socklen_t size = sizeof error;
    // A new socket's buffer takes so short a command whole.
    if (getsockopt(socket_, SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0 ||
        send(socket_, watchCommand.data(), watchCommand.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(watchCommand.size())) {
        return false;
    }
    connected_ = true;
    watch_->setEvents(EPOLLIN);
    if (std::exchange(state_, State::ready) != State::ready) {
        if (const auto owner = owner_.lock()) {
            owner->sourceDidChange(*this);
        }
    }
    return true;
}

void Gpsd::readReports() {
    std::array<char, 16384> bytes{};
    const ssize_t count = recv(socket_, bytes.data(), bytes.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        retryLater();
        return;
    }
    std::vector<LocationFix> fixes;
    lines_.feed({bytes.data(), static_cast<std::size_t>(count)}, [&fixes](std::string_view line) {
        if (const auto fix = fixFromGpsdReport(line, std::chrono::system_clock::now())) {
            fixes.push_back(*fix);
        }
    });
    const auto owner = owner_.lock();
    if (!fixes.empty() && owner) {
        delay_ = firstRetry;
        owner->sourceDidFix(*this, std::move(fixes));
    }
}

void Gpsd::disconnect() {
    watch_.reset();
    connected_ = false;
    lines_.clear();
    if (socket_ >= 0) {
        close(std::exchange(socket_, -1));
    }
}

void Gpsd::retryLater() {
    disconnect();
    retry_->arm(std::chrono::steady_clock::now() + delay_);
    delay_ = std::min(delay_ * 2, longestRetry);
}

LocationSourceFactory gpsdFactory(const std::shared_ptr<EventLoop>& loop,
                                  const LocationOptions& options) {
    return [loop, endpoint = GpsdEndpoint(options.gpsdAddress, options.gpsdPort)](
               std::weak_ptr<LocationSourceOwner> owner) {
        return Gpsd::start(loop, endpoint, std::move(owner));
    };
}

} // namespace AmbrelKit::Linux

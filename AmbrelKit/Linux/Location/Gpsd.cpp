#include "AmbrelKit/Linux/Location/Gpsd.hpp"

#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <netdb.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/epoll.h>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

constexpr Retry::Delays gpsdDelays{std::chrono::milliseconds(250), std::chrono::seconds(4)};

constexpr std::string_view watchCommand = "?WATCH={\"enable\":true,\"json\":true};\n";

} // namespace

GpsdEndpoint::GpsdEndpoint(const std::string& host, std::uint16_t port)
    : place(host + " port " + std::to_string(port)) {
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

Gpsd::Gpsd(const std::shared_ptr<EventLoop>& loop, GpsdEndpoint endpoint)
    : loop_(loop), endpoint_(std::move(endpoint)),
      condition_(starting(SourceReason::gpsdAbsent, {endpoint_.place})),
      reconnect_(*loop, gpsdDelays, [this] { connect(); }) {}

std::shared_ptr<Gpsd> Gpsd::start(const std::shared_ptr<EventLoop>& loop,
                                  const GpsdEndpoint& endpoint,
                                  std::weak_ptr<LocationSourceOwner> owner) {
    std::shared_ptr<Gpsd> gpsd(new Gpsd(loop, endpoint));
    gpsd->connect();
    gpsd->owner_ = std::move(owner); // who is told nothing until now
    return gpsd;
}

void Gpsd::connect() {
    const auto loop = loop_.lock();
    if (!loop) {
        return;
    }
    socket_ = Descriptor(
        ::socket(endpoint_.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const auto* address = reinterpret_cast<const sockaddr*>(&endpoint_.address);
    if (socket_.get() < 0 ||
        (::connect(socket_.get(), address, endpoint_.size) != 0 && errno != EINPROGRESS)) {
        retryLater(reasonFor(errno, SourceReason::gpsdAbsent));
        return;
    }
    watch_ = loop->watch(
        socket_.get(), EPOLLOUT,
        weakly(weak_from_this(), [](Gpsd& gpsd, std::uint32_t /*events*/) { gpsd.socketReady(); }));
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
    if (getsockopt(socket_.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0 ||
        send(socket_.get(), watchCommand.data(), watchCommand.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(watchCommand.size())) {
        return false;
    }
    connected_ = true;
    watch_->setEvents(EPOLLIN);
    return true;
}

void Gpsd::readReports() {
    std::array<char, 16384> bytes{};
    const ssize_t count = recv(socket_.get(), bytes.data(), bytes.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        retryLater();
        return;
    }
    if (condition_.state != SourceState::listening) { // not when anybody took the connection
        become(listening(means(), SourceReason::gpsdWithoutFix));
    }
    std::vector<LocationFix> fixes;
    lines_.feed({bytes.data(), static_cast<std::size_t>(count)}, [&fixes](std::string_view line) {
        if (const auto fix = fixFromGpsdReport(line, std::chrono::system_clock::now())) {
            fixes.push_back(*fix);
        }
    });
    const auto owner = owner_.lock();
    if (!fixes.empty() && owner) {
        reconnect_.reset();
        become(listening(means()));
        owner->sourceDidFix(*this, std::move(fixes));
    }
}

void Gpsd::retryLater(SourceReason why) {
    watch_.reset();
    socket_ = Descriptor();
    connected_ = false;
    lines_.clear();
    reconnect_.schedule();
    become(because(why, {endpoint_.place}));
}

void Gpsd::become(const SourceCondition& condition) {
    const auto owner = owner_.lock();
    const bool isNews = condition_ != condition;
    condition_ = condition;
    if (isNews && owner) {
        owner->sourceDidChange(*this);
    }
}

LocationSourceFactory gpsdFactory(const std::shared_ptr<EventLoop>& loop,
                                  const LocationOptions& options) {
    return [loop, endpoint = GpsdEndpoint(options.gpsdAddress, options.gpsdPort)](
               std::weak_ptr<LocationSourceOwner> owner) {
        return Gpsd::start(loop, endpoint, std::move(owner));
    };
}

} // namespace AmbrelKit::Linux

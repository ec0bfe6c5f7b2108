#include "fuzz/support/FuzzedBus.hpp"

#include "fuzz/support/BusMessage.hpp"
#include "fuzz/support/VirtualTime.hpp"

#include <array>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace {

using AmbrelKit::Descriptor;
using namespace BusMessage;

constexpr const char* busName = "org.freedesktop.DBus";
constexpr int mostSteps = 200;

int lowestFreeDescriptor() {
    const Descriptor probe(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
    return probe.get();
}

} // namespace

FuzzedBus::FuzzedBus(std::vector<std::string> words)
    : words_(std::move(words)), loop_(AmbrelKit::Linux::EventLoop::current()),
      listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socklen_t size = sizeof address.sun_family; // the kernel chooses a name
    check(bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), size) == 0);
    check(listen(listener_.get(), 8) == 0);
    size = sizeof address;
    getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &size);
    const std::string name(address.sun_path + 1, size - offsetof(sockaddr_un, sun_path) - 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:abstract=" + name).c_str(), 1);
}

void FuzzedBus::begin() { lowestFree_ = lowestFreeDescriptor(); }

/// The loop and the bus do what is to be done now.
void FuzzedBus::settle() {
    constexpr int mostTurns = 10'000; // a loop that never rests is a fault
    for (int turn = 0;; ++turn) {
        check(turn < mostTurns);
        loop_->dispatch();
        std::vector<pollfd> sockets{{loop_->fileDescriptor(), POLLIN, 0},
                                    {listener_.get(), POLLIN, 0}};
        for (const auto& connection : connections_) {
            sockets.push_back({connection->socket.get(), POLLIN, 0});
        }
        if (poll(sockets.data(), sockets.size(), 0) <= 0) {
            return;
        }
        std::erase_if(connections_, [this](const auto& each) { return !read(*each); });
        accept();
    }
}

void FuzzedBus::accept() {
    Descriptor socket(accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (socket.get() < 0) {
        return;
    }
    auto& connection = *connections_.emplace_back(std::make_unique<Connection>());
    connection.socket = std::move(socket);
    constexpr std::string_view welcome =
        "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
    ::send(connection.socket.get(), welcome.data(), welcome.size(), MSG_NOSIGNAL);
}

/// False when the kit has closed it.
bool FuzzedBus::read(Connection& connection) {
    constexpr std::string_view begin = "BEGIN\r\n";
    std::array<char, 65536> bytes;
    auto& received = connection.received;
    const auto count = recv(connection.socket.get(), bytes.data(), bytes.size(), 0);
    if (count <= 0) {
        return count < 0 && errno == EAGAIN;
    }
    received.append(bytes.data(), static_cast<std::size_t>(count));
    if (received.starts_with('\0')) {
        const auto end = received.find(begin);
        if (end == std::string::npos) {
            return true;
        }
        received.erase(0, end + begin.size());
    }
    while (received.size() >= headLength) {
        const std::size_t fields = (numberAt(received, fieldsLengthAt) + 7) / 8 * 8;
        const std::size_t length = headLength + fields + numberAt(received, bodyLengthAt);
        if (received.size() < length) {
            break;
        }
        take(connection, received.substr(0, length));
        received.erase(0, length);
    }
    return true;
}

void FuzzedBus::take(Connection& connection, std::string_view message) {
    const auto serial = numberAt(message, serialAt);
    const auto method = textField(message, member);
    const bool isOfBus = textField(message, destination) == busName;
    if (message[typeAt] != call || (message[flagsAt] & withoutReply) != 0 || method == "AddMatch" ||
        method == "RemoveMatch") {
        return;
    }
    BusValues values(words_);
    if (isOfBus && method == "Hello") {
        values.appendText(":1.1");
        answer(connection, serial, "s", values);
    } else if (isOfBus && method == "GetNameOwner") {
        const auto body =
            message.substr(headLength + (numberAt(message, fieldsLengthAt) + 7) / 8 * 8);
        names_.emplace(body.substr(4, numberAt(body, 0)));
        values.appendText(owner());
        life_ > 0 ? answer(connection, serial, "s", values)
                  : answerByError(connection, serial, "org.freedesktop.DBus.Error.NameHasNoOwner",
                                  values);
    } else {
        questions_.push_back({connection.socket.get(), serial});
    }
}

std::string FuzzedBus::owner() const { return ":1." + std::to_string(100 + life_); }

void FuzzedBus::answer(Connection& connection, std::uint32_t serial, std::string_view types,
                       const BusValues& values) {
    BusValues fields(words_);
    addField(fields, replySerial, serial);
    addField(fields, sender, "s", life_ > 0 ? owner() : busName);
    if (!types.empty()) {
        addField(fields, signature, "g", types);
    }
    send(connection, reply, std::move(fields), values);
}

void FuzzedBus::answerByError(Connection& connection, std::uint32_t serial, std::string_view name,
                              const BusValues& text) {
    BusValues fields(words_);
    addField(fields, replySerial, serial);
    addField(fields, sender, "s", life_ > 0 ? owner() : busName);
    addField(fields, errorName, "s", name);
    addField(fields, signature, "g", "s");
    send(connection, error, std::move(fields), text);
}

void FuzzedBus::signal(Bytes& input) {
    const auto from = input.text(words_);
    BusValues fields(words_);
    addField(fields, path, "o", busPath(from));
    addField(fields, interface, "s", busInterface(input.text(words_)));
    addField(fields, member, "s", busMember(input.text(words_)));
    addField(fields, sender, "s", owner());
    const auto types = completeTypes(input.text(words_));
    if (!types.empty()) {
        addField(fields, signature, "g", types);
    }
    BusValues values(words_);
    values.append(types, input);
    for (const auto& connection : connections_) {
        send(*connection, signalled, fields, values);
    }
}

void FuzzedBus::changeOwner(bool isThere) {
    const auto before = life_ > 0 ? owner() : "";
    life_ = isThere ? ++lastLife_ : 0;
    questions_.clear(); // the one who went answers nothing
    for (const auto& name : names_) {
        BusValues fields(words_);
        addField(fields, path, "o", "/org/freedesktop/DBus");
        addField(fields, interface, "s", busName);
        addField(fields, member, "s", "NameOwnerChanged");
        addField(fields, sender, "s", busName);
        addField(fields, signature, "g", "sss");
        BusValues values(words_);
        values.appendText(name);
        values.appendText(before);
        values.appendText(life_ > 0 ? owner() : "");
        for (const auto& connection : connections_) {
            send(*connection, signalled, fields, values);
        }
    }
}

void FuzzedBus::send(Connection& connection, std::uint8_t type, BusValues fields,
                     const BusValues& body) {
    if (body.descriptors() > 0) {
        addField(fields, descriptors, body.descriptors());
    }
    std::string message{'l', static_cast<char>(type), 0, 1};
    for (const auto number : {static_cast<std::uint32_t>(body.bytes().size()), connection.serial++,
                              static_cast<std::uint32_t>(fields.bytes().size())}) {
        message.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    fields.align(8);
    message += fields.bytes() + body.bytes();

    std::array<char, CMSG_SPACE(sizeof(int) * BusValues::mostDescriptors)> control{};
    iovec place{message.data(), message.size()};
    msghdr head{};
    head.msg_iov = &place;
    head.msg_iovlen = 1;
    if (body.descriptors() > 0) {
        head.msg_control = control.data();
        head.msg_controllen = CMSG_SPACE(sizeof(int) * body.descriptors());
        auto* const entry = CMSG_FIRSTHDR(&head);
        entry->cmsg_level = SOL_SOCKET;
        entry->cmsg_type = SCM_RIGHTS;
        entry->cmsg_len = CMSG_LEN(sizeof(int) * body.descriptors());
        const std::vector<int> passed(body.descriptors(), listener_.get());
        std::memcpy(CMSG_DATA(entry), passed.data(), passed.size() * sizeof(int));
    }
    // The kit takes it out meanwhile; what it has closed takes nothing.
    for (int attempt = 0; place.iov_len > 0 && attempt < 1000; ++attempt) {
        const auto count = sendmsg(connection.socket.get(), &head, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            place = {static_cast<char*>(place.iov_base) + count,
                     place.iov_len - static_cast<std::size_t>(count)};
            head.msg_controllen = 0;
        } else if (errno == EAGAIN) {
            loop_->dispatch();
        } else {
            return;
        }
    }
}

FuzzedBus::Connection* FuzzedBus::find(int socket) {
    const auto isIt = [&](const auto& each) { return each->socket.get() == socket; };
    const auto found = std::ranges::find_if(connections_, isIt);
    return found != connections_.end() ? found->get() : nullptr;
}

void FuzzedBus::answerOldest(bool byError, Bytes& input) {
    const auto name = byError ? busInterface(input.text(words_)) : std::string();
    const auto types = byError ? "s" : completeTypes(input.text(words_));
    BusValues values(words_);
    values.append(types, input);
    if (questions_.empty()) {
        return;
    }
    const auto question = questions_.front();
    questions_.pop_front();
    if (auto* const connection = find(question.connection)) {
        byError ? answerByError(*connection, question.serial, name, values)
                : answer(*connection, question.serial, types, values);
    }
}

void FuzzedBus::step(Bytes& input) {
    const auto what = input.byte();
    switch (what % 6) {
    case 0:
        answerOldest(false, input);
        break;
    case 1:
        answerOldest(true, input);
        break;
    case 2:
    case 3:
        signal(input);
        break;
    case 4: {
        const std::chrono::milliseconds root(input.byte());
        VirtualTime::pass(root * root.count());
        break;
    }
    default:
        if (what % 8 < 6) {
            changeOwner(input.byte() % 2 != 0);
        } else {
            connections_.clear();
            questions_.clear();
        }
    }
}

void FuzzedBus::play(Bytes input) {
    settle();
    for (int left = mostSteps; !input.isEmpty() && left > 0; --left) {
        step(input);
        settle();
    }
}

void FuzzedBus::end() {
    settle();
    connections_.clear();
    questions_.clear();
    names_.clear();
    life_ = lastLife_ = 1;
    check(std::exchange(isFirst_, false) || lowestFreeDescriptor() == lowestFree_);
}

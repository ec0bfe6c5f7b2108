#include "AmbrelKit/Linux/Bus/Daemon.hpp"

#include <utility>

namespace AmbrelKit::Linux {

Daemon::Daemon(std::shared_ptr<SystemBus> bus, std::string name)
    : bus_(std::move(bus)), name_(std::move(name)) {}

Daemon::~Daemon() = default;

void Daemon::hear(std::string_view rule, BusReceiver received) {
    std::string whole = "type='signal',sender='" + name_ + "'";
    if (!rule.empty()) {
        whole.append(",").append(rule);
    }
    matches_.push_back(bus_->match(std::move(whole), std::move(received)));
}

bool Daemon::ask(const Method& method, const BusArguments& arguments, BusReceiver replied) {
    const std::uint64_t question = ++lastQuestion_;
    auto call = this->call(method, arguments,
                           [this, question, replied = std::move(replied)](sd_bus_message* reply) {
                               questions_.erase(question); // the bus keeps this until it returns
                               replied(reply);
                           });
    return call && questions_.emplace(question, std::move(call)).second;
}

std::unique_ptr<PendingCall> Daemon::call(const Method& method, const BusArguments& arguments,
                                          BusReceiver replied) const {
    return bus_->call(addressed(method), arguments, std::move(replied));
}

bool Daemon::send(const Method& method, const BusArguments& arguments, BusReceiver replied) {
    return bus_->send(addressed(method), arguments, std::move(replied));
}

BusMethod Daemon::addressed(const Method& method) const {
    return {name_, method.path, method.interface, method.member};
}

} // namespace AmbrelKit::Linux

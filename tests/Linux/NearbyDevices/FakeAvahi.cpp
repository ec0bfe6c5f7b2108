#include "tests/Linux/NearbyDevices/FakeAvahi.hpp"

#include <utility>

namespace {

constexpr const char* browserInterface = "org.freedesktop.Avahi.ServiceBrowser";

} // namespace

FakeAvahi::FakeAvahi(std::shared_ptr<AmbrelKit::Linux::EventLoop> loop) : loop_(std::move(loop)) {
    const auto onName = [](sd_bus_message*, void* self, sd_bus_error*) {
        static_cast<FakeAvahi*>(self)->named = true;
        return 0;
    };
    sd_bus_open_system(&bus_);
    sd_bus_attach_event(bus_, loop_->native(), 0);
    sd_bus_add_filter(bus_, nullptr, &handle, this);
    sd_bus_request_name_async(bus_, nullptr, "org.freedesktop.Avahi", 0, onName, this);
    loop_->touch();
}

FakeAvahi::~FakeAvahi() {
    for (auto* call : waiting_) {
        sd_bus_message_unref(call);
    }
    sd_bus_detach_event(bus_);
    sd_bus_close_unref(bus_);
}

int FakeAvahi::handle(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    auto& fake = *static_cast<FakeAvahi*>(self);
    std::uint8_t type = 0;
    sd_bus_message_get_type(call, &type);
    if (type != SD_BUS_MESSAGE_METHOD_CALL) {
        return 0;
    }
    const std::string member = sd_bus_message_get_member(call);
    fake.calls.push_back(member);
    if (fake.held.contains(member)) {
        fake.waiting_.push_back(sd_bus_message_ref(call));
        fake.mostHeld = std::max(fake.mostHeld, fake.waiting_.size());
    } else {
        fake.answer(call);
    }
    return 1;
}

void FakeAvahi::answerHeld() {
    held.clear();
    for (auto* call : std::exchange(waiting_, {})) {
        answer(call);
        sd_bus_message_unref(call);
    }
    loop_->touch();
}

void FakeAvahi::answer(sd_bus_message* call) {
    const std::string member = sd_bus_message_get_member(call);
    const std::string path = sd_bus_message_get_path(call);
    if (member == "ServiceBrowserPrepare") {
        answerPrepare(call);
    } else if (member == "ResolveService") {
        answerService(call);
    } else if (member == "ResolveHostName") {
        answerAddress(call);
    } else if (member == "Free") {
        objects.erase(path);
    } else if (member == "Start") {
        const bool looksForTypes = objects[path] == "_services._dns-sd._udp";
        for (const Item& item : looksForTypes ? types : items) {
            send(path, "ItemNew", item);
        }
    } else {
        sd_bus_reply_method_return(call, "");
    }
}

void FakeAvahi::answerPrepare(sd_bus_message* call) {
    if (!refusal.empty()) {
        sd_bus_reply_method_errorf(call, refusal.c_str(), "refused");
        return;
    }
    const std::string path = "/Client0/ServiceBrowser" + std::to_string(++made_);
    std::int32_t interface = 0;
    std::int32_t protocol = 0;
    const char* type = nullptr;
    sd_bus_message_read(call, "iis", &interface, &protocol, &type);
    objects.emplace(path, type);
    sd_bus_reply_method_return(call, "o", path.c_str());
}

void FakeAvahi::answerService(sd_bus_message* call) {
    std::int32_t interface = 0;
    std::int32_t protocol = 0;
    std::int32_t family = 0;
    std::uint32_t flags = 0;
    const char* name = nullptr;
    const char* type = nullptr;
    const char* domain = nullptr;
    sd_bus_message_read(call, "iisssiu", &interface, &protocol, &name, &type, &domain, &family,
                        &flags);
    const bool asksForTXT = (flags & 4) == 0;
    if (withoutTXT && asksForTXT) {
        sd_bus_reply_method_errorf(call, "org.freedesktop.Avahi.TimeoutError", "Timeout reached");
        return;
    }
    if (std::exchange(garbage, false)) {
        sd_bus_reply_method_return(call, "sas", "what", 1, "is this");
        return;
    }
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(call, &reply);
    sd_bus_message_append(reply, "iissssisq", interface, protocol, name, type, domain, "near.local",
                          -1, "", 631);
    sd_bus_message_open_container(reply, 'a', "ay");
    for (const std::string& text : txt) {
        sd_bus_message_append_array(reply, 'y', text.data(), text.size());
    }
    sd_bus_message_close_container(reply);
    sd_bus_message_append(reply, "u", 0U);
    sd_bus_send(bus_, reply, nullptr);
    sd_bus_message_unref(reply);
}

void FakeAvahi::answerAddress(sd_bus_message* call) {
    std::int32_t interface = 0;
    std::int32_t protocol = 0;
    std::int32_t family = 0;
    const char* host = nullptr;
    sd_bus_message_read(call, "iisi", &interface, &protocol, &host, &family);
    const std::string address = family == 1 ? ipv6 : interfaceIPv4[interface];
    if (address.empty()) {
        sd_bus_reply_method_errorf(call, "org.freedesktop.Avahi.TimeoutError", "Timeout reached");
    } else {
        sd_bus_reply_method_return(call, "iisisu", interface, protocol, host, family,
                                   address.c_str(), 0U);
    }
}

void FakeAvahi::report(const std::string& signal, const Item& item) {
    for (const auto& [path, type] : objects) {
        send(path, signal, item);
    }
    loop_->touch();
}

void FakeAvahi::reportGarbage() {
    for (const auto& [path, type] : objects) {
        sd_bus_emit_signal(bus_, path.c_str(), browserInterface, "ItemNew", "ss", "2", "Printer");
        sd_bus_emit_signal(bus_, path.c_str(), browserInterface, "Nonsense", "");
    }
    loop_->touch();
}

void FakeAvahi::send(const std::string& path, const std::string& signal, const Item& item) {
    sd_bus_emit_signal(bus_, path.c_str(), browserInterface, signal.c_str(), "iisssu",
                       item.interface, item.protocol, item.name.c_str(), item.type.c_str(), "local",
                       0U);
}

#include "AmbrelKit/Linux/NearbyDevices/EmbeddedAvahi.hpp"

#include "AmbrelKit/Linux/Libraries/AvahiCore.hpp"
#include "AmbrelKit/Linux/NearbyDevices/MulticastNetwork.hpp"
#include "AmbrelKit/Linux/NearbyDevices/PacedBrowse.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

/// One object of Avahi, and who receives what it reports.
template <class Object, class Receiver> class EmbeddedAvahi::Query final
    : public Lookup,
      public std::enable_shared_from_this<EmbeddedAvahi::Query<Object, Receiver>> {
public:
    Query(std::shared_ptr<EmbeddedAvahi> stack, Receiver receiver, void (*release)(Object*))
        : stack_(std::move(stack)), receiver_(std::move(receiver)), release_(release) {}
    ~Query() override { release(); }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    /// Starts `object`, which Avahi has prepared, and owns it; null where it could not.
    std::shared_ptr<Lookup> started(Object* object, void (*start)(Object*)) {
        object_ = object;
        if (object == nullptr) {
            return nullptr;
        }
        start(object);
        return this->shared_from_this();
    }

    /// Called in Avahi's frames: has the receiver told what `make` returns.
    template <class Make> void report(Make make) noexcept {
        stack_->loop_->guarded([&] {
            stack_->queue([weak = this->weak_from_this(), value = make()] {
                if (const auto query = weak.lock()) {
                    query->receiver_(value);
                }
            });
        });
    }

    /// Called in Avahi's frames, as `report`, when one answer is all that was wanted. An object
    /// that is kept for a tenth of a second more asks the network what it has just been told.
    template <class Make> void answer(Make make) noexcept {
        report(std::move(make));
        release();
    }

private:
    void release() noexcept {
        if (auto* const object = std::exchange(object_, nullptr)) {
            release_(object);
        }
    }

    std::shared_ptr<EmbeddedAvahi> stack_;
    Receiver receiver_;
    void (*release_)(Object*);
    Object* object_ = nullptr;
};

/// One question by each protocol, of which the first answer counts. Avahi would take the parts of
/// one answer from one protocol alone, and what came by IPv4 may be lacking by IPv6.
class EmbeddedAvahi::EitherProtocol final : public Lookup,
                                            public std::enable_shared_from_this<EitherProtocol> {
public:
    explicit EitherProtocol(Served served) : served_(std::move(served)) {}

    /// Null when `ask` can't by either.
    template <class Ask> std::shared_ptr<Lookup> start(const Ask& ask) {
        for (const int protocol : {AVAHI_PROTO_INET, AVAHI_PROTO_INET6}) {
            if (auto lookup = ask(protocol, weakly(weak_from_this(), &EitherProtocol::answered))) {
                open_.push_back(std::move(lookup));
            }
        }
        return open_.empty() ? nullptr : shared_from_this();
    }

private:
    void answered(std::optional<ServiceRecord> record) {
        if (record || ++failed_ == open_.size()) {
            open_.clear();
            served_(std::move(record));
        }
    }

    Served served_;
    std::vector<std::shared_ptr<Lookup>> open_;
    std::size_t failed_ = 0;
};

namespace {

/// Records kept for each interface. Avahi's own limit holds some 800 services and drops the rest
/// without a word.
constexpr unsigned cacheLimit = 65536;

constexpr std::chrono::milliseconds busySlack{8};
constexpr std::chrono::milliseconds firstSlack{50};
constexpr std::chrono::milliseconds idleSlack{1000};

std::optional<std::string> txtBytes(AvahiStringList* list) {
    std::vector<std::string> texts;
    for (; list != nullptr; list = avahi_string_list_get_next(list)) {
        const auto* text = reinterpret_cast<const char*>(avahi_string_list_get_text(list));
        texts.emplace_back(text, avahi_string_list_get_size(list));
    }
    return txtRecordBytes(texts);
}

HostAddress hostAddress(const AvahiAddress& address) {
    if (address.proto == AVAHI_PROTO_INET) {
        return in_addr{address.data.ipv4.address};
    }
    in6_addr ipv6{};
    std::copy_n(address.data.ipv6.address, sizeof ipv6.s6_addr, ipv6.s6_addr);
    return ipv6;
}

} // namespace

EmbeddedAvahi::EmbeddedAvahi(std::shared_ptr<EventLoop> loop)
    : loop_(std::move(loop)),
      pace_(*loop_, [this] { return sieve_.recentRecords(); }), ground_{*loop_, &sieve_,
                                                                        [this] { return slack(); }},
      poll_(avahiPollOn(ground_)) {}

/// What is due at nearly the same time is done at the same time. Where nothing is found, questions
/// are all that is due, and what is asked again joins the ticks.
std::chrono::milliseconds EmbeddedAvahi::slack() const {
    return reported_ ? busySlack : pace_.isAsking() ? firstSlack : idleSlack;
}

std::shared_ptr<EmbeddedAvahi> EmbeddedAvahi::start(const std::shared_ptr<EventLoop>& loop) {
    if (missingSockets() || !avahiLibrary.isThere()) {
        return nullptr;
    }
    avahi_set_log_function([](AvahiLogLevel, const char*) {}); // else standard error is used
    std::shared_ptr<EmbeddedAvahi> stack(new EmbeddedAvahi(loop));
    stack->nextReport_ = loop->deferral(weakly(stack, &EmbeddedAvahi::reportNext));
    AvahiServerConfig config{};
    avahi_server_config_init(&config);
    config.disable_publishing = 1;
    config.publish_hinfo = config.publish_addresses = 0;
    config.publish_workstation = config.publish_domain = 0;
    config.enable_wide_area = 0;
    config.n_cache_entries_max = cacheLimit;
    const auto stateChanged = [](AvahiServer*, AvahiServerState, void*) {};
    stack->server_ = avahi_server_new(&stack->poll_, &config, stateChanged, nullptr, nullptr);
    avahi_server_config_free(&config);
    return stack->server_ != nullptr ? stack : nullptr;
}

EmbeddedAvahi::~EmbeddedAvahi() {
    if (server_ != nullptr) {
        avahi_server_free(server_);
    }
}

void EmbeddedAvahi::queue(std::function<void()> report) {
    reported_ = true;
    reports_.push_back(std::move(report));
    nextReport_->schedule();
}

void EmbeddedAvahi::reportNext() {
    const auto report = std::move(reports_.front());
    reports_.pop_front();
    if (!reports_.empty()) {
        nextReport_->schedule();
    }
    report();
}

std::shared_ptr<Lookup> EmbeddedAvahi::browse(const std::string& type, const std::string& domain,
                                              Sighted sighted) {
    const auto ask = [self = shared_from_this(), type, domain](int protocol, Sighted told) {
        return self->browseBy(protocol, type, domain, std::move(told));
    };
    auto browse = PacedBrowse::start(*loop_, pace_, lost_, sieve_, ask, std::move(sighted));
    lost_.add(browse);
    return browse;
}

std::shared_ptr<Lookup> EmbeddedAvahi::browseBy(int protocol, const std::string& type,
                                                const std::string& domain, Sighted sighted) {
    using Browse = Query<AvahiSServiceBrowser, Sighted>;
    const auto changed = [](AvahiSServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                            AvahiBrowserEvent event, const char* name, const char* type,
                            const char* domain, AvahiLookupResultFlags, void* self) {
        if (event == AVAHI_BROWSER_NEW || event == AVAHI_BROWSER_REMOVE) {
            static_cast<Browse*>(self)->report([&] {
                return Sighting{
                    {name, type, domain}, interface, protocol, event == AVAHI_BROWSER_NEW};
            });
        }
    };
    auto browse = std::make_shared<Browse>(shared_from_this(), std::move(sighted),
                                           avahi_s_service_browser_free);
    return browse->started(
        avahi_s_service_browser_prepare(server_, AVAHI_IF_UNSPEC, protocol, type.c_str(),
                                        domain.empty() ? nullptr : domain.c_str(),
                                        AvahiLookupFlags{}, changed, browse.get()),
        avahi_s_service_browser_start);
}

std::shared_ptr<Lookup> EmbeddedAvahi::resolve(const ServiceName& service, int interface,
                                               bool withTXT, Served served) {
    return std::make_shared<EitherProtocol>(std::move(served))
        ->start([&](int protocol, Served answered) {
            return resolveBy(protocol, service, interface, withTXT, std::move(answered));
        });
}

std::shared_ptr<Lookup> EmbeddedAvahi::resolveBy(int protocol, const ServiceName& service,
                                                 int interface, bool withTXT, Served served) {
    using Resolve = Query<AvahiSServiceResolver, Served>;
    const auto answered = [](AvahiSServiceResolver*, AvahiIfIndex, AvahiProtocol,
                             AvahiResolverEvent event, const char*, const char*, const char*,
                             const char* host, const AvahiAddress*, std::uint16_t port,
                             AvahiStringList* txt, AvahiLookupResultFlags, void* self) {
        static_cast<Resolve*>(self)->answer([&]() -> std::optional<ServiceRecord> {
            if (event != AVAHI_RESOLVER_FOUND) {
                return std::nullopt;
            }
            return ServiceRecord{host, port, txtBytes(txt)};
        });
    };
    const auto receiver = [served = std::move(served),
                           withTXT](std::optional<ServiceRecord> record) {
        if (record && !withTXT) {
            record->txt.reset();
        }
        served(std::move(record));
    };
    auto resolve =
        std::make_shared<Resolve>(shared_from_this(), receiver, avahi_s_service_resolver_free);
    int flags = AVAHI_LOOKUP_NO_ADDRESS;
    if (!withTXT) {
        flags |= AVAHI_LOOKUP_NO_TXT;
    }
    return resolve->started(avahi_s_service_resolver_prepare(
                                server_, interface, protocol, service.name.c_str(),
                                service.type.c_str(), service.domain.c_str(), AVAHI_PROTO_UNSPEC,
                                static_cast<AvahiLookupFlags>(flags), answered, resolve.get()),
                            avahi_s_service_resolver_start);
}

std::shared_ptr<Lookup> EmbeddedAvahi::findAddress(const std::string& host, int interface,
                                                   int family, Addressed addressed) {
    using Find = Query<AvahiSHostNameResolver, Addressed>;
    const auto answered = [](AvahiSHostNameResolver*, AvahiIfIndex, AvahiProtocol,
                             AvahiResolverEvent event, const char*, const AvahiAddress* address,
                             AvahiLookupResultFlags, void* self) {
        static_cast<Find*>(self)->answer([&]() -> std::optional<HostAddress> {
            if (event != AVAHI_RESOLVER_FOUND || address == nullptr) {
                return std::nullopt;
            }
            return hostAddress(*address);
        });
    };
    auto find = std::make_shared<Find>(shared_from_this(), std::move(addressed),
                                       avahi_s_host_name_resolver_free);
    return find->started(avahi_s_host_name_resolver_prepare(
                             server_, interface, AVAHI_PROTO_UNSPEC, host.c_str(),
                             avahi_af_to_proto(family), AvahiLookupFlags{}, answered, find.get()),
                         avahi_s_host_name_resolver_start);
}

} // namespace AmbrelKit::Linux

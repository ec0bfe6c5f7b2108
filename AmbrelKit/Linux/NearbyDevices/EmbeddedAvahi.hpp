#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_EMBEDDEDAVAHI_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_EMBEDDEDAVAHI_HPP

#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"
#include "AmbrelKit/Linux/NearbyDevices/AvahiPollAdapter.hpp"
#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"
#include "AmbrelKit/Linux/NearbyDevices/LostAnswers.hpp"
#include "AmbrelKit/Linux/NearbyDevices/QuestionPace.hpp"

#include <avahi-core/core.h>
#include <deque>

namespace AmbrelKit::Linux {

/// Avahi's stack in this process. It only asks: nothing of this host is published.
///
/// Avahi's server must not be freed inside its own callbacks, so these only queue what they have
/// to report, and each report is made in a turn of the loop of its own.
class EmbeddedAvahi final : public DiscoveryStack,
                            public std::enable_shared_from_this<EmbeddedAvahi> {
public:
    /// Null when the stack cannot run here, for example beside a daemon that keeps the port to
    /// itself.
    [[nodiscard]] static std::shared_ptr<EmbeddedAvahi>
    start(const std::shared_ptr<EventLoop>& loop);
    ~EmbeddedAvahi() override;
    EmbeddedAvahi(const EmbeddedAvahi&) = delete;
    EmbeddedAvahi& operator=(const EmbeddedAvahi&) = delete;

    [[nodiscard]] std::shared_ptr<Lookup> browse(const std::string& type, const std::string& domain,
                                                 Sighted sighted) override;
    [[nodiscard]] std::shared_ptr<Lookup> resolve(const ServiceName& service, int interface,
                                                  bool withTXT, Served served) override;
    [[nodiscard]] std::shared_ptr<Lookup> findAddress(const std::string& host, int interface,
                                                      int family, Addressed addressed) override;

private:
    template <class Object, class Receiver> class Query;
    class EitherProtocol;

    explicit EmbeddedAvahi(std::shared_ptr<EventLoop> loop);
    std::shared_ptr<Lookup> browseBy(int protocol, const std::string& type,
                                     const std::string& domain, Sighted sighted);
    std::shared_ptr<Lookup> resolveBy(int protocol, const ServiceName& service, int interface,
                                      bool withTXT, Served served);
    [[nodiscard]] std::chrono::milliseconds slack() const;
    void queue(std::function<void()> report);
    void reportNext();

    std::shared_ptr<EventLoop> loop_;
    AnswerSieve sieve_;
    QuestionPace pace_;
    LostAnswers lost_;
    bool reported_ = false; ///< anything yet
    AvahiGround ground_;
    AvahiPoll poll_;
    AvahiServer* server_ = nullptr;
    std::deque<std::function<void()>> reports_;
    std::shared_ptr<Deferral> nextReport_;
};

} // namespace AmbrelKit::Linux

#endif

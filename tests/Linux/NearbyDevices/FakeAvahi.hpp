#ifndef AMBREL_TESTS_LINUX_NEARBYDEVICES_FAKEAVAHI_HPP
#define AMBREL_TESTS_LINUX_NEARBYDEVICES_FAKEAVAHI_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <map>
#include <set>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

/// An `org.freedesktop.Avahi` on the bus, served by the loop of the test. Its services are all on
/// the host `near.local`, at port 631.
class FakeAvahi {
public:
    struct Item {
        std::string name;
        int interface = 2;
        int protocol = 0;
        std::string type = "_ipp._tcp";
    };

    explicit FakeAvahi(std::shared_ptr<AmbrelKit::Linux::EventLoop> loop);
    ~FakeAvahi();
    FakeAvahi(const FakeAvahi&) = delete;
    FakeAvahi& operator=(const FakeAvahi&) = delete;

    /// Sends ItemNew or ItemRemove from every browser.
    void report(const std::string& signal, const Item& item);

    /// Sends a signal of a browser with a text where the interface should be.
    void reportGarbage();

    /// Answers the calls that were held.
    void answerHeld();

    // What it knows
    std::vector<Item> items;                  ///< reported by each browser when it starts
    std::vector<Item> types;                  ///< reported instead by one that looks for types
    std::vector<std::string> txt;             ///< as on the bus: the last one first
    std::map<int, std::string> interfaceIPv4; ///< the host's address on each interface
    std::string ipv6;
    bool withoutTXT = false; ///< calls that ask for a TXT record get no answer but an error

    // How it behaves
    std::set<std::string> held; ///< members whose calls wait for answerHeld()
    std::string refusal;        ///< the error that ServiceBrowserPrepare gets
    bool garbage = false;       ///< answers to ResolveService have wrong types

    // What was seen
    bool named = false;
    std::map<std::string, std::string> objects; ///< the browsers by path: what they look for
    std::vector<std::string> calls;
    std::size_t mostHeld = 0;

private:
    static int handle(sd_bus_message* call, void* self, sd_bus_error*);
    void answer(sd_bus_message* call);
    void answerPrepare(sd_bus_message* call);
    void answerService(sd_bus_message* call);
    void answerAddress(sd_bus_message* call);
    void send(const std::string& path, const std::string& signal, const Item& item);

    std::shared_ptr<AmbrelKit::Linux::EventLoop> loop_;
    sd_bus* bus_ = nullptr;
    std::vector<sd_bus_message*> waiting_;
    int made_ = 0;
};

#endif

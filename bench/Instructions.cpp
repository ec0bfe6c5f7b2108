// Does one kind of work so many times, for its instructions to be counted: ./dev instructions.

#include "AmbrelKit/Linux/Bluetooth/Advertisement.hpp"
#include "bench/CoreWork.hpp"
#include "bench/FilledStore.hpp"
#include "bench/SightingScript.hpp"
#include "bench/Signal.hpp"

#include <functional>
#include <iostream>
#include <sys/socket.h>

namespace {

using namespace AmbrelKit;
using namespace AmbrelKit::Bench;

std::size_t total = 0; // what was made is used

template <class Seen> auto sighting(std::size_t held) {
    return [held](std::size_t times) {
        Seen seen(held);
        for (std::size_t i = 0; i < times; ++i) {
            seen.see();
        }
    };
}

void makeDictionary(std::size_t times) {
    const AmbrelData record = fullRecord();
    for (std::size_t i = 0; i < times; ++i) {
        total += JSONEncoder::serialize(record)->size();
    }
}

void dictionaryByHand(std::size_t times) {
    const ByHand byHand;
    for (std::size_t i = 0; i < times; ++i) {
        total += byHand.dictionary().size();
    }
}

template <class Run> auto script(Run run) {
    return [run](std::size_t times) {
        const SightingScript script(200);
        for (std::size_t i = 0; i < times; ++i) {
            total += std::invoke(run, script);
        }
    };
}

template <class Read> auto store(Read read) {
    return [read](std::size_t times) {
        const FilledStore store(20, 50);
        for (std::size_t i = 0; i < times; ++i) {
            total += read().size();
        }
    };
}

/// A signal as it comes from BlueZ, though from nowhere.
class Signal {
public:
    Signal() {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) < 0 ||
            sd_bus_new(&bus_) < 0 || sd_bus_set_fd(bus_, ends[0], ends[0]) < 0 ||
            sd_bus_start(bus_) < 0 ||
            sd_bus_message_new_signal(bus_, &message_, "/org/bluez/hci0/dev_C0_FF_EE_00_00_01",
                                      "org.freedesktop.DBus.Properties", "PropertiesChanged") < 0) {
            std::abort();
        }
        sd_bus_message_append(message_, "s", "org.bluez.Device1");
        appendHeard(message_, 1);
        sd_bus_message_seal(message_, 1, 0);
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal() {
        sd_bus_message_unref(message_);
        sd_bus_unref(bus_);
    }

    sd_bus_message* again() {
        sd_bus_message_rewind(message_, 1);
        return message_;
    }

private:
    sd_bus* bus_ = nullptr;
    sd_bus_message* message_ = nullptr;
};

void busSignal(std::size_t times) {
    Signal signal;
    Linux::Advertisement advertisement;
    for (std::size_t i = 0; i < times; ++i) {
        const auto object = Linux::readChanges(signal.again());
        advertisement.take(*object.device);
        total += advertisement.manufacturerData.size();
    }
}

void busSignalByHand(std::size_t times) {
    Signal signal;
    PlainReader reader;
    for (std::size_t i = 0; i < times; ++i) {
        const char* interface = nullptr;
        sd_bus_message* const message = signal.again();
        sd_bus_message_read_basic(message, 's', &interface);
        reader.readProperties(message);
    }
    total += reader.content();
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, std::function<void(std::size_t)>> works{
        {"event-10", sighting<OpenCollection>(10)},
        {"event-10-by-hand", sighting<OrderedMap>(10)},
        {"event-1000", sighting<OpenCollection>(1000)},
        {"event-1000-by-hand", sighting<OrderedMap>(1000)},
        {"dictionary", makeDictionary},
        {"dictionary-by-hand", dictionaryByHand},
        {"replay", script(&SightingScript::replay)},
        {"replay-by-hand", script(&SightingScript::parse)},
        {"store", store(&FilledStore::read)},
        {"store-by-hand", store(&FilledStore::readPlainly)},
        {"signal", busSignal},
        {"signal-by-hand", busSignalByHand},
    };
    const auto work = works.find(argc == 3 ? argv[1] : "");
    if (work == works.end()) {
        std::cerr << "Instructions WORK TIMES\n";
        return 2;
    }
    work->second(std::strtoul(argv[2], nullptr, 10));
    return total == 1 ? 1 : 0;
}

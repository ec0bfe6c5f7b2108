#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/PlatformServices.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

struct Source {
    std::string_view name;
    Examination (*examine)(const Surroundings&, const Report&);
};

constexpr std::array allSources{
    Source{"bluetooth", examineBluetooth}, Source{"services", examineServices},
    Source{"location", examineLocation},   Source{"address", examineAddress},
    Source{"wifi", examineWifi},           Source{"lifecycle", examineLifecycle}};

std::vector<Source> named(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (std::ranges::find(allSources, name, &Source::name) == allSources.end()) {
            throw std::invalid_argument("there is no source \"" + name + "\"");
        }
    }
    std::vector<Source> found;
    std::ranges::copy_if(allSources, std::back_inserter(found), [&names](const Source& source) {
        return std::ranges::find(names, source.name) != names.end();
    });
    return found;
}

class FullDiagnosis final : public Diagnosis, public std::enable_shared_from_this<FullDiagnosis> {
public:
    FullDiagnosis(Surroundings surroundings, std::vector<Source> sources,
                  std::function<void(const std::vector<SourceDiagnosis>&)> done)
        : surroundings_(std::move(surroundings)), sources_(std::move(sources)),
          done_(std::move(done)), found_(sources_.size()) {}

    void begin() {
        finished_ = surroundings_.loop->deadline(weakly(weak_from_this(), &FullDiagnosis::finish));
        askForNames("ListNames", [this](sd_bus_message* reply) {
            if (readNames(reply, surroundings_.running)) {
                askForNames("ListActivatableNames", [this](sd_bus_message* more) {
                    surroundings_.busAnswers = readNames(more, surroundings_.startable);
                    examine();
                });
            } else {
                examine();
            }
        });
    }

private:
    void askForNames(const char* member, std::function<void(sd_bus_message*)> answered) {
        examinations_.push_back(askDaemon(
            surroundings_,
            {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member}, {},
            weakly(weak_from_this(),
                   [answered = std::move(answered)](FullDiagnosis&, sd_bus_message* reply) {
                       answered(reply);
                   })));
    }

    /// False where there is no answer. An error is one by the connection, which has ended.
    bool readNames(sd_bus_message* reply, std::set<std::string>& names) {
        const auto& bus = *surroundings_.bus;
        const bool answers = reply != nullptr && !isError(reply);
        surroundings_.busDrops =
            !answers && bus.wasConnected() && (reply != nullptr || !bus.isConnected());
        if (answers) {
            eachText(reply, [&names](std::string_view name) { names.emplace(name); });
        }
        return answers;
    }

    void examine() {
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            examinations_.push_back(sources_[i].examine(
                surroundings_, weakly(weak_from_this(), [i](FullDiagnosis& self, Finding found) {
                    self.found(i, std::move(found));
                })));
        }
        finishWhenAllIsFound(); // nothing may be wanted
    }

    void found(std::size_t source, Finding found) {
        found_[source] = std::move(found);
        finishWhenAllIsFound();
    }

    void finishWhenAllIsFound() {
        if (std::ranges::all_of(found_, [](const auto& entry) { return entry.has_value(); })) {
            finished_->arm(std::chrono::steady_clock::now()); // not inside an examination
        }
    }

    void finish() {
        examinations_.clear();
        std::vector<SourceDiagnosis> found;
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            found.push_back({.source = std::string(sources_[i].name),
                             .usable = found_[i]->usable,
                             .finding = std::move(found_[i]->finding),
                             .remedy = std::move(found_[i]->remedy)});
        }
        std::exchange(done_, nullptr)(found);
    }

    Surroundings surroundings_;
    std::vector<Source> sources_;
    std::function<void(const std::vector<SourceDiagnosis>&)> done_;
    std::vector<Examination> examinations_;
    std::vector<std::optional<Finding>> found_; ///< of each of `sources_`
    std::shared_ptr<Deadline> finished_;
};

} // namespace

std::vector<std::string> Diagnosis::sources() {
    std::vector<std::string> names;
    std::ranges::transform(allSources, std::back_inserter(names),
                           [](const Source& source) { return std::string(source.name); });
    return names;
}

std::shared_ptr<Diagnosis>
Diagnosis::start(const LocationOptions& options,
                 std::function<void(const std::vector<SourceDiagnosis>&)> done,
                 const std::vector<std::string>& wanted) {
    auto sources = named(wanted);
    platformServices(options); // has the network queries be this machine's
    const auto loop = EventLoop::current();
    auto diagnosis = std::make_shared<FullDiagnosis>(
        Surroundings{.loop = loop, .location = options, .bus = loop->shared<SystemBus>()},
        std::move(sources), std::move(done));
    diagnosis->begin();
    return diagnosis;
}

Examination askDaemon(const Surroundings& surroundings, const BusMethod& method,
                      const BusArguments& arguments, const BusReceiver& answered) {
    struct Question {
        BusReceiver answered;
        std::unique_ptr<PendingCall> call;
        std::shared_ptr<Deadline> patience;

        void end(sd_bus_message* reply) {
            call.reset();
            patience.reset();
            answered(reply);
        }
    };
    const auto question = std::make_shared<Question>();
    question->answered = answered;
    question->call = surroundings.bus->call(method, arguments, weakly(question, &Question::end));
    question->patience =
        surroundings.loop->deadline(weakly(question, [](Question& self) { self.end(nullptr); }));
    const bool asked = question->call != nullptr;
    question->patience->arm(std::chrono::steady_clock::now() +
                            (asked ? daemonPatience : std::chrono::seconds(0)));
    return question;
}

Finding failsWithoutBus(const Surroundings& surroundings) {
    if (surroundings.busDrops) {
        return fails("the system bus closes this program's connection, as it does with a user whom "
                     "it does not know",
                     "run as a lasting user (User= in place of DynamicUser= in the unit)");
    }
    if (surroundings.bus->wasConnected()) {
        return fails("the system bus does not answer", "systemctl status dbus");
    }
    return fails("the system bus does not run",
                 "start it (systemctl start dbus), or let this container have "
                 "/run/dbus/system_bus_socket");
}

Finding failsWithoutAnswer(const std::string& unit) {
    return fails(unit + " does not answer", "systemctl restart " + unit);
}

} // namespace AmbrelKit::Linux

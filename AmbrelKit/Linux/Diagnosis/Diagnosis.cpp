#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Platform.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
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

std::set<std::string> readNames(sd_bus_message* reply) {
    std::set<std::string> names;
    eachText(reply, [&names](std::string_view name) { names.emplace(name); });
    return names;
}

class FullDiagnosis final : public Diagnosis, public std::enable_shared_from_this<FullDiagnosis> {
public:
    FullDiagnosis(Surroundings surroundings, std::vector<Source> sources,
                  std::function<void(const std::vector<SourceDiagnosis>&)> done)
        : surroundings_(std::move(surroundings)), sources_(std::move(sources)),
          done_(std::move(done)), found_(sources_.size()) {}

    void begin() {
        finished_ = surroundings_.loop->deadline([weak = weak_from_this()] {
            if (const auto diagnosis = weak.lock()) {
                diagnosis->finish();
            }
        });
        askForNames("ListNames", &FullDiagnosis::runningKnown);
    }

private:
    using Handler = void (FullDiagnosis::*)(sd_bus_message*);

    void askForNames(const char* member, Handler answered) {
        examinations_.push_back(askDaemon(
            surroundings_,
            {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", member}, {},
            [weak = weak_from_this(), answered](sd_bus_message* reply) {
                if (const auto diagnosis = weak.lock()) {
                    ((*diagnosis).*answered)(reply);
                }
            }));
    }

    void runningKnown(sd_bus_message* reply) {
        surroundings_.busAnswers = reply != nullptr;
        if (reply == nullptr) {
            examine();
            return;
        }
        surroundings_.running = readNames(reply);
        askForNames("ListActivatableNames", &FullDiagnosis::startableKnown);
    }

    void startableKnown(sd_bus_message* reply) {
        surroundings_.busAnswers = reply != nullptr;
        if (reply != nullptr) {
            surroundings_.startable = readNames(reply);
        }
        examine();
    }

    void examine() {
        for (std::size_t i = 0; i < sources_.size(); ++i) {
            examinations_.push_back(
                sources_[i].examine(surroundings_, [weak = weak_from_this(), i](Finding found) {
                    if (const auto diagnosis = weak.lock()) {
                        diagnosis->found(i, std::move(found));
                    }
                }));
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

        static void end(const std::weak_ptr<Question>& weak, sd_bus_message* reply) {
            if (const auto question = weak.lock()) {
                question->call.reset();
                question->patience.reset();
                question->answered(reply);
            }
        }
    };
    const auto question = std::make_shared<Question>();
    const std::weak_ptr weak(question);
    question->answered = answered;
    question->call = surroundings.bus->call(
        method, arguments, [weak](sd_bus_message* reply) { Question::end(weak, reply); });
    question->patience = surroundings.loop->deadline([weak] { Question::end(weak, nullptr); });
    const bool asked = question->call != nullptr;
    question->patience->arm(std::chrono::steady_clock::now() +
                            (asked ? daemonPatience : std::chrono::seconds(0)));
    return question;
}

bool kernelHas(const std::string& deviceClass) {
    std::error_code error;
    return !std::filesystem::is_empty("/sys/class/" + deviceClass, error) && !error;
}

Finding failsWithoutBus() {
    return fails("the system bus does not answer",
                 "start it (systemctl start dbus), or let this container have "
                 "/run/dbus/system_bus_socket");
}

Finding failsWithoutAnswer(const std::string& unit) {
    return fails(unit + " does not answer", "systemctl restart " + unit);
}

} // namespace AmbrelKit::Linux

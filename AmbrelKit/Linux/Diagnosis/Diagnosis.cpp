#include "AmbrelKit/Linux/Diagnosis/Diagnosis.hpp"

#include "AmbrelKit/Linux/Bus/BusReading.hpp"
#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Platform.hpp"

#include <array>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

struct Source {
    const char* name;
    Examination (*examine)(const Surroundings&, const Report&);
};

constexpr std::array sources{
    Source{"bluetooth", examineBluetooth}, Source{"services", examineServices},
    Source{"location", examineLocation},   Source{"address", examineAddress},
    Source{"wifi", examineWifi},           Source{"lifecycle", examineLifecycle}};

std::set<std::string> readNames(sd_bus_message* reply) {
    std::set<std::string> names;
    eachText(reply, [&names](std::string_view name) { names.emplace(name); });
    return names;
}

class FullDiagnosis final : public Diagnosis, public std::enable_shared_from_this<FullDiagnosis> {
public:
    FullDiagnosis(Surroundings surroundings,
                  std::function<void(const std::vector<SourceDiagnosis>&)> done)
        : surroundings_(std::move(surroundings)), done_(std::move(done)) {}

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
        for (std::size_t i = 0; i < sources.size(); ++i) {
            examinations_.push_back(
                sources[i].examine(surroundings_, [weak = weak_from_this(), i](Finding found) {
                    if (const auto diagnosis = weak.lock()) {
                        diagnosis->found(i, std::move(found));
                    }
                }));
        }
    }

    void found(std::size_t source, Finding found) {
        found_[source] = std::move(found);
        for (const auto& entry : found_) {
            if (!entry) {
                return;
            }
        }
        finished_->arm(std::chrono::steady_clock::now()); // not inside an examination
    }

    void finish() {
        examinations_.clear();
        std::vector<SourceDiagnosis> found;
        for (std::size_t i = 0; i < sources.size(); ++i) {
            found.push_back({.source = sources[i].name,
                             .usable = found_[i]->usable,
                             .finding = std::move(found_[i]->finding),
                             .remedy = std::move(found_[i]->remedy)});
        }
        std::exchange(done_, nullptr)(found);
    }

    Surroundings surroundings_;
    std::function<void(const std::vector<SourceDiagnosis>&)> done_;
    std::vector<Examination> examinations_;
    std::array<std::optional<Finding>, sources.size()> found_;
    std::shared_ptr<Deadline> finished_;
};

} // namespace

std::shared_ptr<Diagnosis>
Diagnosis::start(const LocationOptions& options,
                 std::function<void(const std::vector<SourceDiagnosis>&)> done) {
    platformServices(options); // has the network queries be this machine's
    const auto loop = EventLoop::current();
    auto diagnosis = std::make_shared<FullDiagnosis>(
        Surroundings{.loop = loop, .location = options, .bus = loop->shared<SystemBus>()},
        std::move(done));
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

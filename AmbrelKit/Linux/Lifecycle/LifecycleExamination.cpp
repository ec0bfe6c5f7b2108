#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Lifecycle/SessionWatch.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <memory>
#include <optional>
#include <string>

namespace AmbrelKit::Linux {

namespace {

constexpr const char* name = "org.freedesktop.login1";
constexpr const char* resumesAlone = "logind, for resumes alone: this user has no session here";

/// Takes the inhibitor that an automatic collection takes, which is closed with the reply, and then
/// looks for the session whose activation would be followed.
class LifecycleExamination final : public std::enable_shared_from_this<LifecycleExamination> {
public:
    LifecycleExamination(Surroundings surroundings, Report report)
        : surroundings_(std::move(surroundings)), report_(std::move(report)) {}

    void begin() {
        inhibitor_ = askDaemon(
            surroundings_,
            {name, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "Inhibit"},
            [](sd_bus_message* call) {
                return sd_bus_message_append(call, "ssss", "sleep", "AmbrelKit",
                                             "Seeing whether it may", "delay");
            },
            weakly(weak_from_this(), &LifecycleExamination::inhibited));
    }

private:
    void inhibited(sd_bus_message* reply) {
        if (reply == nullptr) {
            report_(failsWithoutAnswer("systemd-logind"));
        } else if (isError(reply)) {
            report_(fails("logind refuses to delay a suspend for this user",
                          "allow org.freedesktop.login1.inhibit-delay-sleep in polkit"));
        } else {
            patience_ = surroundings_.loop->deadline(weakly(weak_from_this(), [](auto& self) {
                self.finish(failsWithoutAnswer("systemd-logind"));
            }));
            patience_->arm(std::chrono::steady_clock::now() + daemonPatience);
            session_.emplace(
                surroundings_.bus, name,
                weakly(weak_from_this(), [](auto& self, const std::string& session, bool) {
                    self.finish(works(session.empty() ? resumesAlone
                                                      : "logind, session " + sessionName(session)));
                }));
        }
    }

    void finish(Finding found) {
        session_.reset();
        patience_.reset();
        report_(std::move(found));
    }

    Surroundings surroundings_;
    Report report_;
    Examination inhibitor_;
    std::optional<SessionWatch> session_;
    std::shared_ptr<Deadline> patience_;
};

} // namespace

Examination examineLifecycle(const Surroundings& surroundings, const Report& report) {
    if (!surroundings.busAnswers) {
        report(failsWithoutBus(surroundings));
    } else if (surroundings.running.contains(name)) {
        const auto examination = std::make_shared<LifecycleExamination>(surroundings, report);
        examination->begin();
        return examination;
    } else {
        report(fails("there is no logind, so suspend and resume go unnoticed",
                     "start systemd-logind or elogind"));
    }
    return nullptr;
}

} // namespace AmbrelKit::Linux

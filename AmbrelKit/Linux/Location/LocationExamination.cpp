#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Location/DesktopId.hpp"
#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

using Kind = LocationSourceKind;
using State = LocationSource::State;

/// For an answer, and for the fix after it.
constexpr std::chrono::seconds patience{6};

/// For a connection to gpsd.
constexpr std::chrono::seconds gpsdPatience{1};

/// Uses the source as a collection would, until it has a fix.
class FixExamination final : public LocationSourceOwner,
                             public std::enable_shared_from_this<FixExamination> {
public:
    FixExamination(Surroundings surroundings, Report report)
        : surroundings_(std::move(surroundings)), report_(std::move(report)) {}

    void begin(const ChosenSource& chosen) {
        source_ = chosen.make(weak_from_this());
        end_ = surroundings_.loop->deadline(
            weakly(weak_from_this(), [](FixExamination& self) { self.report(self.judged()); }));
        if (chosen.asksPermission) {
            askWhetherItLives();
        }
        wait();
    }

    void sourceDidChange(LocationSource& /*changed*/) override { wait(); }

    void sourceDidFix(LocationSource& fixed, std::vector<LocationFix> /*fixes*/) override {
        report(works(fixed.kind() == Kind::gpsd ? "gpsd at " + gpsdPlace() : "GeoClue"));
    }

private:
    /// For as long as there may still be a fix.
    void wait() {
        const auto now = std::chrono::steady_clock::now();
        const auto end =
            begin_ + (surroundings_.busAnswers ? patience : patience - gpsdPatience * 2);
        const bool needsGpsd = source_->kind() == Kind::gpsd && source_->state() != State::ready;
        const bool mayHave = source_->state() == State::ready || source_->state() == State::asking;
        end_->arm(needsGpsd ? now + gpsdPatience : mayHave ? end : now);
    }

    void report(Finding found) {
        const auto keep = shared_from_this();
        end_->disarm();
        question_.reset();
        source_.reset();
        if (const auto report = std::exchange(report_, nullptr)) {
            report(std::move(found));
        }
    }

    /// GeoClue owes its answer to an agent; what it says of itself it says at once.
    void askWhetherItLives() {
        question_ = askDaemon(
            surroundings_,
            {geoClueName, "/org/freedesktop/GeoClue2/Manager", "org.freedesktop.DBus.Properties",
             "Get"},
            [](sd_bus_message* call) {
                return sd_bus_message_append(call, "ss", "org.freedesktop.GeoClue2.Manager",
                                             "InUse");
            },
            weakly(weak_from_this(), [](FixExamination& self, sd_bus_message* reply) {
                self.lives_ = reply != nullptr;
            }));
    }

    [[nodiscard]] std::string gpsdPlace() const {
        return surroundings_.location.gpsdAddress + " port " +
               std::to_string(surroundings_.location.gpsdPort);
    }

    [[nodiscard]] Finding judged() const {
        const bool usesGpsd = source_->kind() == Kind::gpsd;
        if (usesGpsd && source_->state() == State::ready) {
            return fails("gpsd has no fix yet",
                         "see whether its receiver is there and sees the sky (cgps)");
        }
        const Finding absentGpsd = fails("nothing answers as gpsd at " + gpsdPlace(),
                                         "apt install gpsd, for a receiver of your own");
        if (usesGpsd && source_->state() == State::asking) {
            return absentGpsd;
        }
        Finding found = judgedGeoClue();
        if (usesGpsd) {
            found.finding += ", and " + absentGpsd.finding;
            found.remedy += "; or " + absentGpsd.remedy;
        } else if (surroundings_.location.source == Kind::automatic) {
            found.remedy += "; or, with a receiver of your own, take gpsd (--location gpsd)";
        }
        return found;
    }

    [[nodiscard]] Finding judgedGeoClue() const {
        switch (source_->state()) {
        case State::ready:
            return fails("GeoClue has found no place",
                         "allow precise location in the desktop's privacy settings, or give "
                         "GeoClue a source in /etc/geoclue/geoclue.conf");
        case State::refused:
            return fails(source_->reason(),
                         "allow " + desktopId(surroundings_.location) +
                             " in the desktop's privacy settings or /etc/geoclue/geoclue.conf");
        case State::asking:
            return fails(source_->reason(), "answer its question, and try again");
        case State::absent:
        case State::silent:
            break;
        }
        return judgedAbsence();
    }

    [[nodiscard]] Finding judgedAbsence() const {
        if (!surroundings_.busAnswers) {
            return failsWithoutBus(surroundings_);
        }
        if (!surroundings_.running.contains(geoClueName) &&
            !surroundings_.startable.contains(geoClueName)) {
            return fails("GeoClue is not installed", "apt install geoclue-2.0");
        }
        if (source_->state() == State::absent) {
            return source_->reason().empty()
                       ? fails("GeoClue cannot be started",
                               "systemctl unmask geoclue (journalctl -u geoclue says why)")
                       : fails(source_->reason(), "systemctl restart geoclue");
        }
        if (lives_) {
            return fails("GeoClue has no agent that could ask the user",
                         "log in to a desktop that has one, or run "
                         "/usr/libexec/geoclue-2.0/demos/agent");
        }
        return failsWithoutAnswer("geoclue");
    }

    Surroundings surroundings_;
    Report report_;
    std::shared_ptr<LocationSource> source_;
    Examination question_;
    bool lives_ = false; ///< GeoClue answers what it need ask nobody
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::shared_ptr<Deadline> end_;
};

} // namespace

Examination examineLocation(const Surroundings& surroundings, const Report& report) {
    if (surroundings.location.source == Kind::none) {
        report(works("none, as chosen"));
        return nullptr;
    }
    const auto chosen = chosenSource(surroundings.loop, surroundings.location);
    if (!chosen.make) {
        report(fails("neither GeoClue nor gpsd is in this build",
                     "build with -DAMBREL_WITH_GEOCLUE=ON or -DAMBREL_WITH_GPSD=ON"));
        return nullptr;
    }
    const auto examination = std::make_shared<FixExamination>(surroundings, report);
    examination->begin(chosen);
    return examination;
}

} // namespace AmbrelKit::Linux

#include "AmbrelKit/Linux/Diagnosis/Examination.hpp"
#include "AmbrelKit/Linux/Location/GeoClueWatch.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

using State = LocationSource::State;

/// For an answer, and for the fix after it.
constexpr std::chrono::seconds patience{6};

/// For a connection to gpsd.
constexpr std::chrono::seconds gpsdPatience{1};

/// Uses the daemons as a collection would, both at once, until one has a fix.
class FixExamination final : public LocationSourceOwner,
                             public std::enable_shared_from_this<FixExamination> {
public:
    FixExamination(Surroundings surroundings, Report report)
        : surroundings_(std::move(surroundings)), report_(std::move(report)) {}

    void begin() {
        const auto& options = surroundings_.location;
        if (options.source != LocationSourceKind::gpsd) {
            if (const auto make = geoClueFactory(surroundings_.loop, options)) {
                geoClue_ = make(weak_from_this());
                askWhetherItLives();
            }
        }
        if (options.source != LocationSourceKind::geoClue) {
            if (const auto make = gpsdFactory(surroundings_.loop, options)) {
                gpsd_ = make(weak_from_this());
            }
        }
        end_ = surroundings_.loop->deadline([weak = weak_from_this()] {
            if (const auto examination = weak.lock()) {
                examination->report(examination->judged());
            }
        });
        wait();
    }

    void sourceDidChange(LocationSource& /*changed*/) override { wait(); }

    void sourceDidFix(LocationSource& fixed, std::vector<LocationFix> /*fixes*/) override {
        report(works(&fixed == gpsd_.get() ? "gpsd at " + gpsdPlace() : "GeoClue"));
    }

private:
    /// For as long as somebody may still have a fix.
    void wait() {
        using std::chrono::seconds;
        const bool geoClueMay =
            geoClue_ && (geoClue_->state() == State::asking || geoClue_->state() == State::ready);
        const bool gpsdMay = gpsd_ && gpsd_->state() == State::ready;
        const seconds time = gpsdMay || (geoClueMay && surroundings_.busAnswers) ? patience
                             : geoClueMay ? patience - daemonPatience
                             : gpsd_      ? gpsdPatience
                                          : seconds(0);
        end_->arm(begin_ + time);
    }

    void report(Finding found) {
        const auto keep = shared_from_this();
        end_->disarm();
        question_.reset();
        geoClue_.reset();
        gpsd_.reset();
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
            [weak = weak_from_this()](sd_bus_message* reply) {
                if (const auto examination = weak.lock()) {
                    examination->lives_ = reply != nullptr;
                }
            });
    }

    [[nodiscard]] std::string gpsdPlace() const {
        return surroundings_.location.gpsdAddress + " port " +
               std::to_string(surroundings_.location.gpsdPort);
    }

    [[nodiscard]] Finding judged() const {
        if (!geoClue_ && !gpsd_) {
            return fails("neither GeoClue nor gpsd is in this build",
                         "build with -DAMBREL_WITH_GEOCLUE=ON or -DAMBREL_WITH_GPSD=ON");
        }
        if (gpsd_ && gpsd_->state() == State::ready) {
            return fails("gpsd has no fix yet",
                         "see whether its receiver is there and sees the sky (cgps)");
        }
        const Finding absentGpsd = fails("nothing answers as gpsd at " + gpsdPlace(),
                                         "apt install gpsd, for a receiver of your own");
        if (!geoClue_) {
            return absentGpsd;
        }
        Finding found = judgedGeoClue();
        if (gpsd_) {
            found.finding += ", and " + absentGpsd.finding;
            found.remedy += "; or " + absentGpsd.remedy;
        }
        return found;
    }

    [[nodiscard]] Finding judgedGeoClue() const {
        switch (geoClue_->state()) {
        case State::ready:
            return fails("GeoClue has found no place",
                         "allow precise location in the desktop's privacy settings, or give "
                         "GeoClue a source in /etc/geoclue/geoclue.conf");
        case State::refused:
            return fails(geoClue_->reason(),
                         "allow " + surroundings_.location.desktopId +
                             " in the desktop's privacy settings or /etc/geoclue/geoclue.conf");
        case State::absent:
        case State::asking:
            break;
        }
        if (!surroundings_.busAnswers) {
            return failsWithoutBus();
        }
        if (!surroundings_.running.contains(geoClueName) &&
            !surroundings_.startable.contains(geoClueName)) {
            return fails("GeoClue is not installed", "apt install geoclue-2.0");
        }
        if (geoClue_->state() == State::absent) {
            return fails("GeoClue cannot be started",
                         "systemctl unmask geoclue (journalctl -u geoclue says why)");
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
    std::shared_ptr<LocationSource> geoClue_;
    std::shared_ptr<LocationSource> gpsd_;
    Examination question_;
    bool lives_ = false; ///< GeoClue answers what it need ask nobody
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::shared_ptr<Deadline> end_;
};

} // namespace

Examination examineLocation(const Surroundings& surroundings, const Report& report) {
    if (surroundings.location.source == LocationSourceKind::none) {
        report(works("none, as chosen"));
        return nullptr;
    }
    const auto examination = std::make_shared<FixExamination>(surroundings, report);
    examination->begin();
    return examination;
}

} // namespace AmbrelKit::Linux

#include "AmbrelKit/Linux/Location/Location.hpp"

#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"

#include <iterator>
#include <optional>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

using Kind = LocationSourceKind;
using State = LocationSource::State;
using Status = LocationAuthorizationStatus;

/// How long GeoClue may take to answer, and beside gpsd to give a fix.
constexpr std::chrono::seconds geoClueTime{3};

/// Either factory may be absent: that daemon is not used.
class Manager final : public LocationManager,
                      public LocationSourceOwner,
                      public std::enable_shared_from_this<Manager> {
public:
    Manager(LocationSourceFactory makeGeoClue, LocationSourceFactory makeGpsd)
        : makeGeoClue_(std::move(makeGeoClue)), makeGpsd_(std::move(makeGpsd)) {}

    static std::shared_ptr<Manager> make(EventLoop& loop, LocationSourceFactory makeGeoClue,
                                         LocationSourceFactory makeGpsd);

    [[nodiscard]] std::shared_ptr<LocationManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override;
    void requestWhenInUseAuthorization() override;
    void startUpdatingLocation() override;
    void stopUpdatingLocation() override;

    void sourceDidChange(LocationSource& source) override;
    void sourceDidFix(LocationSource& source, std::vector<LocationFix> fixes) override;

private:
    void begin();
    void geoClueTimeIsUp();
    void joinGpsd();
    void fail(std::string reason);
    void reportSoon() { report_->arm(std::chrono::steady_clock::now()); }
    void report();
    void tell(LocationManagerDelegate& delegate);

    LocationSourceFactory makeGeoClue_;
    LocationSourceFactory makeGpsd_;
    std::shared_ptr<LocationSource> geoClue_;
    std::shared_ptr<LocationSource> gpsd_;
    std::shared_ptr<Deadline> geoClueDeadline_;
    bool updating_ = false;
    Status status_ = makeGeoClue_ ? Status::notDetermined
                     : makeGpsd_  ? Status::authorizedWhenInUse
                                  : Status::restricted;

    // What is to be told, each from a turn of its own of the loop.
    std::weak_ptr<LocationManagerDelegate> delegate_;
    std::shared_ptr<Deadline> report_;
    std::optional<Status> told_;
    std::string failure_;
    std::vector<LocationFix> fixes_;
};

std::shared_ptr<Manager> Manager::make(EventLoop& loop, LocationSourceFactory makeGeoClue,
                                       LocationSourceFactory makeGpsd) {
    auto manager = std::make_shared<Manager>(std::move(makeGeoClue), std::move(makeGpsd));
    const auto deadline = [&](void (Manager::*due)()) {
        return loop.deadline([due, weak = std::weak_ptr(manager)] {
            if (const auto manager = weak.lock()) {
                ((*manager).*due)();
            }
        });
    };
    manager->report_ = deadline(&Manager::report);
    manager->geoClueDeadline_ = deadline(&Manager::geoClueTimeIsUp);
    return manager;
}

void Manager::setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) {
    delegate_ = std::move(delegate);
    told_.reset();
    reportSoon();
}

void Manager::requestWhenInUseAuthorization() {
    if (makeGeoClue_) {
        begin();
    }
}

void Manager::startUpdatingLocation() {
    updating_ = true;
    if (status_ == Status::authorizedWhenInUse) {
        begin();
        reportSoon();
    }
}

void Manager::stopUpdatingLocation() {
    updating_ = false;
    geoClue_.reset();
    gpsd_.reset();
    geoClueDeadline_->disarm();
    failure_.clear();
    fixes_.clear();
}

void Manager::begin() {
    if (geoClue_ || gpsd_) {
        return;
    }
    if (makeGeoClue_) {
        geoClue_ = makeGeoClue_(weak_from_this());
        geoClueDeadline_->arm(std::chrono::steady_clock::now() + geoClueTime);
    } else {
        joinGpsd();
    }
}

void Manager::joinGpsd() {
    if (makeGpsd_ && !gpsd_) {
        gpsd_ = makeGpsd_(weak_from_this());
    }
}

void Manager::geoClueTimeIsUp() {
    if (geoClue_ && geoClue_->state() == State::asking) {
        fail("GeoClue has not answered; perhaps no agent is running that could ask the user");
    }
    joinGpsd();
}

void Manager::sourceDidChange(LocationSource& source) {
    if (&source != geoClue_.get() && &source != gpsd_.get()) {
        return; // dropped meanwhile, by whom else it told
    }
    switch (source.state()) {
    case State::ready:
        status_ = Status::authorizedWhenInUse;
        break;
    case State::refused:
        if (!gpsd_ || gpsd_->state() != State::ready) {
            status_ = Status::denied;
        }
        fail(source.reason());
        [[fallthrough]];
    case State::absent:
        joinGpsd();
        break;
    case State::asking:
        break;
    }
    reportSoon();
}

void Manager::sourceDidFix(LocationSource& source, std::vector<LocationFix> fixes) {
    if (&source != geoClue_.get() && &source != gpsd_.get()) {
        return;
    }
    geoClueDeadline_->disarm();
    (&source == gpsd_.get() ? geoClue_ : gpsd_).reset();
    if (!updating_) { // only the newest is kept for later
        fixes_.clear();
        fixes.erase(fixes.begin(), std::prev(fixes.end()));
    }
    fixes_.insert(fixes_.end(), fixes.begin(), fixes.end());
    reportSoon();
}

void Manager::fail(std::string reason) {
    failure_ = std::move(reason);
    reportSoon();
}

void Manager::report() {
    const auto keep = shared_from_this();
    if (const auto delegate = delegate_.lock()) {
        tell(*delegate);
    } else {
        fixes_.clear();
    }
}

/// One call a turn: whatever the receiver does or throws, the rest is told afterwards, as it is
/// then.
void Manager::tell(LocationManagerDelegate& delegate) {
    if (told_ != status_) {
        told_ = status_;
        reportSoon();
        delegate.locationManagerDidChangeAuthorizationStatus(*this, status_);
    } else if (!failure_.empty()) {
        reportSoon();
        delegate.locationManagerDidFailWithError(*this, std::exchange(failure_, {}));
    } else if (updating_ && !fixes_.empty()) {
        delegate.locationManagerDidUpdateLocations(*this, std::exchange(fixes_, {}));
    }
}

} // namespace

LocationManagerFactory makeLocationManagerFactory(std::shared_ptr<EventLoop> loop,
                                                  const LocationOptions& options) {
    const Kind kind = options.source;
    LocationSourceFactory makeGeoClue;
    LocationSourceFactory makeGpsd;
    if (kind == Kind::geoClue || kind == Kind::automatic) {
        makeGeoClue = geoClueFactory(loop, options);
    }
    if (kind == Kind::gpsd || kind == Kind::automatic) {
        makeGpsd = gpsdFactory(loop, options);
    }
    return [loop = std::move(loop), makeGeoClue = std::move(makeGeoClue),
            makeGpsd = std::move(makeGpsd)] { return Manager::make(*loop, makeGeoClue, makeGpsd); };
}

} // namespace AmbrelKit::Linux

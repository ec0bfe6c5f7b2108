#include "AmbrelKit/Linux/Location/LocationManagerFactory.hpp"

#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/LoopBoard.hpp"
#include "AmbrelKit/Linux/Sources/Standings.hpp"
#include "AmbrelKit/Platform/Weakly.hpp"

#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

namespace {

using Status = LocationAuthorizationStatus;

/// What the managers of a loop say of their sources.
struct LocationStandings final : Standings {
    using Standings::Standings;
    static std::shared_ptr<LocationStandings> make(const std::shared_ptr<EventLoop>& loop) {
        return std::make_shared<LocationStandings>(loop->shared<LoopBoard>(), Source::location);
    }
};

class Manager final : public LocationManager,
                      public LocationSourceOwner,
                      public std::enable_shared_from_this<Manager> {
public:
    Manager(std::shared_ptr<Standings> standings, ChosenSource chosen)
        : standings_(std::move(standings)), makeSource_(std::move(chosen.make)),
          instead_(std::move(chosen.instead)),
          status_(!makeSource_            ? Status::restricted
                  : chosen.asksPermission ? Status::notDetermined
                                          : Status::authorizedWhenInUse) {}

    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;
    ~Manager() override { standings_->leave(this); }

    static std::shared_ptr<Manager> make(EventLoop& loop, std::shared_ptr<Standings> standings,
                                         ChosenSource chosen) {
        auto manager = std::make_shared<Manager>(std::move(standings), std::move(chosen));
        manager->report_ = loop.deferral(weakly(manager, &Manager::report));
        return manager;
    }

    [[nodiscard]] std::shared_ptr<LocationManagerDelegate> delegate() const override {
        return delegate_.lock();
    }
    void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override;
    void requestWhenInUseAuthorization() override { begin(); }
    void startUpdatingLocation() override;
    void stopUpdatingLocation() override;

    void sourceDidChange(LocationSource& source) override;
    void sourceDidFix(LocationSource& source, std::vector<LocationFix> fixes) override;

private:
    void begin();
    void reportSoon() { report_->schedule(); }
    void report();
    void tell(LocationManagerDelegate& delegate);

    std::shared_ptr<Standings> standings_;
    LocationSourceFactory makeSource_;
    SourceCondition instead_;
    std::shared_ptr<LocationSource> source_;
    bool updating_ = false;

    // What is to be told, each from a turn of its own of the loop.
    std::weak_ptr<LocationManagerDelegate> delegate_;
    std::shared_ptr<Deferral> report_;
    Status status_;
    std::optional<Status> told_;
    std::string failure_;
    std::vector<LocationFix> fixes_;
};

void Manager::setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) {
    delegate_ = std::move(delegate);
    told_.reset();
    if (!makeSource_) { // it is not asked for more than this
        delegate_.expired() ? standings_->leave(this) : begin();
    }
    reportSoon();
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
    source_.reset();
    standings_->leave(this);
    failure_.clear();
    fixes_.clear();
}

void Manager::begin() {
    if (makeSource_ && !source_) {
        source_ = makeSource_(weak_from_this());
        standings_->say(this, source_->condition());
    } else if (!makeSource_ && instead_.state != SourceState::idle) {
        standings_->say(this, instead_);
    }
}

void Manager::sourceDidChange(LocationSource& source) {
    auto condition = source.condition();
    if (condition.state == SourceState::listening) {
        status_ = Status::authorizedWhenInUse;
    } else if (condition.state == SourceState::refused) {
        status_ = Status::denied;
        fixes_.clear(); // also those of a gpsd that stood in
    }
    if (condition.state == SourceState::refused || condition.state == SourceState::unavailable) {
        failure_ = condition.reason;
    }
    standings_->say(this, std::move(condition));
    reportSoon();
}

void Manager::sourceDidFix(LocationSource& /*source*/, std::vector<LocationFix> fixes) {
    if (!updating_) { // only the newest is kept for later
        fixes_.clear();
        fixes.erase(fixes.begin(), std::prev(fixes.end()));
    }
    fixes_.insert(fixes_.end(), fixes.begin(), fixes.end());
    reportSoon();
}

void Manager::report() {
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
        standings_->count(fixes_.size());
        delegate.locationManagerDidUpdateLocations(*this, std::exchange(fixes_, {}));
    }
}

} // namespace

LocationManagerFactory makeLocationManagerFactory(const std::shared_ptr<EventLoop>& loop,
                                                  const LocationOptions& options) {
    auto chosen = chosenSource(loop, options);
    return [loop, standings = loop->shared<LocationStandings>(), chosen = std::move(chosen)] {
        return Manager::make(*loop, standings, chosen);
    };
}

} // namespace AmbrelKit::Linux

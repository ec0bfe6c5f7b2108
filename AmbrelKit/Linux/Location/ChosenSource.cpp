#include "AmbrelKit/Linux/Location/GeoClueVerdict.hpp"
#include "AmbrelKit/Linux/Location/LocationSource.hpp"
#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"

#include <utility>

namespace AmbrelKit::Linux {

namespace {

using Kind = LocationSourceKind;

constexpr const char* takeGpsd = "; or, with a receiver of your own, take gpsd (--location gpsd)";

/// GeoClue, and gpsd while GeoClue is not there. What GeoClue says binds, also when it says it
/// late; after a refusal gpsd does not stand in for as long as the refusal is remembered.
class AutomaticSource final : public LocationSource,
                              public LocationSourceOwner,
                              public std::enable_shared_from_this<AutomaticSource> {
public:
    AutomaticSource(LocationSourceFactory makeGpsd, std::shared_ptr<GeoClueVerdict> verdict,
                    std::weak_ptr<LocationSourceOwner> owner)
        : makeGpsd_(std::move(makeGpsd)), verdict_(std::move(verdict)), owner_(std::move(owner)) {}

    void begin(const LocationSourceFactory& makeGeoClue) {
        geoClue_ = makeGeoClue(weak_from_this());
    }

    [[nodiscard]] SourceCondition condition() const override {
        auto condition = geoClue_->condition();
        if (!gpsd_) {
            condition.remedy += condition.remedy.empty() ? "" : takeGpsd;
            return condition;
        }
        auto gpsd = gpsd_->condition();
        if (gpsd.state == SourceState::listening) {
            return gpsd;
        }
        condition.state = gpsd.state;
        condition.reason += ", and " + gpsd.reason;
        condition.remedy += "; or " + gpsd.remedy;
        return condition;
    }

    void sourceDidChange(LocationSource& /*source*/) override {
        if (geoClue_->condition().state != SourceState::unavailable) {
            gpsd_.reset();
        } else if (!gpsd_ && !verdict_->refused()) {
            gpsd_ = makeGpsd_(weak_from_this());
        }
        if (const auto owner = owner_.lock()) {
            owner->sourceDidChange(*this);
        }
    }

    void sourceDidFix(LocationSource& /*source*/, std::vector<LocationFix> fixes) override {
        if (const auto owner = owner_.lock()) {
            owner->sourceDidFix(*this, std::move(fixes));
        }
    }

private:
    LocationSourceFactory makeGpsd_;
    std::shared_ptr<GeoClueVerdict> verdict_;
    std::weak_ptr<LocationSourceOwner> owner_;
    std::shared_ptr<LocationSource> geoClue_;
    std::shared_ptr<LocationSource> gpsd_;
};

/// In place of what `kind` wants and this build does not have.
SourceCondition withoutAny(Kind kind) {
    return kind == Kind::none      ? SourceCondition()
           : kind == Kind::geoClue ? because(SourceReason::geoClueLeftOut)
           : kind == Kind::gpsd    ? because(SourceReason::gpsdLeftOut)
                                   : because(SourceReason::locationLeftOut);
}

} // namespace

ChosenSource chosenSource(const std::shared_ptr<EventLoop>& loop, const LocationOptions& options) {
    LocationSourceFactory geoClue;
    LocationSourceFactory gpsd;
    if (options.source == Kind::geoClue || options.source == Kind::automatic) {
        geoClue = geoClueFactory(loop, options);
    }
    if (options.source == Kind::gpsd || options.source == Kind::automatic) {
        gpsd = gpsdFactory(loop, options);
    }
    if (!geoClue || !gpsd) {
        const bool asksPermission = geoClue != nullptr;
        return {.make = asksPermission ? geoClue : gpsd,
                .asksPermission = asksPermission,
                .instead = geoClue || gpsd ? SourceCondition() : withoutAny(options.source)};
    }
    return {.make =
                [geoClue, gpsd, verdict = loop->shared<GeoClueVerdict>()](
                    std::weak_ptr<LocationSourceOwner> owner) {
                    const auto source =
                        std::make_shared<AutomaticSource>(gpsd, verdict, std::move(owner));
                    source->begin(geoClue);
                    return source;
                },
            .asksPermission = true};
}

} // namespace AmbrelKit::Linux

#include "tools/ambrel/Report/Places.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace Ambrel {

using AmbrelKit::JSONDictionary;

namespace {

constexpr std::size_t mostPlaces = 200;
constexpr double earthRadius = 6'371'008.8; // metres, the mean
constexpr double radian = std::numbers::pi / 180;

/// From one to the other, on a great circle.
double metres(const Position& one, const Position& other) {
    const double north = std::sin((other.latitude - one.latitude) * radian / 2);
    const double east = std::sin((other.longitude - one.longitude) * radian / 2);
    const double chord = north * north + std::cos(one.latitude * radian) *
                                             std::cos(other.latitude * radian) * east * east;
    return 2 * earthRadius * std::asin(std::sqrt(std::min(chord, 1.0)));
}

/// How far east and north of `origin` a position is on a map on which distances and directions from
/// the origin are true.
std::pair<double, double> eastAndNorth(const Position& origin, const Position& position) {
    const double latitude = position.latitude * radian;
    const double from = origin.latitude * radian;
    const double turn = (position.longitude - origin.longitude) * radian;
    const double direction = std::atan2(std::sin(turn) * std::cos(latitude),
                                        std::cos(from) * std::sin(latitude) -
                                            std::sin(from) * std::cos(latitude) * std::cos(turn));
    const double distance = metres(origin, position);
    return {distance * std::sin(direction), distance * std::cos(direction)};
}

/// Moves a mean by a part of the way to a position, on the short side of the globe.
void move(Position& mean, const Position& position, double part) {
    constexpr double round = 360;
    mean.latitude += (position.latitude - mean.latitude) * part;
    const double east = std::remainder(position.longitude - mean.longitude, round);
    mean.longitude = std::remainder(mean.longitude + east * part, round);
}

} // namespace

Thing* Places::see(const Position& position, const CollectionMoment& moment) {
    constexpr double pole = 90;
    constexpr double turned = 180;
    if (!(std::abs(position.latitude) <= pole && std::abs(position.longitude) <= turned)) {
        return nullptr;
    }
    if (places_.size() >= 2 * mostPlaces) {
        mergeNeighbours();
    }
    Place* place = placeOf(position);
    if (place == nullptr) {
        place = &places_.emplace_back(Place{position, {}});
    }
    place->thing.presence.see(moment);
    move(place->middle, position, 1 / static_cast<double>(place->thing.presence.count()));
    return &place->thing;
}

/// The nearest within the radius; null when there is none.
Places::Place* Places::placeOf(const Position& position) {
    Place* nearest = nullptr;
    double least = radius_;
    for (Place& place : places_) {
        const double north = std::abs(place.middle.latitude - position.latitude) * radian;
        if (north * earthRadius > least) {
            continue;
        }
        if (const double distance = metres(place.middle, position); distance <= least) {
            least = distance;
            nearest = &place;
        }
    }
    return nearest;
}

void Places::sort() {
    std::sort(places_.begin(), places_.end(),
              [](const Place& one, const Place& other) { return one.thing.precedes(other.thing); });
}

/// Doubles the radius until there are few enough places.
void Places::mergeNeighbours() {
    while (places_.size() > mostPlaces) {
        radius_ *= 2;
        sort();
        for (Place& place : std::exchange(places_, {})) {
            Place* greater = placeOf(place.middle);
            if (greater == nullptr) {
                places_.push_back(std::move(place));
                continue;
            }
            Presence& presence = greater->thing.presence;
            presence.join(place.thing.presence);
            move(greater->middle, place.middle,
                 static_cast<double>(place.thing.presence.count()) /
                     static_cast<double>(presence.count()));
        }
    }
}

JSONDictionary Places::model(std::int64_t origin, std::int64_t newSince) {
    mergeNeighbours();
    sort();
    std::vector<Thing*> listed;
    std::size_t fresh = 0;
    std::size_t once = 0;
    for (auto& [middle, thing] : places_) {
        const auto [east, north] = eastAndNorth(places_.front().middle, middle);
        thing.details = {{"lat", middle.latitude},
                         {"lon", middle.longitude},
                         {"x", std::llround(east)},
                         {"y", std::llround(north)}};
        fresh += thing.presence.first() >= newSince ? 1 : 0;
        once += thing.presence.count() == 1 ? 1 : 0;
        listed.push_back(&thing);
    }
    return {{"distinct", places_.size()},
            {"atMost", false},
            {"new", fresh},
            {"once", once},
            {"radius", radius_},
            {"things", describe(listed, "networks", origin)}};
}

} // namespace Ambrel

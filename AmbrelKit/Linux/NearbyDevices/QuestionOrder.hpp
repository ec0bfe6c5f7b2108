#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_QUESTIONORDER_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_QUESTIONORDER_HPP

#include "AmbrelKit/Linux/NearbyDevices/DiscoveryStack.hpp"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace AmbrelKit::Linux {

/// In which order a service is asked for. One without a TXT record only answers when it is asked
/// for without; so that one with a TXT record does not lose it, every interface on which it was
/// seen is asked with before any is asked without.
class QuestionOrder {
public:
    struct Question {
        int interface = 0;
        bool withTXT = true;

        friend bool operator==(const Question&, const Question&) = default;
    };

    explicit QuestionOrder(int interface) : places_{{interface}} {}

    /// Adds an interface, ahead of the loopback: nobody else can use what is valid there. False
    /// when it is there already.
    bool add(int interface) {
        if (std::ranges::find(places_, interface, &Place::interface) != places_.end()) {
            return false;
        }
        places_.insert(std::ranges::find(places_, loopbackInterface, &Place::interface),
                       {interface});
        return true;
    }

    /// The next question, or nothing when all have been asked: then it begins again.
    [[nodiscard]] std::optional<Question> next() {
        for (const bool withTXT : {true, false}) {
            for (Place& place : places_) {
                if (!std::exchange(withTXT ? place.askedWith : place.askedWithout, true)) {
                    return Question{place.interface, withTXT};
                }
            }
        }
        restart();
        return std::nullopt;
    }

    void restart() {
        for (Place& place : places_) {
            place.askedWith = place.askedWithout = false;
        }
    }

    /// Leaves one question: with the TXT record, on `interface`, where the service has answered.
    void onlyWithTXT(int interface) {
        for (Place& place : places_) {
            place.askedWith = place.interface != interface;
            place.askedWithout = true;
        }
    }

private:
    struct Place {
        int interface = 0;
        bool askedWith = false;
        bool askedWithout = false;
    };

    std::vector<Place> places_;
};

} // namespace AmbrelKit::Linux

#endif

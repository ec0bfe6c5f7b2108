#ifndef AMBREL_TESTS_INTERNAL_COREFIXTURE_HPP
#define AMBREL_TESTS_INTERNAL_COREFIXTURE_HPP

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/PermissionsHelper.hpp"
#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"
#include "AmbrelKit/Internal/Models/State.hpp"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace AmbrelKit {

using TimePoint = Environment::TimePoint;

/// So many seconds after 1970.
inline TimePoint at(double seconds) {
    return TimePoint(
        std::chrono::duration_cast<TimePoint::duration>(std::chrono::duration<double>(seconds)));
}

/// The n-th identifier.
inline UUID uuid(std::uint8_t n) {
    UUID::Bytes bytes{};
    bytes.back() = n;
    return UUID(bytes);
}

/// Answers queries with what a test sets, and notes which were asked.
class FakePermissions final : public PermissionsHelperDelegate {
    using Status = AmbrelPermissionStatus;

public:
    std::map<std::string, Status> answers; ///< by query; unknown where none is set
    std::vector<std::string> asked;
    std::function<void()> whenAsked = [] {};

    Status bluetoothSettingStatus() override { return answer("bluetooth_setting"); }
    Status bluetoothPermissionStatus() override { return answer("bluetooth_permission"); }
    Status locationSettingStatus() override { return answer("location_setting"); }
    Status locationPermissionStatus() override { return answer("location_permission"); }
    Status locationPrecisePermissionStatus() override {
        return answer("location_precise_permission");
    }
    Status networkSettingStatus() override { return answer("network_setting"); }
    Status networkPermissionStatus() override { return answer("network_permission"); }

private:
    Status answer(const char* query) {
        asked.emplace_back(query);
        const auto asking = whenAsked; // it may be replaced from inside
        asking();
        return answers[query];
    }
};

/// A clock and identifiers that the test sets; the process's own are put back at the end.
class CoreTest : public testing::Test {
protected:
    CoreTest() {
        Environment::shared().currentDate = [this] {
            ++clockReadings;
            return at(now);
        };
        Environment::shared().generateUUID = [this] { return uuid(nextIdentifier++); };
    }

    ~CoreTest() override {
        Environment::shared().currentDate = date_;
        Environment::shared().generateUUID = identifiers_;
        CollectionThreshold::value = threshold_;
        PermissionsHelper::setPermissionsDelegate({});
    }

    /// Asked from now on.
    std::shared_ptr<FakePermissions> permissions() {
        PermissionsHelper::setPermissionsDelegate(permissions_);
        return permissions_;
    }

    double now = 0;
    int clockReadings = 0;
    std::uint8_t nextIdentifier = 1;

private:
    std::shared_ptr<FakePermissions> permissions_ = std::make_shared<FakePermissions>();
    std::int64_t threshold_ = CollectionThreshold::value;
    std::function<TimePoint()> date_ = Environment::shared().currentDate;
    std::function<UUID()> identifiers_ = Environment::shared().generateUUID;
};

} // namespace AmbrelKit

#endif

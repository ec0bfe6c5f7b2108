#ifndef AMBRELKIT_TESTS_CORE_COREFIXTURE_HPP
#define AMBRELKIT_TESTS_CORE_COREFIXTURE_HPP

#include "AmbrelKit/Internal/Environment.hpp"
#include "AmbrelKit/Internal/Logic/PermissionsHelper.hpp"
#include "AmbrelKit/Internal/Models/CollectionThreshold.hpp"
#include "AmbrelKit/Internal/Models/State.hpp"

#include <cstdint>
#include <gtest/gtest.h>
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
public:
    AmbrelPermissionStatus bluetoothSetting = AmbrelPermissionStatus::unknown;
    AmbrelPermissionStatus bluetoothPermission = AmbrelPermissionStatus::unknown;
    AmbrelPermissionStatus locationSetting = AmbrelPermissionStatus::unknown;
    AmbrelPermissionStatus locationPermission = AmbrelPermissionStatus::unknown;
    AmbrelPermissionStatus locationPrecise = AmbrelPermissionStatus::unknown;
    AmbrelPermissionStatus networkSetting = AmbrelPermissionStatus::unknown;
    AmbrelPermissionStatus networkPermission = AmbrelPermissionStatus::unknown;
    std::vector<std::string> asked;

    AmbrelPermissionStatus bluetoothSettingStatus() override {
        return answer("bluetoothSetting", bluetoothSetting);
    }
    AmbrelPermissionStatus bluetoothPermissionStatus() override {
        return answer("bluetoothPermission", bluetoothPermission);
    }
    AmbrelPermissionStatus locationSettingStatus() override {
        return answer("locationSetting", locationSetting);
    }
    AmbrelPermissionStatus locationPermissionStatus() override {
        return answer("locationPermission", locationPermission);
    }
    AmbrelPermissionStatus locationPrecisePermissionStatus() override {
        return answer("locationPrecise", locationPrecise);
    }
    AmbrelPermissionStatus networkSettingStatus() override {
        return answer("networkSetting", networkSetting);
    }
    AmbrelPermissionStatus networkPermissionStatus() override {
        return answer("networkPermission", networkPermission);
    }

private:
    AmbrelPermissionStatus answer(const char* query, AmbrelPermissionStatus status) {
        asked.emplace_back(query);
        return status;
    }
};

/// A clock and identifiers that the test sets; the process's own are put back at the end.
class CoreTest : public testing::Test {
protected:
    CoreTest() {
        Environment::shared().currentDate = [this] { return at(now); };
        Environment::shared().generateUUID = [this] { return uuid(nextIdentifier++); };
    }

    ~CoreTest() override {
        Environment::shared().currentDate = date_;
        Environment::shared().generateUUID = identifiers_;
        CollectionThreshold::value = 30;
        PermissionsHelper::setPermissionsDelegate({});
    }

    double now = 0;
    std::uint8_t nextIdentifier = 1;

private:
    std::function<TimePoint()> date_ = Environment::shared().currentDate;
    std::function<UUID()> identifiers_ = Environment::shared().generateUUID;
};

} // namespace AmbrelKit

#endif

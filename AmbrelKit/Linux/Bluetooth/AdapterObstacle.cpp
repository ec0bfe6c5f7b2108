#include "AmbrelKit/Linux/Bluetooth/AdapterObstacle.hpp"

#include "AmbrelKit/Linux/Sources/KernelDevices.hpp"
#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace AmbrelKit::Linux {

namespace {

template <class Value = std::string> Value contentOf(const std::filesystem::path& file) {
    Value content{};
    std::ifstream(file) >> content;
    return content;
}

/// Either the adapter itself is blocked, or all are: the device's own switch bears a name of its
/// own.
bool concerns(const std::filesystem::path& radioSwitch, const std::string& adapter) {
    const auto name = contentOf(radioSwitch / "name");
    return contentOf(radioSwitch / "type") == "bluetooth" &&
           (name == adapter || !name.starts_with("hci"));
}

SourceReason whyOff(const std::string& adapter) {
    auto why = SourceReason::adapterOff;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/rfkill", error)) {
        if (!concerns(entry, adapter)) {
            continue;
        }
        if (contentOf<int>(entry.path() / "hard") != 0) {
            return SourceReason::adapterBlockedByHardware;
        }
        if (contentOf<int>(entry.path() / "soft") != 0) {
            why = SourceReason::adapterBlockedBySoftware;
        }
    }
    return why;
}

} // namespace

std::optional<SourceCondition> adapterObstacle(const BlueZObjects& objects) {
    if (objects.areRefused()) {
        return because(SourceReason::blueZRefuses);
    }
    const auto& adapters = objects.adapters();
    const auto isOn = [](const auto& adapter) { return adapter.second.powered; };
    if (!objects.areKnown() || std::ranges::any_of(adapters, isOn)) {
        return std::nullopt;
    }
    if (adapters.empty()) {
        return because(kernelHas("bluetooth") ? SourceReason::adapterUnused
                                              : SourceReason::noAdapter);
    }
    const std::string adapter = adapterName(adapters.begin()->first);
    return because(whyOff(adapter), {adapter});
}

} // namespace AmbrelKit::Linux

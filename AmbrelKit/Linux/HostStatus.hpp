#ifndef AMBRELKIT_LINUX_HOSTSTATUS_HPP
#define AMBRELKIT_LINUX_HOSTSTATUS_HPP

#include "AmbrelKit/Platform/Export.hpp"

#include <AmbrelKit/AmbrelPermissionStatus.hpp>

#include <functional>
#include <memory>

namespace AmbrelKit::Linux {

/// The seven answers of an `AmbrelSDKDelegate` as this machine shows them, for hosts that want no
/// better ones of their own: Linux has few switches and permissions that a program could look up.
///
/// It follows what changes. An answer is what is known at that moment, without waiting; what is
/// not known yet is `unknown`, so a host makes it some time ahead of its first collection. No
/// daemon is started, no device looked for, no user asked. Without a bus at the start all but the
/// network stays unknown. Used on one thread, whose `RunLoop` drives it; dropping it ends it.
///
/// Only a refusal takes a granted permission back, not a daemon that goes: a source is stopped at
/// the end of a collection if it is permitted then.
class AMBRELKIT_API HostStatus {
public:
    /// Begins to follow. `changed` is called from the loop when an answer is another than before;
    /// it may do anything, also drop this; what it throws leaves through the loop. Throws
    /// std::system_error when there is no loop, as `RunLoop::current()` does.
    [[nodiscard]] static std::shared_ptr<HostStatus> start(std::function<void()> changed = {});

    HostStatus() = default;
    HostStatus(const HostStatus&) = delete;
    HostStatus& operator=(const HostStatus&) = delete;
    virtual ~HostStatus() = default;

    /// Granted while BlueZ has an adapter that is on. Denied while it has none: none is there, or
    /// all are off or blocked (rfkill). Unknown without BlueZ.
    [[nodiscard]] virtual AmbrelPermissionStatus bluetoothSettingStatus() const = 0;
    /// Granted once BlueZ has answered this program, denied when the bus does not let it ask.
    [[nodiscard]] virtual AmbrelPermissionStatus bluetoothPermissionStatus() const = 0;

    /// Granted where the location may be asked for, and denied once GeoClue has refused it to this
    /// loop's collections, until it serves one; meanwhile gpsd does not stand in for it either. A
    /// desktop's switch is known to GeoClue's agent alone, and shows in no other way.
    [[nodiscard]] virtual AmbrelPermissionStatus locationSettingStatus() const = 0;
    /// Granted once GeoClue was seen to run or to be startable, else unknown: with a refusal every
    /// collection asks again. A host that takes its fixes from gpsd, which asks nobody, grants it
    /// by itself, also where gpsd only stands in.
    [[nodiscard]] virtual AmbrelPermissionStatus locationPermissionStatus() const = 0;
    /// Unknown: GeoClue does not tell how exact it may be.
    [[nodiscard]] virtual AmbrelPermissionStatus locationPrecisePermissionStatus() const = 0;

    /// Granted while a link other than loopback is up and connected, denied while none is. Known
    /// from the start.
    [[nodiscard]] virtual AmbrelPermissionStatus networkSettingStatus() const = 0;
    /// Granted: Linux asks nobody.
    [[nodiscard]] virtual AmbrelPermissionStatus networkPermissionStatus() const = 0;
};

} // namespace AmbrelKit::Linux

#endif

#ifndef AMBRELKIT_AMBRELSDKDELEGATE_HPP
#define AMBRELKIT_AMBRELSDKDELEGATE_HPP

#include <AmbrelKit/AmbrelPermissionStatus.hpp>
#include <AmbrelKit/Platform/Export.hpp>
#include <AmbrelKit/Platform/JSONDictionary.hpp>

namespace AmbrelKit {

/// What a host implements: it receives the collections, and states the permissions and settings
/// that it has.
///
/// Every operation is called on the thread that owns the kit. Inside one a host may call any
/// operation of the facade, replace the delegate, drop its last reference to the facade, or throw:
/// see docs/threads-and-lifetimes.md.
///
/// The kit takes the seven answers as the truth; it does not ask the system. They are asked often
/// (each time a record is opened or changed), so an answer should be at hand. With several facades
/// the delegate of the one made last is asked what may be started and stopped, for all of them.
///
/// Withdraw a permission only while nothing is collected: call `stopScanning()` first, then answer
/// otherwise. A source whose permission is not granted any more when a collection ends is not
/// stopped: it goes on to look around, and each of its reports delivers the finished dictionary
/// again.
class AMBRELKIT_API AmbrelSDKDelegate {
public:
    virtual ~AmbrelSDKDelegate() = default;

    /// A collection is finished, or a recent one is handed over again. `data` is its dictionary:
    /// "timestamp" (whole seconds since 1970), "bleScan", "nearbyDevices", "ambrel_analytics", and
    /// where known "ip", "wifiNetwork" and "locationCollection". It is valid during the call. May
    /// be called from inside a public operation. What it throws leaves through that, else through
    /// `RunLoop::run()` or `dispatch()`.
    virtual void didReceiveUpdateWithCollectedData(const JSONDictionary& data) = 0;

    /// Whether Bluetooth is switched on.
    virtual AmbrelPermissionStatus bluetoothSettingStatus() = 0;
    /// Whether this program may look for Bluetooth peripherals. Only granted lets the kit do so.
    virtual AmbrelPermissionStatus bluetoothPermissionStatus() = 0;
    /// Whether location is switched on.
    virtual AmbrelPermissionStatus locationSettingStatus() = 0;
    /// Whether this program may use the location. Only granted lets the kit do so.
    virtual AmbrelPermissionStatus locationPermissionStatus() = 0;
    /// Whether the location may be exact.
    virtual AmbrelPermissionStatus locationPrecisePermissionStatus() = 0;
    /// Whether the network is switched on.
    virtual AmbrelPermissionStatus networkSettingStatus() = 0;
    /// Whether this program may look for services on the local network. Only granted lets the kit
    /// do so.
    virtual AmbrelPermissionStatus networkPermissionStatus() = 0;

protected:
    AmbrelSDKDelegate() : AmbrelSDKDelegate(nullptr) {}

private:
    /// Its symbol bears the version and the settings of the JSON library: a host that is compiled
    /// with others than AmbrelKit does not link.
    explicit AmbrelSDKDelegate(const JSONDictionary* none);
};

} // namespace AmbrelKit

#endif

#ifndef AMBRELKIT_SIMULATED_HOST_HPP
#define AMBRELKIT_SIMULATED_HOST_HPP

#include "AmbrelKit/Platform/Export.hpp"
#include "AmbrelKit/Simulated/Platform.hpp"

#include <AmbrelKit/AmbrelSDK.hpp>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace AmbrelKit::Simulated {

/// The questions of `AmbrelSDKDelegate`, in its order.
enum class StatusQuery : std::size_t {
    bluetoothSetting,          ///< is Bluetooth switched on?
    bluetoothPermission,       ///< may this program look for peripherals?
    locationSetting,           ///< is location switched on?
    locationPermission,        ///< may this program use the location?
    locationPrecisePermission, ///< may the location be exact?
    networkSetting,            ///< is the network switched on?
    networkPermission,         ///< may this program look for services?
};

/// The operations' names, by query.
inline constexpr std::array<std::string_view, 7> statusQueryNames{
    "bluetoothSettingStatus",   "bluetoothPermissionStatus",       "locationSettingStatus",
    "locationPermissionStatus", "locationPrecisePermissionStatus", "networkSettingStatus",
    "networkPermissionStatus"};

/// A host on a simulated platform: it holds one facade at a time and the delegate object, and
/// reports what the delegate is asked and given. It starts with a facade and the delegate attached,
/// every answer being unknown.
class Host {
public:
    /// `bonjourServices` are what each facade browses for. The platform must outlive the host.
    AMBRELKIT_API Host(Platform& platform, std::optional<std::vector<std::string>> bonjourServices);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    AMBRELKIT_API ~Host();

    /// The facade; null when it was released.
    [[nodiscard]] const std::shared_ptr<AmbrelSDK>& sdk() const { return sdk_; }

    /// Lets go of the facade. Where one of its calls is on the stack it lives until that returns,
    /// as the kit promises.
    AMBRELKIT_API void release();

    /// Makes a new facade, with the delegate attached, after letting go of the one before.
    AMBRELKIT_API void create();

    /// Makes the delegate object the facade's delegate; a new one when the last was released.
    AMBRELKIT_API void attachDelegate();

    /// Leaves the facade without a delegate.
    AMBRELKIT_API void detachDelegate();

    /// Frees the delegate object. For the facade it is gone from now on, also while one of the
    /// object's own calls is on the stack.
    AMBRELKIT_API void releaseDelegate();

    /// What the delegate answers from now on.
    AMBRELKIT_API void setStatus(StatusQuery query, AmbrelPermissionStatus status);

    /// What the host does inside `didReceiveUpdateWithCollectedData`. It may do anything, also
    /// throw.
    AMBRELKIT_API void setDeliveryHandler(std::function<void(const JSONDictionary&)> handler);

    /// What the host does inside a status query, before it answers. It may do anything, also throw.
    AMBRELKIT_API void setQueryHandler(std::function<void(StatusQuery)> handler);

private:
    class Delegate;
    struct Answers;

    Platform& platform_;
    std::optional<std::vector<std::string>> bonjourServices_;
    std::shared_ptr<Answers> answers_;
    std::shared_ptr<Delegate> delegate_;
    std::shared_ptr<AmbrelSDK> sdk_;
};

} // namespace AmbrelKit::Simulated

#endif

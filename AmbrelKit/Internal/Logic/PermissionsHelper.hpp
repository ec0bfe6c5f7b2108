#ifndef AMBRELKIT_INTERNAL_LOGIC_PERMISSIONSHELPER_HPP
#define AMBRELKIT_INTERNAL_LOGIC_PERMISSIONSHELPER_HPP

#include <AmbrelKit/AmbrelPermissionStatus.hpp>

#include <memory>

namespace AmbrelKit {

/// Answers the seven status queries; a facade implements it.
class PermissionsHelperDelegate {
public:
    virtual ~PermissionsHelperDelegate() = default;

    virtual AmbrelPermissionStatus bluetoothSettingStatus() = 0;
    virtual AmbrelPermissionStatus bluetoothPermissionStatus() = 0;
    virtual AmbrelPermissionStatus locationSettingStatus() = 0;
    virtual AmbrelPermissionStatus locationPermissionStatus() = 0;
    virtual AmbrelPermissionStatus locationPrecisePermissionStatus() = 0;
    virtual AmbrelPermissionStatus networkSettingStatus() = 0;
    virtual AmbrelPermissionStatus networkPermissionStatus() = 0;
};

/// Where the whole process asks for permissions and settings: the facade that registered last
/// answers. Without one every answer is unknown. Nothing is kept; each query asks again.
class PermissionsHelper {
public:
    PermissionsHelper(const PermissionsHelper&) = delete;
    PermissionsHelper& operator=(const PermissionsHelper&) = delete;
    ~PermissionsHelper() = delete;

    /// The one helper, made on first use and never destroyed.
    static PermissionsHelper& instance();

    /// Registers who answers from now on, without owning it.
    static void setPermissionsDelegate(std::weak_ptr<PermissionsHelperDelegate> delegate);

    static AmbrelPermissionStatus bluetoothPermissionStatus();
    static AmbrelPermissionStatus bluetoothSettingStatus();
    static AmbrelPermissionStatus networkPermissionStatus();
    static AmbrelPermissionStatus networkSettingStatus();
    static AmbrelPermissionStatus locationPermissionStatus();
    static AmbrelPermissionStatus locationPrecisePermissionStatus();
    static AmbrelPermissionStatus locationSettingStatus();

    /// The registered facade, or null.
    [[nodiscard]] std::shared_ptr<PermissionsHelperDelegate> delegate() const {
        return delegate_.lock();
    }

private:
    PermissionsHelper() = default;

    std::weak_ptr<PermissionsHelperDelegate> delegate_;
};

} // namespace AmbrelKit

#endif

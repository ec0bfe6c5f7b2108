#ifndef AMBRELKIT_C_DELEGATE_HPP
#define AMBRELKIT_C_DELEGATE_HPP

#include "AmbrelKit/C/Edge.hpp"

#include <AmbrelKit/AmbrelSDKDelegate.hpp>

namespace AmbrelKit::C {

/// A host's delegate in C.
class Delegate final : public AmbrelSDKDelegate {
public:
    explicit Delegate(const ambrel_delegate& given) : callbacks_(given) { callbacks_.takeOver(); }

    [[nodiscard]] void* context() const { return callbacks_->context; }

    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override;
    AmbrelPermissionStatus bluetoothSettingStatus() override;
    AmbrelPermissionStatus bluetoothPermissionStatus() override;
    AmbrelPermissionStatus locationSettingStatus() override;
    AmbrelPermissionStatus locationPermissionStatus() override;
    AmbrelPermissionStatus locationPrecisePermissionStatus() override;
    AmbrelPermissionStatus networkSettingStatus() override;
    AmbrelPermissionStatus networkPermissionStatus() override;

private:
    [[nodiscard]] AmbrelPermissionStatus ask(int question) const;

    Callbacks<ambrel_delegate> callbacks_;
};

} // namespace AmbrelKit::C

#endif

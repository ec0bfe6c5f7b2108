#include "AmbrelKit/Linux/HostStatus.hpp"
#include "AmbrelKit/C/Observer.hpp"

using namespace AmbrelKit;

struct ambrel_host_status : C::Counted {
    std::shared_ptr<Linux::HostStatus> status;
};

extern "C" {

int ambrel_host_status_new(const ambrel_observer* observer, ambrel_host_status** status,
                           ambrel_error* error) {
    return C::edge(error, [&] {
        auto& result = C::required(status);
        auto handle = std::make_unique<ambrel_host_status>();
        C::observe(observer, [&](std::function<void()> changed) {
            handle->status = Linux::HostStatus::start(std::move(changed));
        });
        result = handle.release();
    });
}

ambrel_host_status* ambrel_host_status_ref(ambrel_host_status* status) {
    return C::reference(status);
}

ambrel_host_status* ambrel_host_status_unref(ambrel_host_status* status) {
    return C::unreference(status);
}

int64_t ambrel_host_status_get(const ambrel_host_status* status, int question) {
    using Get = AmbrelPermissionStatus (Linux::HostStatus::*)() const;
    static constexpr std::array<Get, 7> questions{
        &Linux::HostStatus::bluetoothSettingStatus,
        &Linux::HostStatus::bluetoothPermissionStatus,
        &Linux::HostStatus::locationSettingStatus,
        &Linux::HostStatus::locationPermissionStatus,
        &Linux::HostStatus::locationPrecisePermissionStatus,
        &Linux::HostStatus::networkSettingStatus,
        &Linux::HostStatus::networkPermissionStatus};
    const auto index = static_cast<std::size_t>(question);
    if (status == nullptr || index >= questions.size()) {
        return AMBREL_STATUS_UNKNOWN;
    }
    return static_cast<int64_t>((*status->status.*questions.at(index))());
}
}

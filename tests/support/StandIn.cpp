#include "StandIn.hpp"

StandIn::StandIn(sd_event* loop, const char* name, Manner manner) : manner_(manner) {
    sd_bus_open_system(&bus_);
    sd_bus_add_filter(bus_, nullptr, &called, this);
    sd_bus_request_name(bus_, name, 0);
    sd_bus_attach_event(bus_, loop, 0);
}

StandIn::~StandIn() {
    sd_bus_detach_event(bus_);
    sd_bus_close_unref(bus_);
}

int StandIn::called(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_call(call, nullptr, nullptr) <= 0) {
        return 0;
    }
    ++static_cast<StandIn*>(self)->calls;
    switch (static_cast<StandIn*>(self)->manner_) {
    case Manner::silent:
        break;
    case Manner::refusing:
        sd_bus_reply_method_errorf(call, SD_BUS_ERROR_ACCESS_DENIED, "no");
        break;
    case Manner::answering:
        sd_bus_reply_method_return(call, "s", "answer");
        break;
    }
    return 1;
}

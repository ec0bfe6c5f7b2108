#ifndef AMBREL_TESTS_SUPPORT_STANDIN_HPP
#define AMBREL_TESTS_SUPPORT_STANDIN_HPP

#include <systemd/sd-bus.h>

enum class Manner { silent, refusing, answering };

/// A daemon on the system bus of which only the manner matters: it answers every call alike.
class StandIn {
public:
    StandIn(sd_event* loop, const char* name, Manner manner);
    ~StandIn();
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    int calls = 0;

private:
    static int called(sd_bus_message* call, void* self, sd_bus_error*);

    sd_bus* bus_ = nullptr;
    Manner manner_;
};

#endif

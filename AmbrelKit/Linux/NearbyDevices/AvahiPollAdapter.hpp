#ifndef AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIPOLLADAPTER_HPP
#define AMBRELKIT_LINUX_NEARBYDEVICES_AVAHIPOLLADAPTER_HPP

#include <avahi-common/watch.h>

namespace AmbrelKit::Linux {

class EventLoop;

/// What Avahi's embedded stack waits on, put on `loop`, which must outlive the result and every
/// server that is made with it.
AvahiPoll avahiPollOn(EventLoop& loop);

} // namespace AmbrelKit::Linux

#endif

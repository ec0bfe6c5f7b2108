#ifndef AMBRELKIT_LINUX_THISMACHINE_HPP
#define AMBRELKIT_LINUX_THISMACHINE_HPP

namespace AmbrelKit::Linux {

/// Makes the kit's clock and network queries this machine's own, unless they have been replaced
/// before; the first call in the process does. What a tick is answered stands on the board of the
/// thread's loop.
void answerForThisMachine();

} // namespace AmbrelKit::Linux

#endif

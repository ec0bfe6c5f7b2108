#include "tools/ambrel/Process/StandardStreams.hpp"

#include <fcntl.h>
#include <unistd.h>

namespace Ambrel {

void occupyStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            // Takes the least free number, and can neither be read nor written.
            open("/", O_PATH);
        }
    }
}

} // namespace Ambrel

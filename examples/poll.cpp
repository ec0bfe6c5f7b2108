// With poll(): takes a collection now and whenever a line is entered, until the input ends.
// c++ -std=c++20 poll.cpp -o poll $(pkg-config --cflags --libs ambrelkit)
#include "PrintingHost.hpp"

#include <AmbrelKit/Platform/RunLoop.hpp>

#include <poll.h>
#include <unistd.h>

int main() {
    const auto loop = AmbrelKit::RunLoop::current();
    const auto host = std::make_shared<PrintingHost>([](const auto& /*json*/) {});
    const auto kit = AmbrelKit::AmbrelSDK::create();
    kit->setDelegate(host);
    kit->startScanningOnce();
    pollfd descriptors[] = {{loop->fileDescriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    while (poll(descriptors, 2, -1) > 0) {
        if (descriptors[0].revents != 0) {
            loop->dispatch();
        }
        if (char input[256]; descriptors[1].revents != 0) {
            if (read(STDIN_FILENO, input, sizeof input) <= 0) {
                return 0;
            }
            kit->startScanningOnce();
        }
    }
    return 1;
}

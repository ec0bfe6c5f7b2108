// On an asio context: takes one collection and prints it.
// c++ -std=c++20 asio.cpp -o asio $(pkg-config --cflags --libs ambrelkit)
#include "PrintingHost.hpp"

#include <AmbrelKit/Adapters/Asio.hpp>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

int main() {
    asio::io_context context;
    // For Boost: boost::asio::posix::stream_descriptor.
    const AmbrelKit::Adapters::AsioDriver<asio::posix::stream_descriptor> driver(context);
    const auto host =
        std::make_shared<PrintingHost>([&context](const auto& /*json*/) { context.stop(); });
    const auto kit = AmbrelKit::AmbrelSDK::create();
    kit->setDelegate(host);
    kit->startScanningOnce();
    context.run();
}

// On a GLib main loop: takes one collection and prints it.
// c++ -std=c++20 glib.cpp -o glib $(pkg-config --cflags --libs ambrelkit glib-2.0)
#include "PrintingHost.hpp"

#include <AmbrelKit/Adapters/GLib.hpp>

int main() {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    const AmbrelKit::Adapters::GLibDriver driver;
    const auto host =
        std::make_shared<PrintingHost>([loop](const auto& /*json*/) { g_main_loop_quit(loop); });
    const auto kit = AmbrelKit::AmbrelSDK::create();
    kit->setDelegate(host);
    kit->startScanningOnce();
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
}

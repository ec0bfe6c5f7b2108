// A GTK 4 window that shows what is around as it comes, and how each source fares. It collects by
// itself: when it opens, and again each time its user comes back to it.
// c++ -std=c++20 gtk.cpp -o gtk $(pkg-config --cflags --libs ambrelkit gtk4)
#include "Overheard.hpp"

#include <AmbrelKit/Adapters/GLib.hpp>
#include <AmbrelKit/Linux/HostStatus.hpp>
#include <AmbrelKit/Linux/SourceReports.hpp>
#include <AmbrelKit/Platform/Bundle.hpp>
#include <AmbrelKit/Platform/NotificationCenter.hpp>

#include <array>
#include <csignal>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

using namespace AmbrelKit;

namespace {

/// A titled table of three columns, in a place of the window's grid.
class Table {
public:
    Table(GtkGrid* window, int column, int row, int width) : title_(gtk_label_new(nullptr)) {
        GtkWidget* frame = gtk_frame_new(nullptr);
        gtk_widget_set_vexpand(frame, row == 1);
        gtk_widget_set_hexpand(frame, TRUE);
        gtk_label_set_xalign(GTK_LABEL(title_), 0);
        GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 4);
        gtk_box_append(GTK_BOX(box), title_);
        gtk_box_append(GTK_BOX(box), frame);
        gtk_grid_attach(window, box, column, row, width, 1);
        frame_ = GTK_FRAME(frame);
    }

    using Rows = std::vector<std::array<std::string, 3>>;
    void show(const std::string& title, const Rows& rows) {
        gtk_label_set_text(GTK_LABEL(title_), title.c_str());
        GtkWidget* grid = gtk_grid_new();
        gtk_grid_set_column_spacing(GTK_GRID(grid), 14);
        gtk_grid_set_row_spacing(GTK_GRID(grid), 3);
        for (int row = 0; const auto& cells : rows) {
            for (int column = 0; const auto& cell : cells) {
                GtkWidget* label = gtk_label_new(cell.c_str());
                gtk_label_set_xalign(GTK_LABEL(label), 0);
                gtk_label_set_single_line_mode(GTK_LABEL(label), TRUE);
                gtk_label_set_ellipsize(GTK_LABEL(label),
                                        column == 2 ? PANGO_ELLIPSIZE_END : PANGO_ELLIPSIZE_NONE);
                gtk_widget_set_hexpand(label, column == 2);
                gtk_widget_add_css_class(label, column == 0 ? "name" : "dim-label");
                gtk_grid_attach(GTK_GRID(grid), label, column++, row, 1, 1);
            }
            ++row;
        }
        GtkWidget* scrolled = gtk_scrolled_window_new();
        gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scrolled), TRUE);
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scrolled), grid);
        gtk_frame_set_child(frame_, scrolled);
    }

private:
    GtkWidget* title_;
    GtkFrame* frame_;
};

class Window : public AmbrelSDKDelegate, public Listener {
public:
    explicit Window(GtkApplication* application)
        : window_(GTK_WINDOW(gtk_application_window_new(application))) {
        gtk_window_set_title(window_, "What is around");
        gtk_window_set_default_size(window_, 760, 480);
        gtk_widget_set_name(GTK_WIDGET(grid_), "around");
        gtk_grid_set_row_spacing(grid_, 10);
        gtk_grid_set_column_spacing(grid_, 10);
        gtk_window_set_child(window_, GTK_WIDGET(grid_));
        g_signal_connect(window_, "notify::is-active", G_CALLBACK(+[](GtkWindow* window) {
                             if (gtk_window_is_active(window) != FALSE) {
                                 NotificationCenter::default_()->post(
                                     ApplicationDidBecomeActiveNotification);
                             }
                         }),
                         nullptr);
        gtk_window_present(window_);
    }

    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() override {
        if (soon_ != 0) {
            g_source_remove(soon_);
        }
        g_object_unref(grid_);
    }

    void collect(const std::shared_ptr<AmbrelSDK>& kit) {
        kit_ = kit;
        kit->startScanning();
    }

private:
    // What comes.
    void collectionBegan() override {
        heard_ = {};
        state_ = "Looking around…";
        refresh();
    }
    void heard(const Peripheral& peripheral, int rssi) override {
        heard_.peripherals[peripheral.identifier.text()] = {
            peripheral.name.value_or("without a name"),
            rssi == unknownSignalStrength ? "" : std::to_string(rssi) + " dBm", ""};
        refreshSoon();
    }
    void found(const NetService& service) override {
        heard_.services[{service.name(), service.type()}] = {service.name(), service.type(),
                                                             service.hostName().value_or("")};
        refreshSoon();
    }
    void located(const LocationFix& fix) override {
        std::array<char, 64> place{};
        g_snprintf(place.data(), place.size(), "%.5f°, %.5f°", fix.coordinate.latitude,
                   fix.coordinate.longitude);
        heard_.position = {"Position", place.data(), fix.determinedBy};
        refreshSoon();
    }
    void connected(const std::optional<std::string>& address,
                   const std::vector<Linux::JoinedNetwork>& networks) override {
        heard_.network.clear();
        if (address) {
            heard_.network.push_back({"IPv4 address", *address, ""});
        }
        for (const auto& network : networks) {
            heard_.network.push_back({"Wi-Fi", network.ssid.value_or(""), network.interface});
        }
        refreshSoon();
    }

    void didReceiveUpdateWithCollectedData(const JSONDictionary& data) override {
        std::cout << JSONValue(data).dump() << std::endl;
        state_ = "This was around";
        refresh();
        if (const auto kit = kit_.lock()) {
            kit->completeScanning(); // from here on the machine may go to sleep at once
        }
    }

    // Whether it is switched on, the system shows; what your users have allowed you, you know.
    using Status = AmbrelPermissionStatus;
    Status bluetoothSettingStatus() override { return system_->bluetoothSettingStatus(); }
    Status bluetoothPermissionStatus() override { return Status::granted; }
    Status locationSettingStatus() override { return system_->locationSettingStatus(); }
    Status locationPermissionStatus() override { return Status::granted; }
    Status locationPrecisePermissionStatus() override { return Status::granted; }
    Status networkSettingStatus() override { return system_->networkSettingStatus(); }
    Status networkPermissionStatus() override { return Status::granted; }

    /// Hundreds of reports may come in a second: what they change is shown at once.
    void refreshSoon() {
        if (soon_ == 0) {
            soon_ = g_timeout_add(
                100,
                [](gpointer self) {
                    static_cast<Window*>(self)->soon_ = 0;
                    static_cast<Window*>(self)->refresh();
                    return G_SOURCE_REMOVE;
                },
                this);
        }
    }

    void refresh() {
        const auto rowsOf = [](const auto& heard) {
            Table::Rows rows;
            for (const auto& [key, row] : heard) {
                rows.push_back(row);
            }
            return rows;
        };
        peripherals_.show("Peripherals: " + std::to_string(heard_.peripherals.size()),
                          rowsOf(heard_.peripherals));
        services_.show("Services: " + std::to_string(heard_.services.size()),
                       rowsOf(heard_.services));
        auto place = heard_.network;
        place.insert(place.begin(), heard_.position);
        place_.show(state_, place);
        Table::Rows sources;
        for (const auto& report : reports_->reports()) {
            const auto& condition = report.condition;
            const auto& account = report.collection;
            const std::string count = ", reports: " + std::to_string(account.reports);
            std::array row{std::string(code(report.source)), std::string(code(condition.state)),
                           condition.state == SourceState::listening ? condition.means + count
                                                                     : condition.reason};
            if (condition.state == SourceState::idle &&
                account.outcome != SourceOutcome::notAsked) {
                const auto lacks = shortfall(account);
                row[1] = code(account.outcome);
                row[2] = lacks.empty() ? account.means + count : lacks;
            }
            sources.push_back(row);
        }
        sources_.show("Sources", sources);
    }

    struct Heard {
        std::map<std::string, Table::Rows::value_type> peripherals;
        std::map<std::pair<std::string, std::string>, Table::Rows::value_type> services;
        Table::Rows::value_type position{"Position", "", ""};
        Table::Rows network;
    };

    GtkWindow* window_;
    GtkGrid* grid_ = GTK_GRID(g_object_ref_sink(gtk_grid_new())); // outlasts a closed window
    Table place_{grid_, 0, 0, 2};
    Table peripherals_{grid_, 0, 1, 1};
    Table services_{grid_, 1, 1, 1};
    Table sources_{grid_, 0, 2, 2};
    std::string state_;
    Heard heard_;
    guint soon_ = 0;
    std::shared_ptr<Linux::HostStatus> system_ = Linux::HostStatus::start();
    std::shared_ptr<SourceReports> reports_ = Linux::sourceReports([this] { refresh(); });
    std::weak_ptr<AmbrelSDK> kit_; // which keeps its listener
};

void style() {
    GtkCssProvider* provider = gtk_css_provider_new();
    const char* sheet = "#around, #around grid { margin: 10px; }"
                        "#around box > label { font-weight: bold; }"
                        ".name { font-weight: 500; }";
#if GTK_CHECK_VERSION(4, 12, 0)
    gtk_css_provider_load_from_string(provider, sheet);
#else
    gtk_css_provider_load_from_data(provider, sheet, -1);
#endif
    gtk_style_context_add_provider_for_display(gdk_display_get_default(),
                                               GTK_STYLE_PROVIDER(provider),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

/// A window and what it needs while it is open.
struct Opened {
    std::shared_ptr<Window> window;
    std::shared_ptr<AmbrelSDK> kit;
    std::shared_ptr<void> network;
};

Opened openWindow(GtkApplication* application) {
    style();
    const std::vector<std::string> types{"_ipp._tcp", "_http._tcp", "_airplay._tcp", "_ssh._tcp"};
    Bundle::main().setInfoDictionary(JSONDictionary{{"NSBonjourServices", types}});
    const auto window = std::make_shared<Window>(application);
    auto [kit, network] = Overheard::createKit(window);
    kit->setDelegate(window);
    window->collect(kit);
    return {window, kit, network};
}

} // namespace

int main(int argc, char** argv) {
    GtkApplication* application = gtk_application_new(nullptr, G_APPLICATION_NON_UNIQUE);
    const Adapters::GLibDriver driver;
    Opened opened;
    g_signal_connect(application, "activate", G_CALLBACK(+[](GtkApplication* self, Opened* opened) {
                         *opened = openWindow(self);
                     }),
                     &opened);
    g_unix_signal_add(
        SIGTERM,
        [](gpointer self) -> gboolean {
            g_application_quit(G_APPLICATION(self));
            return G_SOURCE_CONTINUE;
        },
        application);
    const int status = g_application_run(G_APPLICATION(application), argc, argv);
    opened = {};
    g_object_unref(application);
    return status;
}

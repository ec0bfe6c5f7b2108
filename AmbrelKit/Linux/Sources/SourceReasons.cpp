#include "AmbrelKit/Linux/Sources/SourceReasons.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace AmbrelKit::Linux {

namespace {

using enum SourceState;
using enum SourceReason;

/// {0} and {1} stand for what a reason is told.
struct Row {
    SourceReason reason;
    SourceState state;
    std::string_view code; ///< promised: it stays as it is
    std::string_view text;
    std::string_view remedy;
};

constexpr std::array table{
    Row{noBus, unavailable, "no-bus", "the system bus does not run",
        "start the bus (systemctl start dbus), or let this container have "
        "/run/dbus/system_bus_socket"},
    Row{busSilent, unavailable, "bus-silent", "the system bus has not answered",
        "see what the bus does (systemctl status dbus)"},
    Row{busCloses, refused, "bus-refuses",
        "the system bus closes this program's connection, as it does with a user whom it does not "
        "know",
        "run as a lasting user (User= in place of DynamicUser= in the unit)"},
    Row{daemonSilent, unavailable, "daemon-silent", "{0} has not answered",
        "systemctl restart {0}"},
    Row{noDescriptors, unavailable, "no-descriptors", "this program has no file descriptor left",
        "let it have more (LimitNOFILE= of its unit, or ulimit -n)"},

    Row{bluetoothLeftOut, leftOut, "left-out", "Bluetooth is not in this build",
        "build with -DAMBREL_WITH_BLUEZ=ON"},
    Row{blueZNotInstalled, unavailable, "not-installed", "BlueZ is not installed",
        "install BlueZ (Debian: apt install bluez)"},
    Row{blueZNotRunning, unavailable, "no-daemon", "bluetoothd is not running",
        "systemctl enable --now bluetooth, once BlueZ is installed"},
    Row{blueZRefuses, refused, "not-allowed", "this user may not use BlueZ",
        "allow it in /etc/dbus-1/system.d (Debian: adduser USER bluetooth), then log in again"},
    Row{blueZFails, unavailable, "daemon-fails", "BlueZ fails: {0}", "systemctl restart bluetooth"},
    Row{noAdapter, unavailable, "no-adapter", "there is no Bluetooth adapter",
        "plug one in, or let this virtual machine or container have the host's"},
    Row{adapterUnused, unavailable, "adapter-unused",
        "the kernel has a Bluetooth adapter that bluetoothd does not use",
        "systemctl restart bluetooth (journalctl -u bluetooth says why)"},
    Row{discoveryFails, unavailable, "discovery-fails", "BlueZ cannot scan with {0}: {1}",
        "wait ten seconds, then systemctl restart bluetooth"},
    Row{adapterOff, off, "switched-off", "{0} is switched off", "bluetoothctl power on"},
    Row{adapterBlockedBySoftware, off, "blocked", "{0} is blocked by software",
        "rfkill unblock bluetooth"},
    Row{adapterBlockedByHardware, off, "blocked-by-hardware",
        "a switch or key of this device blocks {0}", "turn it on there"},

    Row{servicesLeftOut, leftOut, "left-out", "DNS-SD is not in this build",
        "build with -DAMBREL_WITH_AVAHI=ON"},
    Row{avahiNotRunning, unavailable, "no-daemon", "avahi-daemon is not running",
        "systemctl enable --now avahi-daemon, once it is installed, or choose the embedded mDNS"},
    Row{avahiStopped, unavailable, "no-daemon", "avahi-daemon has stopped",
        "systemctl start avahi-daemon (journalctl -u avahi-daemon says why it stopped)"},
    Row{avahiRefuses, refused, "not-allowed", "avahi-daemon does not serve this program",
        "allow it in /etc/dbus-1/system.d (avahi-dbus.conf, there or in /usr/share/dbus-1, is the "
        "example)"},
    Row{noAvahiLibrary, unavailable, "no-library", "libavahi-core can't be loaded",
        "install it (Debian: libavahi-core7), or use avahi-daemon"},
    Row{avahiCacheFull, listening, "cache-full",
        "there may be more services than the cache of avahi-daemon holds",
        "raise cache-entries-max, 4096 unless set, under [server] in /etc/avahi/avahi-daemon.conf"},
    Row{noNetlinkForServices, refused, "no-netlink",
        "this process may not ask the kernel for its interfaces",
        "let it use AF_NETLINK sockets (RestrictAddressFamilies= of its unit), or use "
        "avahi-daemon"},
    Row{noMulticastInterface, unavailable, "no-interface",
        "no interface is up on which services can be looked for", "connect to a network"},
    Row{mdnsPortTaken, unavailable, "port-taken", "another program has the mDNS port for itself",
        "end it (ss -ulpn sport = 5353 names it), or use avahi-daemon"},

    Row{locationLeftOut, leftOut, "left-out", "neither GeoClue nor gpsd is in this build",
        "build with -DAMBREL_WITH_GEOCLUE=ON or -DAMBREL_WITH_GPSD=ON"},
    Row{geoClueLeftOut, leftOut, "left-out", "GeoClue is not in this build",
        "build with -DAMBREL_WITH_GEOCLUE=ON"},
    Row{gpsdLeftOut, leftOut, "left-out", "gpsd is not in this build",
        "build with -DAMBREL_WITH_GPSD=ON"},
    Row{geoClueNotInstalled, unavailable, "not-installed", "GeoClue is not installed",
        "install GeoClue (Debian: apt install geoclue-2.0)"},
    Row{geoClueCannotStart, unavailable, "no-daemon", "GeoClue cannot be started",
        "systemctl unmask geoclue (journalctl -u geoclue says why)"},
    Row{geoClueStopped, unavailable, "no-daemon", "GeoClue has stopped",
        "see why (journalctl -u geoclue)"},
    Row{geoClueFails, unavailable, "daemon-fails", "GeoClue fails: {0}",
        "systemctl restart geoclue"},
    Row{geoClueForbidden, refused, "not-allowed", "this user may not use GeoClue",
        "allow it in /etc/dbus-1/system.d, then log in again"},
    Row{geoClueRefuses, refused, "not-allowed", "{0}",
        "allow {1} in the desktop's privacy settings or /etc/geoclue/geoclue.conf"},
    Row{geoClueWithoutAgent, unavailable, "no-agent",
        "GeoClue has no agent that could ask the user",
        "log in to a desktop that has one, or run one "
        "(Debian: /usr/libexec/geoclue-2.0/demos/agent of geoclue-2-demo)"},
    Row{geoClueAsks, starting, "user-asked", "GeoClue asks the user",
        "answer its question, and try again"},
    Row{geoClueFindsNothing, unavailable, "no-place", "GeoClue has found no place yet",
        "allow precise location in the desktop's privacy settings, or give GeoClue a source in "
        "/etc/geoclue/geoclue.conf"},
    Row{gpsdAbsent, unavailable, "no-daemon", "nothing answers as gpsd at {0}",
        "run gpsd there, for a receiver of your own (Debian: apt install gpsd)"},
    Row{gpsdWithoutFix, unavailable, "no-fix", "gpsd has no fix yet",
        "see whether its receiver is there and sees the sky (cgps)"},

    Row{noAddress, unavailable, "no-interface",
        "no wireless, wired or cellular interface has an IPv4 address",
        "connect to a network (ip -4 address lists what there is)"},
    Row{addressOfBridge, unavailable, "bridge",
        "the address is that of {0}, a bridge, and those are left out",
        "give it to a port of this machine's instead, or to a VLAN of one"},
    Row{addressOfAccessPoint, unavailable, "access-point",
        "{0} is this machine's own access point, and joins nothing",
        "connect to a network with another interface"},
    Row{addressesNotTold, refused, "no-sockets", "the kernel does not tell the addresses: {0}",
        "let this program use AF_INET sockets (RestrictAddressFamilies= of its unit)"},

    Row{wifiLeftOut, leftOut, "left-out", "Wi-Fi is not in this build",
        "build with -DAMBREL_WITH_WIFI=ON"},
    Row{noWifiAdapter, unavailable, "no-adapter", "there is no Wi-Fi adapter",
        "plug one in, or load its driver (dmesg says when firmware is missing)"},
    Row{wifiBlockedBySoftware, off, "blocked", "{0} is blocked by software", "rfkill unblock wifi"},
    Row{wifiBlockedByHardware, off, "blocked-by-hardware",
        "a switch or key of this device blocks {0}", "turn it on there"},
    Row{noNetlinkLibrary, unavailable, "no-library", "libnl-genl can't be loaded",
        "install it (Debian: libnl-genl-3-200)"},
    Row{noNetlinkForWifi, refused, "no-netlink", "this program may not ask nl80211",
        "let it use AF_NETLINK sockets (RestrictAddressFamilies= of its unit)"},

    Row{noLogind, unavailable, "no-daemon",
        "there is no logind, so suspend and resume go unnoticed",
        "start systemd-logind or elogind"},
    Row{noSession, unavailable, "no-session",
        "this user has no session here, so only resumes are noticed", ""},
    Row{inhibitorRefused, refused, "not-allowed", "logind refuses to delay a suspend for this user",
        "allow org.freedesktop.login1.inhibit-delay-sleep in polkit"},
};

std::string filled(std::string_view text, std::initializer_list<std::string_view> what) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t index = text.substr(i).starts_with("{0}")   ? 0
                                  : text.substr(i).starts_with("{1}") ? 1
                                                                      : what.size();
        if (index < what.size()) {
            result += what.begin()[index];
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

} // namespace

SourceCondition because(SourceReason reason, std::initializer_list<std::string_view> what) {
    const Row& row = *std::ranges::find(table, reason, &Row::reason);
    return {.state = row.state,
            .code = std::string(row.code),
            .reason = filled(row.text, what),
            .remedy = filled(row.remedy, what)};
}

SourceReason reasonFor(int error, SourceReason otherwise) {
    return error == EMFILE || error == ENFILE ? noDescriptors : otherwise;
}

SourceCondition listening(std::string means, SourceReason although,
                          std::initializer_list<std::string_view> what) {
    auto condition = because(although, what);
    condition.state = SourceState::listening;
    condition.means = std::move(means);
    return condition;
}

} // namespace AmbrelKit::Linux

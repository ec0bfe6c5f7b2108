#include "tests/support/PrivateBus.hpp"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

PrivateBus::PrivateBus() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ambrel-bus-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    folder_ = pattern;
    const std::string address = "unix:path=" + (folder_ / "socket").string();
    std::ofstream(folder_ / "conf")
        << "<busconfig><type>system</type><listen>" << address
        << "</listen><auth>EXTERNAL</auth><servicedir>" << folder_.native()
        << "</servicedir><policy context=\"default\"><allow user=\"*\"/>"
           "<allow own=\"*\"/><allow send_destination=\"*\"/><allow send_type=\"method_call\"/>"
           "<allow receive_sender=\"*\"/></policy><include ignore_missing=\"yes\">"
        << (folder_ / "policy").native() << "</include></busconfig>";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    start();
}

PrivateBus::~PrivateBus() {
    stop();
    std::filesystem::remove_all(folder_);
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

void PrivateBus::stop() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        process_ = -1;
    }
    std::filesystem::remove(folder_ / "socket");
}

void PrivateBus::freeze() const { kill(process_, SIGSTOP); }

void PrivateBus::start() {
    int ready[2];
    if (pipe(ready) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string config = "--config-file=" + (folder_ / "conf").string();
    const std::string report = "--print-address=" + std::to_string(ready[1]);
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ready[0]);
        close(STDERR_FILENO);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
               config.c_str(), report.c_str(), nullptr);
        _exit(127);
    }
    close(ready[1]);
    char byte = 0;
    const bool listening = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    if (!listening) {
        throw std::runtime_error("dbus-daemon did not start");
    }
}

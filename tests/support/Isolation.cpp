#include "tests/support/Isolation.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <linux/capability.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int networkAndMounts = CLONE_NEWNET | CLONE_NEWNS;

/// Has programs that this process starts keep its capabilities.
void passCapabilitiesOn() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> sets{};
    syscall(SYS_capget, &header, sets.data());
    for (auto& set : sets) {
        set.inheritable = set.permitted;
    }
    syscall(SYS_capset, &header, sets.data());
    for (unsigned long capability = 0; capability <= CAP_LAST_CAP; ++capability) {
        prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, capability, 0, 0);
    }
}

/// The user stays who they are, so that a bus outside knows them.
bool unshareAsUser() {
    const auto user = geteuid();
    const auto group = getegid();
    if (unshare(CLONE_NEWUSER | networkAndMounts) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
    std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
    passCapabilitiesOn();
    return true;
}

void setLoopbackUp() {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    ioctl(descriptor, SIOCSIFFLAGS, &request);
    close(descriptor);
}

} // namespace

std::string isolate() {
    const auto refusal = [](const char* what) {
        return std::string("the kernel refuses ") + what + ": " + std::strerror(errno);
    };
    if (unshare(networkAndMounts) != 0 && !unshareAsUser()) {
        return refusal("namespaces");
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("sysfs", "/sys", "sysfs", 0, nullptr) != 0) {
        return refusal("mounts");
    }
    setLoopbackUp();
    return {};
}

std::string outputOf(const std::function<void()>& body) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return "no pipe";
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        body();
        std::fflush(nullptr);
        _exit(0);
    }
    close(ends[1]);
    std::string output;
    std::array<char, 4096> text{};
    for (ssize_t length = 0; (length = read(ends[0], text.data(), text.size())) > 0;) {
        output.append(text.data(), static_cast<std::size_t>(length));
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return output;
}

#include "tools/ambrel/Live/TerminalGuard.hpp"

#include "tools/ambrel/Live/Curses.hpp"
#include "tools/ambrel/Process/Environment.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

#include <term.h>

namespace Ambrel {

namespace {

AMBRELKIT_LATE(cursesLibrary, setupterm);

constexpr int terminal = STDIN_FILENO;

/// Null where the terminal has none of that name.
const char* capability(const char* name) {
    const char* text = tigetstr(name);
    return text == reinterpret_cast<const char*>(-1) ? nullptr : text;
}

void checkTerminal() {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        throw CommandError(badInput,
                           "live needs a terminal: standard input and output have to be one");
    }
    int found = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &found) != OK) {
        const std::string name = variable("TERM");
        throw CommandError(failed, name.empty() ? "TERM does not say what terminal this is"
                                                : "nothing is known of the terminal \"" + name +
                                                      "\" that TERM names");
    }
    if (capability("cup") == nullptr) {
        throw CommandError(failed, "the terminal that TERM names can't be drawn on");
    }
}

ScreenFlag& sharedFlag() {
    void* memory = mmap(nullptr, sizeof(ScreenFlag), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "share memory");
    }
    return *new (memory) ScreenFlag(false);
}

class Guard {
public:
    explicit Guard(ScreenFlag& flag) : flag_(flag) {
        std::signal(SIGCHLD, SIG_DFL); // if it is ignored, nobody can wait
        sigemptyset(&signals_);
        for (const int signal :
             {SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGTSTP, SIGTTOU}) {
            sigaddset(&signals_, signal);
        }
        sigprocmask(SIG_BLOCK, &signals_, &before_);
        tcgetattr(terminal, &settings_);
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

    /// Until the child has ended.
    ExitStatus attend(pid_t child) {
        while (true) {
            siginfo_t information{};
            if (sigwaitinfo(&signals_, &information) < 0) {
                continue;
            }
            // What the terminal sends, the child has got as well.
            if (information.si_signo != SIGCHLD && information.si_code <= 0) {
                kill(child, information.si_signo);
            }
            int status = 0;
            if (waitpid(child, &status, WNOHANG | WUNTRACED) != child) {
                continue;
            }
            restore();
            if (WIFEXITED(status)) {
                return static_cast<ExitStatus>(WEXITSTATUS(status));
            }
            if (WIFSIGNALED(status)) {
                const rlimit none{.rlim_cur = 0, .rlim_max = 0};
                setrlimit(RLIMIT_CORE, &none); // the child has left one
                throw EndBySignal(WTERMSIG(status));
            }
            stopBeside(child);
        }
    }

private:
    void restore() {
        const pid_t foreground = tcgetpgrp(terminal);
        if (!flag_.exchange(false) || (foreground >= 0 && foreground != getpgrp())) {
            return; // the child has done so; or the terminal is another program's by now
        }
        sendCapabilities({"rmkx", "sgr0", "cnorm", "rmcup"});
        tcsetattr(terminal, TCSANOW, &settings_);
    }

    /// Until somebody has the program go on, and the child with it. By the signal that stops at
    /// once: one from the terminal, let through here, could be the next.
    static void stopBeside(pid_t child) {
        std::raise(SIGSTOP);
        siginfo_t news{};
        waitid(P_PID, static_cast<id_t>(child), &news,
               WEXITED | WSTOPPED | WCONTINUED | WNOHANG | WNOWAIT);
        if (news.si_pid == 0) { // the child has not been told
            kill(child, SIGCONT);
        }
    }

    ScreenFlag& flag_;
    sigset_t signals_{};
    sigset_t before_{};
    termios settings_{};
};

} // namespace

void sendCapabilities(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (const char* text = capability(name)) {
            putp(text);
        }
    }
    std::fflush(stdout); // what ncurses writes does not go through it
}

ExitStatus guarded(const std::function<ExitStatus(ScreenFlag&)>& show) {
    checkTerminal();
    ScreenFlag& flag = sharedFlag();
    std::optional<Guard> guard(std::in_place, flag);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "start a process");
    }
    if (child > 0) {
        return guard->attend(child);
    }
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) {
        _exit(failed);
    }
    guard.reset();
    return show(flag);
}

} // namespace Ambrel

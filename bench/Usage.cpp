// Runs a program and writes what it used, as one JSON object. Measured from a process as small as
// this one, since a program counts as large as what starts it.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

pid_t child = -1;

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

template <class Clock> double now() {
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

} // namespace

/// Usage REPORT SECONDS PROGRAM [ARGUMENT ...]: ends the program after so many seconds.
int main(int count, char** arguments) {
    if (count < 4) {
        return 2;
    }
    const double begin = now<std::chrono::system_clock>();
    const double start = now<std::chrono::steady_clock>();
    child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execvp(arguments[3], arguments + 3);
        std::perror(arguments[3]);
        _exit(127);
    }
    struct sigaction action {};
    action.sa_handler = [](int) { kill(child, SIGTERM); };
    sigaction(SIGALRM, &action, nullptr);
    alarm(static_cast<unsigned>(std::atoi(arguments[2])));
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    const double end = now<std::chrono::steady_clock>();
    std::FILE* report = std::fopen(arguments[1], "w");
    if (report == nullptr) {
        std::perror(arguments[1]);
        return 2;
    }
    std::fprintf(report,
                 R"({"begin": %.6f, "seconds": %.6f, "cpu": %.6f, "switches": %ld, )"
                 R"("kib": %ld, "faults": %ld, "status": %d})"
                 "\n",
                 begin, end - start, seconds(usage.ru_utime) + seconds(usage.ru_stime),
                 usage.ru_nvcsw + usage.ru_nivcsw, usage.ru_maxrss, usage.ru_minflt, status);
    return std::fclose(report) == 0 ? 0 : 2;
}

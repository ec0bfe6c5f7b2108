// What a start costs: `ambrel --version` beside `avahi-browse --version`, in turns. Fails when the
// kit's takes longer.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr int runs = 500;

/// The median of what was measured.
class Median {
public:
    void add(double value) { values_.push_back(value); }
    [[nodiscard]] double value() {
        std::ranges::nth_element(values_, values_.begin() + middle());
        return values_[static_cast<std::size_t>(middle())];
    }

private:
    [[nodiscard]] std::ptrdiff_t middle() const { return std::ssize(values_) / 2; }

    std::vector<double> values_;
};

class Program {
public:
    explicit Program(std::string path) : path_(std::move(path)) {
        posix_spawn_file_actions_init(&quiet_);
        posix_spawn_file_actions_addopen(&quiet_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    }
    ~Program() { posix_spawn_file_actions_destroy(&quiet_); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void run() {
        const std::array<const char*, 3> arguments{path_.c_str(), "--version", nullptr};
        const auto begin = std::chrono::steady_clock::now();
        pid_t process = -1;
        int status = -1;
        rusage usage{};
        if (posix_spawn(&process, path_.c_str(), &quiet_, nullptr,
                        const_cast<char* const*>(arguments.data()), environ) != 0 ||
            wait4(process, &status, 0, &usage) < 0 || status != 0) {
            std::fprintf(stderr, "%s does not run\n", path_.c_str());
            std::exit(2);
        }
        const std::chrono::duration<double, std::milli> taken =
            std::chrono::steady_clock::now() - begin;
        milliseconds.add(taken.count());
        faults.add(static_cast<double>(usage.ru_minflt));
    }

    /// How many the loader has to find, which lists them instead of running the program.
    [[nodiscard]] int libraries() const {
        const auto command = "LD_TRACE_LOADED_OBJECTS=1 '" + path_ + "'";
        std::FILE* list = popen(command.c_str(), "r");
        int count = 0;
        for (int character = 0; list != nullptr && (character = std::fgetc(list)) != EOF;) {
            count += character == '>' ? 1 : 0; // name => path
        }
        pclose(list);
        return count;
    }

    void print() {
        std::printf("%-25s%9.2f%8.0f%11d\n", path_.substr(path_.rfind('/') + 1).c_str(),
                    milliseconds.value(), faults.value(), libraries());
    }

    Median milliseconds;
    Median faults;

private:
    std::string path_;
    posix_spawn_file_actions_t quiet_{};
};

/// One that does not move from one processor to another is disturbed less.
void stayOnThisProcessor() {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(sched_getcpu(), &set);
    sched_setaffinity(0, sizeof set, &set);
}

} // namespace

/// `ambrel` lies beside this program.
int main(int /*count*/, char** arguments) {
    const std::string self = arguments[0];
    Program kit(self.substr(0, self.rfind('/') + 1) + "ambrel");
    Program peer("/usr/bin/avahi-browse");
    stayOnThisProcessor();
    for (int run = 0; run < runs; ++run) {
        kit.run();
        peer.run();
    }
    std::puts("--version                       ms  faults  libraries");
    kit.print();
    peer.print();
    const double ratio = kit.milliseconds.value() / peer.milliseconds.value();
    std::printf("%-8sstart, of avahi-browse's: %.2f, bound 1\n", ratio <= 1 ? "ok" : "FAILED",
                ratio);
    return ratio <= 1 ? 0 : 1;
}

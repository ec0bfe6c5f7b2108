// random_life SEQUENCES [SEED [c|python COMMAND...]]: random lives of kits against the model. Those
// of a host in C or Python are written to its program line by line, and it writes what its kits
// did.

#include "tests/life/KitHost.hpp"
#include "tests/life/Model.hpp"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

/// The address sanitizer's: whether anything is lost now.
extern "C" [[gnu::weak]] int __lsan_do_recoverable_leak_check(); // NOLINT

using namespace Life;

namespace {

using Perform = std::function<std::string(const Program&)>;

/// Runs the body in a process of its own; whether it came to its end and returned true.
bool succeeds(const std::function<bool()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(body() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// The program without each step that it fails without, too.
Program shrunk(Program program, const std::function<bool(const Program&)>& fails) {
    for (std::size_t i = program.size(); i-- > 0;) {
        Program shorter = program;
        shorter.erase(shorter.begin() + static_cast<std::ptrdiff_t>(i));
        if (fails(shorter)) {
            program = std::move(shorter);
        }
    }
    return program;
}

void explain(const Program& program, const Ability& host, const Perform& perform) {
    for (const Step& step : program) {
        std::cerr << words(step) << "\n";
    }
    const std::string expected = expectedTrace(program, host);
    std::cerr << "must do:\n" << expected << "does:\n" << std::flush;
    std::cerr << perform(program);
}

/// A host in a program of its own, one for each process that asks for it.
class Conversation {
public:
    explicit Conversation(char** command) : command_(command) {}

    std::string operator()(const Program& program) {
        if (process_ != getpid()) {
            begin();
        }
        for (const Step& step : program) {
            std::fputs((words(step) + "\n").c_str(), to_);
        }
        std::fputs("run\n", to_);
        std::fflush(to_);
        std::string trace;
        for (char line[8192]; std::fgets(line, sizeof line, from_) != nullptr;) {
            if (std::strcmp(line, ".\n") == 0) {
                return trace;
            }
            trace += line;
        }
        return trace + "and it has ended\n";
    }

private:
    void begin() {
        int there[2];
        int back[2];
        if (pipe2(there, O_CLOEXEC) != 0 || pipe2(back, O_CLOEXEC) != 0) {
            std::abort();
        }
        if (fork() == 0) {
            dup2(there[0], STDIN_FILENO);
            dup2(back[1], STDOUT_FILENO);
            execvp(*command_, command_);
            _exit(127);
        }
        close(there[0]);
        close(back[1]);
        to_ = fdopen(there[1], "w");
        from_ = fdopen(back[0], "r");
        process_ = getpid();
    }

    char** command_;
    pid_t process_ = 0;
    FILE* to_ = nullptr;
    FILE* from_ = nullptr;
};

int run(std::uint64_t count, std::uint64_t seed, const Ability& host, const Perform& perform) {
    auto* const current = static_cast<std::uint64_t*>(mmap(
        nullptr, sizeof(std::uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const bool good = succeeds([&] {
        for (*current = seed; *current < seed + count; ++*current) {
            const Program program = randomProgram(*current, host);
            if (perform(program) != expectedTrace(program, host)) {
                return false;
            }
        }
        return __lsan_do_recoverable_leak_check == nullptr ||
               __lsan_do_recoverable_leak_check() == 0;
    });
    if (good) {
        return 0;
    }
    std::cerr << "seed " << *current << " fails:\n";
    const auto fails = [&](const Program& program) {
        return !succeeds([&] {
            std::freopen("/dev/null", "w", stderr);
            return perform(program) == expectedTrace(program, host);
        });
    };
    explain(shrunk(randomProgram(*current, host), fails), host, perform);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    std::uint64_t count = 1;
    std::uint64_t seed = std::random_device()();
    const auto number = [&](int index, std::uint64_t& value) {
        return index >= argc ||
               std::from_chars(argv[index], argv[index] + std::strlen(argv[index]), value).ec ==
                   std::errc();
    };
    const std::string_view host = argc > 4 ? argv[3] : "";
    if (argc < 2 || argc == 4 || !number(1, count) || !number(2, seed) ||
        (argc > 4 && host != "c" && host != "python")) {
        std::cerr << "usage: random_life SEQUENCES [SEED [c|python COMMAND...]]\n";
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::cout << count << " lives from seed " << seed << std::endl;
    return host.empty() ? run(count, seed, inCPlusPlus, trace)
                        : run(count, seed, host == "c" ? inC : inPython, Conversation(argv + 4));
}

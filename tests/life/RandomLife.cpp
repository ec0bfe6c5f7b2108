// random_life [--host COMMAND...] SEQUENCES [SEED]: random lives of kits against the model, and
// says how they went. Those of a host in a program of its own, in C or Python, are written to it
// line by line, and it writes what its kits did.

#include "tests/life/KitHost.hpp"
#include "tests/life/Model.hpp"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

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
        return true;
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
    if (argc < 2 || !number(1, count) || !number(2, seed)) {
        std::cerr << "usage: random_life SEQUENCES [SEED]\n";
        return 2;
    }
    std::cout << count << " lives from seed " << seed << std::endl;
    return run(count, seed, inCPlusPlus, trace);
}

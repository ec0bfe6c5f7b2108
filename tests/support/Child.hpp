#ifndef AMBREL_TESTS_SUPPORT_CHILD_HPP
#define AMBREL_TESTS_SUPPORT_CHILD_HPP

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

/// Becomes the program; ends where it cannot.
[[noreturn]] void execute(const std::vector<std::string>& command);

/// A program of this test, killed with it.
class Child {
public:
    explicit Child(const std::vector<std::string>& command,
                   const std::string& output = "/dev/null");
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void signal(int number) const { kill(-pid_, number); }
    [[nodiscard]] bool ended();

    /// Sends the signal, and waits until the program has ended.
    void end(int number = SIGTERM);

private:
    pid_t pid_ = -1;
};

#endif

#include "tests/guest/User.hpp"

#include <sys/wait.h>
#include <unistd.h>

std::string outputAsUser(const char* program, const std::vector<const char*>& options) {
    int ends[2];
    if (pipe(ends) != 0) {
        return "";
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        std::vector<char*> arguments{const_cast<char*>(program)};
        for (const char* option : options) {
            arguments.push_back(const_cast<char*>(option));
        }
        arguments.push_back(nullptr);
        if (setgid(ordinaryUser) == 0 && setuid(ordinaryUser) == 0) {
            execv(program, arguments.data());
        }
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    char text[4096];
    for (ssize_t length = 0; (length = read(ends[0], text, sizeof text)) > 0;) {
        output.append(text, static_cast<std::size_t>(length));
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return output;
}

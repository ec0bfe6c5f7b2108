#include "tests/support/Child.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

void execute(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

Child::Child(const std::vector<std::string>& command, const std::string& output) {
    pid_ = fork();
    if (pid_ == 0) {
        setpgid(0, 0);
        dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDOUT_FILENO);
        dup2(STDOUT_FILENO, STDERR_FILENO);
        execute(command);
    }
}

Child::~Child() { end(SIGKILL); }

void Child::end(int number) {
    if (!ended()) {
        signal(number);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
}

bool Child::ended() {
    if (pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) != 0) {
        pid_ = -1;
    }
    return pid_ < 0;
}

#include "tests/guest/User.hpp"

#include "tests/support/Child.hpp"
#include "tests/support/Isolation.hpp"

#include <unistd.h>

std::string outputAsUser(const std::vector<std::string>& command) {
    return outputOf([&command] {
        if (setgid(ordinaryUser) == 0 && setuid(ordinaryUser) == 0) {
            execute(command);
        }
    });
}

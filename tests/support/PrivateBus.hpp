#ifndef AMBREL_TESTS_SUPPORT_PRIVATEBUS_HPP
#define AMBREL_TESTS_SUPPORT_PRIVATEBUS_HPP

#include <filesystem>
#include <string>
#include <sys/types.h>

/// A bus daemon of the test's own, which this process takes for the system bus.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Ends the daemon, or starts it again at the same address. Both return when it is so.
    void stop();
    void start();

    /// The daemon neither answers nor goes away from here on.
    void freeze() const;

    /// A folder of the test's own. A service file in it lets the daemon start that service; a file
    /// `policy` of bus configuration counts from the next start.
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

private:
    std::filesystem::path folder_;
    pid_t process_ = -1;
};

#endif

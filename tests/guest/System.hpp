#ifndef AMBREL_TESTS_GUEST_SYSTEM_HPP
#define AMBREL_TESTS_GUEST_SYSTEM_HPP

#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

/// Runs it in a shell, and returns what it prints, errors too, without the end of the last line.
/// Success is expected.
std::string shell(const std::string& command);
/// Whether it is one.
bool succeeds(const std::string& command);

/// Whether it comes to hold, however slow the guest is.
bool eventually(const std::function<bool()>& condition);

/// How many delays of sleep logind has granted to `ambrel`.
int sleepDelays();

/// Has the machine sleep for about so many seconds, four at least, by way of logind, and returns
/// when it is awake.
void sleepFor(int seconds);

/// The names of a record's peripherals and services.
std::set<std::string> names(const nlohmann::json& record);
/// Those that are there to be heard, and how many of them have a radio.
const std::set<std::string>& everybody();
constexpr int advertisers = 8;

/// A program that systemd runs as a unit of its own, and ends with this.
class Unit {
public:
    /// Who runs it: a service as an ordinary user, or the login of one at a virtual terminal.
    static const std::string service;
    static std::string login(const std::string& user, int terminal);

    Unit(std::string name, const std::string& kind, const std::string& command);
    ~Unit();
    Unit(const Unit&) = delete;
    Unit& operator=(const Unit&) = delete;

    [[nodiscard]] std::vector<nlohmann::json> delivered() const;
    /// Whether so many records are delivered in time, and no more than these.
    [[nodiscard]] testing::AssertionResult delivers(std::size_t count) const;
    /// Whether it ends in time, and well.
    [[nodiscard]] bool ends() const;

private:
    std::string name_;
};

#endif

#ifndef AMBREL_TESTS_LIFE_PROGRAM_HPP
#define AMBREL_TESTS_LIFE_PROGRAM_HPP

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// A random life of some kits: what their host and their platform do, in which order and inside
/// which callback. It is performed by a host on the simulated platform and by the model.
namespace Life {

inline constexpr int kits = 3;
inline constexpr int delegates = 3;

enum class Op : std::uint8_t {
    // The host's: `who` is the kit.
    startScanning,
    startScanningOnce,
    completeScanning,
    stopScanning,
    automaticMode,
    setThreshold,
    setHistoryLimit, ///< 0: none
    attach,          ///< the delegate `value`; -1: none
    release,
    create, ///< with the delegate `value`
    // The host's: `who` is the delegate.
    drop,
    answer, ///< `value`: 8 times the question, and the status
    permit, ///< the three permissions are `value` from now on
    fail,   ///< in a callback alone
    // The platform's.
    bluetoothState,
    discover, ///< the peripheral `value`, under the name `who`
    found,
    resolved,
    authorization,
    fix,
    interface, ///< 0: none
    clock,     ///< `value`: its offset in milliseconds
    active,
    expire,
    advance, ///< by `value` milliseconds; in no callback
};

struct Step {
    int at = -1; ///< inside which callback, counted from 0; -1: inside none
    Op op = Op::advance;
    int who = 0;
    int value = 0;
};

/// What a host can do.
struct Ability {
    bool makesFactories; ///< and so may do something in them, too
    bool sharesDelegates;
    bool replacesDelegates;
};
inline constexpr Ability inCPlusPlus{true, true, true};
inline constexpr Ability inC{false, false, true};
inline constexpr Ability inPython{false, false, false};

using Program = std::vector<Step>;

Program randomProgram(std::uint64_t seed, const Ability& host);

/// A line of words: where, what, who, which; what the platform does as an event of a replay script.
std::string words(const Step& step);

struct Service {
    const char* type;
    const char* name;
};
inline constexpr Service services[] = {
    {"_a._tcp.", "one"}, {"_a._tcp.", "two"}, {"_b._tcp.", "one"}};

/// What the kit in this place browses for.
std::span<const char* const> serviceTypes(int kit);

std::string peripheral(int number);
inline std::string address(int number) { return "192.0.2." + std::to_string(number); }

} // namespace Life

#endif

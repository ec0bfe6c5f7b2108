#include "tests/life/Program.hpp"

#include <array>
#include <random>

namespace Life {

namespace {

constexpr std::array names{"startScanning",
                           "startScanningOnce",
                           "completeScanning",
                           "stopScanning",
                           "automaticMode",
                           "setThreshold",
                           "setHistoryLimit",
                           "attach",
                           "release",
                           "create",
                           "drop",
                           "answer",
                           "permit",
                           "fail",
                           "advance"};

class Drawing {
public:
    Drawing(std::uint64_t seed, const Ability& host) : random_(seed), host_(host) {}

    Program draw() {
        Program program;
        for (int kit = 0; kit < 1 + below(kits); ++kit) {
            program.push_back({-1, Op::create, kit, below(delegates)});
        }
        for (int steps = 10 + below(30); steps > 0; --steps) {
            program.push_back(below(4) == 0 ? Step{-1, Op::advance, 0, 250 * below(60)} : step(-1));
        }
        const int reach = std::array{10, 60, 400}.at(pick(3));
        for (int reactions = below(8); reactions > 0; --reactions) {
            program.push_back(step(below(reach)));
        }
        // What goes on by itself, and what is left of it.
        program.push_back({-1, Op::advance, 0, 42000});
        for (int kit = 0; kit < kits; ++kit) {
            program.push_back({-1, Op::release, kit, 0});
        }
        program.push_back({-1, Op::active, 0, 0});
        program.push_back({-1, Op::advance, 0, 2000});
        return program;
    }

private:
    int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
    std::size_t pick(int bound) { return static_cast<std::size_t>(below(bound)); }

    Step step(int at) {
        constexpr std::array ops{Op::startScanning,
                                 Op::startScanning,
                                 Op::startScanningOnce,
                                 Op::startScanningOnce,
                                 Op::stopScanning,
                                 Op::stopScanning,
                                 Op::completeScanning,
                                 Op::automaticMode,
                                 Op::setThreshold,
                                 Op::setHistoryLimit,
                                 Op::attach,
                                 Op::release,
                                 Op::create,
                                 Op::drop,
                                 Op::answer,
                                 Op::permit,
                                 Op::permit,
                                 Op::bluetoothState,
                                 Op::discover,
                                 Op::discover,
                                 Op::found,
                                 Op::resolved,
                                 Op::authorization,
                                 Op::fix,
                                 Op::interface,
                                 Op::clock,
                                 Op::active,
                                 Op::active,
                                 Op::expire,
                                 Op::fail,
                                 Op::fail};
        for (;;) {
            const Op op = ops.at(pick(ops.size()));
            const bool possible = op == Op::drop     ? host_.sharesDelegates
                                  : op == Op::attach ? host_.replacesDelegates
                                  : op == Op::fail   ? at >= 0
                                                     : true;
            if (possible) {
                return {at, op, below(kits), value(op)};
            }
        }
    }

    int value(Op op) {
        switch (op) {
        case Op::setThreshold:
            return std::array{0, 0, 5, 15, 30, 31, -1}.at(pick(7));
        case Op::attach:
        case Op::create:
            return below(delegates + 1) - 1;
        case Op::answer:
            return 8 * below(7) + below(4);
        case Op::permit:
            return std::array{1, 1, 2, 0}.at(pick(4));
        case Op::bluetoothState:
            return std::array{5, 5, 4, 3, 2, 1, 0}.at(pick(7));
        case Op::authorization:
            return std::array{4, 3, 2, 1, 0}.at(pick(5));
        case Op::clock:
            return std::array{0, 0, 5000, 12500, 40000, -3500, -20000}.at(pick(7));
        default:
            return below(3);
        }
    }

    std::mt19937_64 random_;
    const Ability& host_;
};

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string event(const Step& step) {
    const std::string value = std::to_string(step.value);
    const auto service = [&] {
        const Service& known = services[step.value];
        return std::string(R"({"type":)") + quoted(known.type) + R"(,"name":)" + quoted(known.name);
    };
    switch (step.op) {
    case Op::bluetoothState:
        return R"({"bluetooth":{"state":)" + value + "}}";
    case Op::discover:
        return R"({"bluetooth":{"discover":{"identifier":)" + quoted(peripheral(step.value)) +
               R"(,"name":)" + (step.who == 0 ? "null" : quoted(std::to_string(step.who))) + "}}}";
    case Op::found:
        return R"({"bonjour":{"found":)" + service() + "}}}";
    case Op::resolved:
        return R"({"bonjour":{"resolved":)" + service() + "}}}";
    case Op::authorization:
        return R"({"location":{"authorization":)" + value + "}}";
    case Op::fix:
        return R"({"location":{"update":[{"latitude":)" + value +
               R"(.5,"longitude":1.5,"timestamp":170000000)" + value + "}]}}";
    case Op::interface:
        return R"({"network":{"interfaces":[)" +
               (step.value == 0
                    ? ""
                    : R"({"name":"en0","address":)" + quoted(address(step.value)) + "}") +
               "]}}";
    case Op::clock:
        return R"({"clock":{"offset":)" + std::to_string(step.value / 1000) +
               (step.value % 1000 != 0 ? ".5}}" : "}}");
    case Op::active:
        return R"({"application":"didBecomeActive"})";
    case Op::expire:
        return R"({"application":{"expire":)" + std::to_string(step.value + 1) + "}}";
    default:
        return {};
    }
}

} // namespace

Program randomProgram(std::uint64_t seed, const Ability& host) {
    return Drawing(seed, host).draw();
}

std::string words(const Step& step) {
    const std::string where = std::to_string(step.at) + " ";
    if (const std::string json = event(step); !json.empty()) {
        return where + "feed " + json;
    }
    const char* const name =
        step.op == Op::advance ? names.back() : names.at(static_cast<std::size_t>(step.op));
    return where + name + " " + std::to_string(step.who) + " " + std::to_string(step.value);
}

std::span<const char* const> serviceTypes(int kit) {
    static constexpr std::array types{"_a._tcp.", "_b._tcp."};
    return std::span(types).first(static_cast<std::size_t>(2 - kit));
}

std::string peripheral(int number) {
    return "C0FFEE00-0000-4000-8000-00000000000" + std::to_string(number);
}

} // namespace Life

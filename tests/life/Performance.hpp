#ifndef AMBREL_TESTS_LIFE_PERFORMANCE_HPP
#define AMBREL_TESTS_LIFE_PERFORMANCE_HPP

#include "tests/life/Program.hpp"

#include <string>
#include <string_view>

namespace Life {

/// What a callback throws that is to fail.
struct Failed {};

/// One life, lived by what derives from this: it performs the steps and notes what the kits do.
class Performance {
public:
    explicit Performance(const Program& program) : program_(program) {}
    Performance(const Performance&) = delete;
    Performance& operator=(const Performance&) = delete;
    virtual ~Performance() = default;

    /// The trace of it, a line for each thing that the kits did.
    std::string run() {
        for (const Step& step : program_) {
            if (step.at < 0) {
                time_ += step.op == Op::advance ? step.value : 0;
                while (fails(step) && step.op == Op::advance) { // time has stood still
                }
            }
        }
        end();
        return std::move(trace_);
    }

protected:
    virtual void perform(const Step& step) = 0;
    virtual void end() {}

    /// Until when time is to be advanced, in milliseconds.
    [[nodiscard]] int time() const { return time_; }

    void note(std::string_view what, std::string_view which = {}) {
        trace_.append(what).append(which).append("\n");
    }

    /// The host is called back, and does what it is to do there.
    void callback(std::string_view what, std::string_view which = {}) {
        note(what, which);
        const int turn = callbacks_++;
        for (const Step& step : program_) {
            if (step.at == turn && step.op == Op::fail) {
                throw Failed();
            }
            if (step.at == turn) {
                perform(step);
            }
        }
    }

private:
    bool fails(const Step& step) {
        try {
            perform(step);
            return false;
        } catch (const Failed&) {
            note("failed");
            return true;
        }
    }

    const Program& program_;
    std::string trace_;
    int time_ = 0;
    int callbacks_ = 0;
};

} // namespace Life

#endif

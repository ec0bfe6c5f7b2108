// A host in C that calls anything in any order, also in its callbacks. The input is its program:
// each call takes its arguments, and each callback what it does, from the next bytes.

#include "fuzz/CProgram.hpp"

#include <ambrelkit-simulated.h>
#include <cerrno>
#include <cstdint>

using namespace Fuzz;

namespace {

constexpr std::int64_t second = 1'000'000'000;

class Host final : public Fuzz::Program {
public:
    using Program::Program;

    void live() {
        while (!program_.empty()) {
            call();
        }
        // What the end calls back does nothing more.
        kits_.letGo();
        reports_.letGo();
        platforms_.letGo();
        require(given_ == destroyed_, "each struct that was taken is destroyed once");
    }

private:
    /// An object, or none.
    template <class Slot> auto* some(const Slot& slots) {
        const unsigned which = next();
        return which == 255 ? nullptr : slots.any(which);
    }

    void call() override {
        using Call = void (Host::*)();
        static constexpr std::array<Call, 16> calls{
            &Host::makePlatform, &Host::makeKit,  &Host::makeReports, &Host::share,
            &Host::release,      &Host::delegate, &Host::operate,     &Host::operate,
            &Host::set,          &Host::feed,     &Host::feed,        &Host::advance,
            &Host::advance,      &Host::look,     &Host::impose,      &Host::keep};
        (this->*calls.at(next() % calls.size()))();
    }

    void makePlatform() {
        static constexpr const char* identifiers[] = {"00000000-0000-4000-8000-00000000000A",
                                                      nullptr};
        static constexpr const char* wrong[] = {"0", nullptr};
        static constexpr std::int64_t starts[] = {0, 1'700'000'000 * second, INT64_MAX - second,
                                                  -5 * second};
        if (!platforms_.isEmpty() || !kits_.isEmpty()) {
            return; // kits on different ones must not run at once
        }
        ambrel_simulated_options given = AMBREL_SIMULATED_OPTIONS_INIT;
        given.start = starts[next() % 4];
        const unsigned list = next();
        given.identifiers = list == 0 ? wrong : list % 2 == 0 ? identifiers : nullptr;
        Sized<ambrel_simulated_options> options(given);
        options.setSize(next());
        ambrel_simulated* platform = nullptr;
        tell([&](ambrel_error* error) {
            return ambrel_simulated_new(options.get(), &platform, error);
        });
        platforms_.put(next(), platform);
    }

    void makeKit() {
        static constexpr const char* types[] = {"_ipp._tcp.", "\xff", nullptr};
        const unsigned where = next();
        if (where > 240) { // one of this machine, which is not started
            return makeRealKit();
        }
        ambrel_simulated* platform = some(platforms_);
        ambrel_kit* kit = nullptr;
        tell([&](ambrel_error* error) {
            return ambrel_simulated_kit_new(platform, where % 2 == 0 ? types : nullptr, &kit,
                                            error);
        });
        kits_.put(where, kit);
    }

    void makeRealKit() {
        ambrel_kit_options given = AMBREL_KIT_OPTIONS_INIT;
        given.gpsd_address = next() % 2 == 0 ? "::1" : "no address";
        given.location_source = static_cast<std::int32_t>(next()) - 1;
        given.location_accuracy = static_cast<std::int32_t>(next());
        given.mdns = static_cast<std::int32_t>(next() % 4);
        given.flags = static_cast<std::int32_t>(next() % 3);
        Sized<ambrel_kit_options> options(given);
        options.setSize(next());
        ambrel_kit* kit = nullptr;
        const int result =
            tell([&](ambrel_error* error) { return ambrel_kit_new(options.get(), &kit, error); });
        require((result == 0) == (kit != nullptr), "a kit or none");
        ambrel_kit_unref(kit);
    }

    void makeReports() {
        const unsigned where = next();
        Sized<ambrel_observer> observer(
            {sizeof(ambrel_observer), this, destroy, next() % 8 == 0 ? nullptr : changed});
        observer.setSize(next());
        ambrel_simulated* platform = some(platforms_);
        ambrel_source_reports* reports = nullptr;
        const bool observed = where % 2 == 0;
        const int result = tell([&](ambrel_error* error) {
            return ambrel_simulated_source_reports_new(
                platform, observed ? observer.get() : nullptr, &reports, error);
        });
        given_ += observed && result == 0 && observer.hasDestroy() ? 1 : 0;
        reports_.put(where, reports);
    }

    void share() {
        const unsigned from = next();
        switch (next() % 3) {
        case 0:
            return platforms_.copy(from, next());
        case 1:
            return kits_.copy(from, next());
        default:
            return reports_.copy(from, next());
        }
    }

    void release() {
        switch (next() % 3) {
        case 0:
            return platforms_.put(next(), nullptr);
        case 1:
            return kits_.put(next(), nullptr);
        default:
            return reports_.put(next(), nullptr);
        }
    }

    void delegate() {
        ambrel_kit* kit = some(kits_);
        if (next() % 8 == 0) {
            tell([&](ambrel_error* error) { return ambrel_kit_set_delegate(kit, nullptr, error); });
            return;
        }
        Sized<ambrel_delegate> given({sizeof(ambrel_delegate), this, destroy,
                                      next() % 8 == 0 ? nullptr : receive,
                                      next() % 8 == 0 ? nullptr : answer});
        given.setSize(next());
        const bool counts = given.hasDestroy();
        // Noted before: what goes for it may call back, and let go of this one.
        given_ += counts ? 1 : 0;
        const int result = tell(
            [&](ambrel_error* error) { return ambrel_kit_set_delegate(kit, given.get(), error); });
        given_ -= counts && result < 0 ? 1 : 0;
    }

    void operate() {
        static constexpr std::array operations{
            ambrel_kit_start_scanning, ambrel_kit_start_scanning_once, ambrel_kit_complete_scanning,
            ambrel_kit_stop_scanning,
            ambrel_kit_automatic_mode_for_notification_and_background_task};
        const auto operation = operations.at(next() % operations.size());
        ambrel_kit* kit = some(kits_);
        const int result = tell([&](ambrel_error* error) { return operation(kit, error); });
        require(result == 0 || result == refusal || result == -EBADMSG ||
                    (result == -EINVAL && kit == nullptr),
                "an operation succeeds, or its callback fails");
    }

    void set() {
        ambrel_kit* kit = some(kits_);
        const auto value = static_cast<std::int64_t>(next()) - 4;
        if (next() % 2 == 0) {
            const int result = tell([&](ambrel_error* error) {
                return ambrel_kit_set_time_threshold(kit, value, error);
            });
            require(kit == nullptr || (result == 0) == (value >= 0 && value <= 30), "0 to 30");
        } else {
            const auto limit = static_cast<std::size_t>(value % 4);
            tell([&](ambrel_error* error) {
                return ambrel_kit_set_history_limit(kit, limit, error);
            });
            require(ambrel_kit_history_limit(kit) == (kit == nullptr ? 0 : limit), "the limit");
        }
    }

    void feed() {
        ambrel_simulated* platform = some(platforms_);
        const unsigned which = next();
        std::string text = events.at(which % events.size());
        if (which > 240) { // one of the program's own
            text = program_.substr(0, next());
            program_.remove_prefix(text.size());
        }
        tell([&](ambrel_error* error) {
            return ambrel_simulated_feed(platform, text.data(), text.size(), error);
        });
    }

    void advance() {
        constexpr unsigned longest = 250; // a collection may tick on while the clock is set back
        ambrel_simulated* platform = some(platforms_);
        const unsigned choice = next();
        const std::int64_t duration = choice < longest    ? choice * second / 10
                                      : choice == longest ? -1
                                                          : std::int64_t{choice} * second;
        tell([&](ambrel_error* error) {
            return ambrel_simulated_advance(platform, duration, error);
        });
    }

    void look() {
        ambrel_source_reports* reports = some(reports_);
        const int source = static_cast<int>(next() % 9) - 1;
        (void)ambrel_source_reports_state(reports, source);
        (void)ambrel_source_reports_outcome(reports, source);
        char* text = nullptr;
        std::size_t length = 0;
        if (tell([&](ambrel_error* error) {
                return ambrel_source_reports_json(reports, &text, &length, error);
            }) == 0) {
            require(std::strlen(text) == length && Fuzz::dictionaryOf(text), "reports are JSON");
        }
        ambrel_free(std::exchange(text, nullptr));
        if (tell([&](ambrel_error* error) {
                return ambrel_source_reports_shortfall(reports, source, &text, error);
            }) == 0) {
            Fuzz::requireOneLine(text);
        }
        ambrel_free(text);
        (void)ambrel_simulated_now(some(platforms_));
        (void)ambrel_kit_delegate_context(some(kits_));
        tell([](ambrel_error* error) { return ambrel_loop_fd(error); });
    }

    void impose() {
        ambrel_simulated* platform = some(platforms_);
        const unsigned which = next();
        if (which % 8 == 7) {
            return trace(platform);
        }
        const std::string reason(program_.substr(0, next() % 8));
        ambrel_source_condition given = AMBREL_SOURCE_CONDITION_INIT;
        given.reason = reason.c_str();
        given.state = static_cast<std::int32_t>(next() % 9) - 1;
        Sized<ambrel_source_condition> condition(given);
        condition.setSize(next());
        tell([&](ambrel_error* error) {
            return ambrel_simulated_impose(platform, static_cast<int>(which % 8),
                                           which > 200 ? nullptr : condition.get(), error);
        });
    }

    void trace(ambrel_simulated* platform) {
        const ambrel_trace given{sizeof(ambrel_trace), this, destroyTrace, line};
        const bool isNone = next() % 4 == 0;
        const int result = tell([&](ambrel_error* error) {
            return ambrel_simulated_set_trace(platform, isNone ? nullptr : &given, error);
        });
        given_ += !isNone && result == 0 ? 1 : 0;
    }

    void keep() {
        const unsigned which = next();
        const std::string text = collections.at(which % collections.size());
        const auto store = which < 160 ? ambrel_store_save : ambrel_store_delete;
        if (which < 200) {
            tell([&](ambrel_error* error) { return store(text.data(), text.size(), error); });
            return;
        }
        ambrel_store_visitor given = AMBREL_STORE_VISITOR_INIT;
        given.context = this;
        given.visit = visit;
        given.skipped = skipped;
        Sized<ambrel_store_visitor> visitor(given);
        visitor.setSize(next());
        tell([&](ambrel_error* error) {
            return which % 2 == 0 ? ambrel_store_for_each(visitor.get(), error)
                                  : ambrel_store_for_each_between(1, 2, visitor.get(), error);
        });
    }

    Slots<ambrel_simulated, ambrel_simulated_ref, ambrel_simulated_unref> platforms_;
    Slots<ambrel_kit, ambrel_kit_ref, ambrel_kit_unref> kits_;
    Slots<ambrel_source_reports, ambrel_source_reports_ref, ambrel_source_reports_unref> reports_;
};

} // namespace

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Scratch folder("AMBREL_DOCUMENTS_DIR");
    std::filesystem::remove_all(folder.path);
    constexpr std::size_t longest = 4096; // longer programs do the same again
    Host(Fuzz::textOf(data, std::min(size, longest))).live();
    return 0;
}

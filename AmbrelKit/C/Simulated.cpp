#include "AmbrelKit/C/Kit.hpp"
#include "AmbrelKit/C/ReportsHandle.hpp"
#include "AmbrelKit/C/Trace.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"
#include "AmbrelKit/Simulated/Platform.hpp"
#include "AmbrelKit/Simulated/Replay/LineGrammar.hpp"
#include "AmbrelKit/Simulated/Replay/ScriptRunner.hpp"
#include "AmbrelKit/Simulated/Replay/Seconds.hpp"
#include "AmbrelKit/Simulated/Replay/TraceWriter.hpp"

using namespace AmbrelKit;
using std::chrono::nanoseconds;

/// A platform that a callback may give back while it is at work.
struct ambrel_simulated : C::Counted {
    explicit ambrel_simulated(Simulated::PlatformSettings settings)
        : platform(std::make_shared<Simulated::Platform>(std::move(settings))) {}

    std::shared_ptr<Simulated::Platform> platform;
};

namespace {

Simulated::PlatformSettings settingsOf(const ambrel_simulated_options& options) {
    Simulated::PlatformSettings settings;
    settings.start = nanoseconds(options.start);
    if (options.identifiers != nullptr) {
        for (const std::string& text : C::listOf(options.identifiers)) {
            const auto identifier = UUID::parse(text);
            C::require(identifier.has_value(), "an identifier is no UUID");
            settings.identifiers.push_back(*identifier);
        }
    }
    return settings;
}

/// The kit's points in time hold 64 bits.
void checkWallClock(const Simulated::Context& context, std::optional<nanoseconds> now,
                    nanoseconds offset) {
    const auto time = now ? Simulated::sum(context.start, *now) : std::nullopt;
    if (!time || !Simulated::sum(*time, offset)) {
        throw std::system_error(ERANGE, std::generic_category(), "the time is out of range");
    }
}

Simulated::ScriptAction actionOf(const char* json, size_t length) {
    try {
        Simulated::LineParser parser;
        return Simulated::actionOf(parser.parse({&C::required(json), length}));
    } catch (const Simulated::LineError& wrong) {
        throw C::scriptFailure(1, wrong.what());
    }
}

SourceCondition conditionOf(const ambrel_source_condition& given) {
    const auto textOf = [](const char* text) {
        return text != nullptr ? repairedUTF8(text) : std::string();
    };
    C::require(given.state >= AMBREL_SOURCE_IDLE && given.state <= AMBREL_SOURCE_LEFT_OUT,
               "an unknown state");
    C::require(given.reserved == 0, "a reserved member is not 0");
    return {.state = static_cast<SourceState>(given.state),
            .means = textOf(given.means),
            .code = textOf(given.code),
            .reason = textOf(given.reason),
            .remedy = textOf(given.remedy)};
}

} // namespace

extern "C" {

int ambrel_simulated_new(const ambrel_simulated_options* options, ambrel_simulated** platform,
                         ambrel_error* error) {
    return C::edge(error, [&] {
        auto& result = C::required(platform);
        const auto chosen = options != nullptr ? C::known(*options) : ambrel_simulated_options{};
        result = new ambrel_simulated(settingsOf(chosen));
    });
}

ambrel_simulated* ambrel_simulated_ref(ambrel_simulated* platform) {
    return C::reference(platform);
}

ambrel_simulated* ambrel_simulated_unref(ambrel_simulated* platform) {
    return C::unreference(platform);
}

int ambrel_simulated_kit_new(ambrel_simulated* platform, const char* const* service_types,
                             ambrel_kit** kit, ambrel_error* error) {
    return C::edge(error, [&] {
        auto& result = C::required(kit);
        std::optional<std::vector<std::string>> types;
        if (service_types != nullptr) {
            types = C::listOf(service_types);
        }
        result = new ambrel_kit(C::required(platform).platform->createSDK(std::move(types)));
    });
}

int ambrel_simulated_feed(ambrel_simulated* platform, const char* json, size_t length,
                          ambrel_error* error) {
    return C::edge(error, [&] {
        const auto simulated = C::required(platform).platform;
        const auto action = actionOf(json, length);
        if (const auto* clock = std::get_if<Simulated::ScriptActions::Clock>(&action)) {
            checkWallClock(*simulated->context(), simulated->clock().now(), clock->offset);
        }
        if (!Simulated::happen(*simulated, action)) {
            throw C::scriptFailure(1, "what the host does is up to the caller");
        }
    });
}

int ambrel_simulated_advance(ambrel_simulated* platform, int64_t duration, ambrel_error* error) {
    return C::edge(error, [&] {
        const auto simulated = C::required(platform).platform;
        C::require(duration >= 0, "time does not go back");
        const auto time = Simulated::sum(simulated->clock().now(), nanoseconds(duration));
        checkWallClock(*simulated->context(), time, simulated->context()->offset);
        simulated->clock().advanceTo(*time);
    });
}

int64_t ambrel_simulated_now(const ambrel_simulated* platform) {
    return platform != nullptr ? platform->platform->clock().now().count() : 0;
}

int ambrel_simulated_source_reports_new(ambrel_simulated* platform, const ambrel_observer* observer,
                                        ambrel_source_reports** reports, ambrel_error* error) {
    return C::makeReports(observer, reports, error, [&](const std::function<void()>& changed) {
        return C::required(platform).platform->sourceReports(changed);
    });
}

int ambrel_simulated_impose(ambrel_simulated* platform, int source,
                            const ambrel_source_condition* condition, ambrel_error* error) {
    return C::edge(error, [&] {
        C::require(source >= 0 && source < AMBREL_SOURCE_COUNT, "an unknown source");
        const auto chosen =
            condition != nullptr ? conditionOf(C::known(*condition)) : SourceCondition();
        C::required(platform).platform->sources().impose(static_cast<Source>(source), chosen);
    });
}

int ambrel_simulated_set_trace(ambrel_simulated* platform, const ambrel_trace* trace,
                               ambrel_error* error) {
    return C::edge(error, [&] {
        const auto simulated = C::required(platform).platform;
        if (trace == nullptr) {
            return simulated->setSink({});
        }
        const auto callbacks = std::make_shared<C::TraceCallbacks>(*trace);
        simulated->setSink([writer = std::make_shared<Simulated::TraceWriter>(
                                Simulated::TraceOptions{}, C::printTo(callbacks))](
                               const Simulated::Event& event) { writer->write(event); });
        callbacks->takeOver();
    });
}
}

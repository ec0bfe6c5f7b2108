#ifndef AMBREL_FUZZ_CPROGRAM_HPP
#define AMBREL_FUZZ_CPROGRAM_HPP

#include "fuzz/Properties.hpp"

#include <algorithm>
#include <ambrelkit-simulated.h>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace Fuzz {

constexpr int refusal = -1234; // of a callback

// What programs choose from.

constexpr std::array events{
    R"({"bluetooth":{"state":5}})",
    R"({"bluetooth":{"state":4}})",
    R"({"bluetooth":{"discover":{"identifier":"C0FFEE00-0000-4000-8000-000000000001","name":"L"}}})",
    R"({"bonjour":{"found":{"type":"_ipp._tcp.","name":"P"}}})",
    R"({"bonjour":{"resolved":{"type":"_ipp._tcp.","name":"P","addresses":["10020277c00002090000000000000000"],"txt":"03613d62"}}})",
    R"({"location":{"authorization":4}})",
    R"({"location":{"update":[{"latitude":60.5,"longitude":"nan","timestamp":7}]}})",
    R"({"location":{"update":[{"latitude":60.5,"longitude":24.5,"timestamp":7}]}})",
    R"({"location":{"fail":"no signal"}})",
    R"({"network":{"interfaces":[{"name":"en0","address":"192.0.2.9"}]}})",
    R"({"network":{"captive":{"supported":["en0"],"info":{"en0":{"SSID":"H"}}}}})",
    R"({"clock":{"offset":-20}})",
    R"({"application":"didBecomeActive"})",
    R"({"application":{"expire":1}})",
    R"({"host":"startScanning"})",
    R"([)",
};

constexpr std::array collections{R"({"timestamp":1})",
                                 R"({"timestamp":2.5,"bleScan":[]})",
                                 R"({"timestamp":null})",
                                 R"({"timestamp":1,"ip":"x"})",
                                 "{",
                                 ""};

/// One object and the references to it that the host holds.
template <class Object, Object* (*ref)(Object*), Object* (*unref)(Object*)> class Slots {
public:
    Object* any(unsigned which) const { return held_.at(which % held_.size()); }

    void put(unsigned where, Object* object) {
        // Out of the slot first: to let go of it may call back.
        unref(std::exchange(held_.at(where % held_.size()), object));
    }
    void copy(unsigned from, unsigned to) { put(to, ref(any(from))); }
    void letGo() {
        for (unsigned i = 0; i < held_.size(); ++i) {
            put(i, nullptr);
        }
    }
    [[nodiscard]] bool isEmpty() const {
        return std::all_of(held_.begin(), held_.end(), [](auto* each) { return each == nullptr; });
    }

private:
    std::array<Object*, 3> held_{};
};

/// A struct of the interface as somebody may have filled it, of any size.
template <class Struct> struct Sized {
    explicit Sized(const Struct& contents) {
        std::memcpy(bytes.data(), &contents, sizeof contents);
    }

    void setSize(unsigned choice) {
        const std::array<std::size_t, 6> sizes{
            sizeof(Struct), sizeof(Struct) + 8, 0, 12, sizeof(Struct) - 8, 5000};
        const std::size_t size = choice < 250 ? sizes[0] : sizes.at(choice - 250);
        std::memcpy(bytes.data(), &size, sizeof size);
        bytes.at(sizeof(Struct)) = choice == 255 ? std::byte{1} : std::byte{0};
    }
    /// One that is shorter ends before it.
    [[nodiscard]] bool hasDestroy() const {
        return get()->size >= offsetof(Struct, destroy) + sizeof get()->destroy;
    }
    const Struct* get() const { return reinterpret_cast<const Struct*>(bytes.data()); }

    alignas(Struct) std::array<std::byte, 8192> bytes{};
};

/// What a host does, byte by byte, and what its callbacks do of it.
class Program {
public:
    explicit Program(std::string_view bytes) : program_(bytes) {}
    virtual ~Program() = default;

protected:
    /// Does the next thing.
    virtual void call() = 0;

    unsigned next() {
        const unsigned byte = program_.empty() ? 0 : static_cast<unsigned char>(program_.front());
        program_.remove_prefix(program_.empty() ? 0 : 1);
        return byte;
    }

    /// Calls a function with an error, or without, that it has to fill.
    template <class Function> int tell(Function function) {
        ambrel_error error = AMBREL_ERROR_INIT;
        const bool wanted = next() % 2 == 0;
        const int result = function(wanted ? &error : nullptr);
        if (wanted) {
            require((result < 0) == (error.domain != nullptr), "a failure is told");
            if (result < 0) {
                Fuzz::requireOneLine(error.description);
                require(*error.description != '\0', "it says why");
            }
        }
        ambrel_error_free(&error);
        return result;
    }

    // What the host is called back with. Each may do what the host may.

    int act() {
        constexpr int deepest = 4;
        const unsigned what = next();
        if (depth_ < deepest && what >= 128) {
            ++depth_;
            call();
            --depth_;
        }
        return what % 16 == 7 ? refusal : 0;
    }

    static int receive(void* context, const char* json, std::size_t length) {
        require(std::strlen(json) == length, "the length is right");
        const std::string before = json;
        require(Fuzz::dictionaryOf(before).has_value(), "it is a dictionary", before);
        const int result = static_cast<Program*>(context)->act();
        require(before == json, "it is valid until this returns");
        return result;
    }
    static int answer(void* context, int question, std::int64_t* status) {
        require(question >= 0 && question <= AMBREL_NETWORK_PERMISSION && *status == 0, "asked");
        Program& host = *static_cast<Program*>(context);
        const unsigned choice = host.next();
        *status = choice < 224 ? AMBREL_STATUS_GRANTED : choice % 4;
        return host.act();
    }
    static int changed(void* context) { return static_cast<Program*>(context)->act(); }
    static void destroy(void* context) {
        Program& host = *static_cast<Program*>(context);
        ++host.destroyed_;
        host.act();
    }
    static void destroyTrace(void* context) { ++static_cast<Program*>(context)->destroyed_; }
    static void line(void* /*context*/, const char* text, std::size_t length) {
        const std::string_view line(text, length);
        require(line.ends_with('\n') && Fuzz::dictionaryOf(line), "a line of the trace", line);
    }
    static int visit(void* context, const char* json, std::size_t length) {
        const int result = receive(context, json, length);
        return result == 0 && static_cast<Program*>(context)->next() == 1 ? 3 : result;
    }
    static void skipped(void* /*context*/, const char* line) { Fuzz::requireOneLine(line); }

    std::string_view program_; ///< what is left of it
    int given_ = 0;            ///< structs that have to be destroyed
    int destroyed_ = 0;

private:
    int depth_ = 0;
};

} // namespace Fuzz

#endif

#ifndef AMBREL_FUZZ_SUPPORT_FUZZEDBUS_HPP
#define AMBREL_FUZZ_SUPPORT_FUZZEDBUS_HPP

#include "AmbrelKit/Linux/RunLoop/EventLoop.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"
#include "fuzz/support/BusValues.hpp"

#include <deque>
#include <memory>
#include <set>

/// A system bus inside this process, with one daemon on it, that says what an input has it say: as
/// bytes, over the connection that the kit opens. Everything is well-formed, as behind a bus;
/// nothing else of it can be counted on.
class FuzzedBus {
public:
    /// What the input may name by one byte, beside any text: paths, interfaces, members, types.
    explicit FuzzedBus(std::vector<std::string> words);
    ~FuzzedBus() = default;
    FuzzedBus(const FuzzedBus&) = delete;
    FuzzedBus& operator=(const FuzzedBus&) = delete;

    /// Before anything of the kit is made.
    void begin();

    /// Has the bus do what the input says, step by step, the loop after each:
    ///
    /// - the oldest question is answered: the types (a text), the values
    /// - or by an error: its name, what it says
    /// - a signal: path, interface, member, types, values
    /// - the daemon goes, and comes as another; the input says whether it is there
    /// - time passes: as many milliseconds as the square of a byte
    /// - every connection is lost
    void play(Bytes input);

    /// After all of it is gone: drops the connections, and checks that no descriptor is left open.
    void end();

private:
    struct Question {
        int connection;
        std::uint32_t serial;
    };
    struct Connection {
        AmbrelKit::Descriptor socket;
        std::string received;
        std::uint32_t serial = 1;
    };

    void settle();
    void step(Bytes& input);
    void accept();
    [[nodiscard]] bool read(Connection& connection);
    void take(Connection& connection, std::string_view message);
    void answer(Connection& connection, std::uint32_t serial, std::string_view types,
                const BusValues& values);
    void answerByError(Connection& connection, std::uint32_t serial, std::string_view name,
                       const BusValues& text);
    void answerOldest(bool byError, Bytes& input);
    void signal(Bytes& input);
    void changeOwner(bool isThere);
    void send(Connection& connection, std::uint8_t type, BusValues fields, const BusValues& body);
    [[nodiscard]] Connection* find(int socket);
    [[nodiscard]] std::string owner() const;

    std::vector<std::string> words_;
    std::shared_ptr<AmbrelKit::Linux::EventLoop> loop_;
    AmbrelKit::Descriptor listener_;
    int lowestFree_ = -1; ///< descriptor, when this execution began
    bool isFirst_ = true; ///< execution, which opens what is kept for all
    std::vector<std::unique_ptr<Connection>> connections_;
    std::deque<Question> questions_;
    std::set<std::string> names_; ///< the daemon's, by which it was asked for
    int life_ = 1;                ///< 0: it is not there
    int lastLife_ = 1;
};

#endif

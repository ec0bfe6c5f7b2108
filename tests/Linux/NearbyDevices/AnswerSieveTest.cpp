#include "AmbrelKit/Linux/NearbyDevices/AnswerSieve.hpp"
#include "AmbrelKit/Linux/NearbyDevices/PacedBrowse.hpp"
#include "AmbrelKit/Platform/Descriptor.hpp"
#include "tests/support/Isolation.hpp"
#include "tests/support/LoopDriver.hpp"

#include <arpa/inet.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/socket.h>

namespace {

using namespace AmbrelKit;
using namespace AmbrelKit::Linux;
using namespace std::string_literals;

constexpr int yes = 1;

/// A member of the mDNS group of a family on one link, which hears what it sends.
struct Member {
    Member(int family, int link) : socket(::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        const int descriptor = socket.get();
        setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        if (family == AF_INET) {
            auto& ipv4 = reinterpret_cast<sockaddr_in&>(group);
            ipv4.sin_port = htons(5353);
            inet_pton(AF_INET, "224.0.0.251", &ipv4.sin_addr);
            const ip_mreqn place{ipv4.sin_addr, {}, link};
            setsockopt(descriptor, IPPROTO_IP, IP_ADD_MEMBERSHIP, &place, sizeof place);
            setsockopt(descriptor, IPPROTO_IP, IP_MULTICAST_IF, &place, sizeof place);
            setsockopt(descriptor, IPPROTO_IP, IP_PKTINFO, &yes, sizeof yes);
        } else {
            auto& ipv6 = reinterpret_cast<sockaddr_in6&>(group);
            ipv6.sin6_port = htons(5353);
            ipv6.sin6_scope_id = static_cast<unsigned>(link);
            inet_pton(AF_INET6, "ff02::fb", &ipv6.sin6_addr);
            const ipv6_mreq place{ipv6.sin6_addr, ipv6.sin6_scope_id};
            setsockopt(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, &yes, sizeof yes);
            setsockopt(descriptor, IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP, &place, sizeof place);
            setsockopt(descriptor, IPPROTO_IPV6, IPV6_MULTICAST_IF, &link, sizeof link);
            setsockopt(descriptor, IPPROTO_IPV6, IPV6_RECVPKTINFO, &yes, sizeof yes);
        }
        group.ss_family = static_cast<sa_family_t>(family);
        EXPECT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&group), sizeof group), 0);
    }

    void send(const std::string& message) const {
        EXPECT_EQ(sendto(socket.get(), message.data(), message.size(), 0,
                         reinterpret_cast<const sockaddr*>(&group), sizeof group),
                  message.size());
    }

    [[nodiscard]] bool holdsSomething() const {
        char byte = 0;
        return recv(socket.get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0;
    }

    sockaddr_storage group{};
    Descriptor socket;
};

std::string twoBytes(std::size_t number) {
    return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

std::string answer(const std::vector<std::string>& records, std::size_t flags = 0x8400) {
    std::string message = twoBytes(0) + twoBytes(flags) + twoBytes(0) + twoBytes(records.size()) +
                          twoBytes(0) + twoBytes(0);
    for (const auto& record : records) {
        message += record;
    }
    return message;
}

std::string record(const std::string& type, const std::string& data, char lifetime = 120) {
    return "\4host\5local\0"s + type + twoBytes(0) + twoBytes(static_cast<std::size_t>(lifetime)) +
           twoBytes(data.size()) + data;
}

const auto a = [](char last) { return record("\0\1\x80\1"s, {10, 0, 0, last}); };
const auto pointer = [](const std::string& to) { return record("\0\14\0\1"s, to); };

/// So many that were not there before.
std::vector<std::string> services(int count) {
    static int number = 0;
    std::vector<std::string> records;
    for (int i = 0; i < count; ++i, ++number) {
        records.push_back(pointer("\2"s + twoBytes(static_cast<std::size_t>(number)) + "\0"s));
    }
    return records;
}

TEST(AnswerSieveTest, OnlyAnswersThatSayNothingNewOrTooMuchAreLeftOut) {
    if (const std::string reason = isolate(); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    ASSERT_EQ(std::system("ip link add near type veth peer name far && ip link set far up && "
                          "ip address add 10.9.1.1/24 dev near && ip link set near up && "
                          "ip address add fd77::1/64 dev near nodad"),
              0);
    const int link = static_cast<int>(if_nametoindex("near"));
    const Member ipv4(AF_INET, link);
    const Member ipv6(AF_INET6, link);
    AnswerSieve sieve;
    struct Step {
        const char* what;
        const Member& by;
        std::string message;
        bool isAdmitted;
    };
    std::vector<Step> steps = {
        {"a neighbour that speaks IPv6 only", ipv6, answer({pointer("\1s\0"s)}), true},
        {"what the stack was told by IPv6 alone", ipv4, answer({pointer("\1s\0"s)}), true},
        {"an answer", ipv4, answer({pointer("\1x\0"s), a(1)}), true},
        {"the same by IPv6", ipv6, answer({pointer("\1x\0"s), a(1)}), false},
        {"the same once more, in pieces", ipv4, answer({a(1)}), false},
        {"the same with compression", ipv6, answer({pointer("\1x\xc0\x17"s)}), false},
        {"the same with one thing more", ipv6, answer({a(1), pointer("\1y\0"s)}), true},
        {"a further service", ipv4, answer({pointer("\1y\0"s)}), true},
        {"both, each of which is known", ipv6, answer({pointer("\1y\0"s), pointer("\1x\0"s)}),
         false},
        {"another address", ipv4, answer({a(2)}), true},
        {"the former again", ipv4, answer({a(1)}), true},
        {"two of which one was known", ipv4, answer({a(1), a(2)}), true},
        {"both, the other way round", ipv6, answer({a(2), a(1)}), false},
        {"one alone, which ends the other", ipv6, answer({a(1)}), true},
        {"a goodbye", ipv4, answer({record("\0\1\x80\1"s, {10, 0, 0, 1}, 0)}), true},
        {"what was taken back", ipv6, answer({a(1), a(2)}), true},
        {"a question", ipv4, answer({a(7)}, 0), false},
        {"an answer that is cut short", ipv4, answer({a(9)}).substr(0, 30), true},
        {"its like, whole", ipv4, answer({a(9)}), true},
        {"what is longer than may be", ipv4, answer(services(400)), false},
    };
    const auto refused = {record("\0\1\x80\1"s, "\1\2\3"),
                          record("\0\1\x80\3"s, "\1\2\3\4"),
                          record("\0\20\x80\1"s, "\x9x"),
                          record("\0\41\x80\1"s, "\0\0\0\0\0\x9\1x\0y"s),
                          record("\0\15\x80\1"s, "\x50x"),
                          pointer("\1\xff\0"s),
                          pointer("\2\0x\0"s),
                          pointer("\3\xef\xb7\x90\0"s),
                          pointer("\xc0\4"s),
                          pointer("\xc0\x27"s)};
    for (char last = 20; const std::string& record : refused) {
        steps.push_back({"what Avahi drops", ipv4, answer({record, a(last)}), true});
        steps.push_back({"what it has not read", ipv4, answer({a(last)}), true});
        ++last;
    }
    steps.push_back({"what was told", ipv4, answer({a(19)}), true});
    steps.push_back({"its end, and nothing more", ipv4,
                     answer({record("\0\1\x80\1"s, {10, 0, 0, 19}, 0), "\xff"}), true});
    steps.push_back({"it again", ipv4, answer({a(19)}), true});
    for (int i = 0; i < 9; ++i) {
        steps.push_back({"ever new services", ipv4, answer(services(330)), true});
    }
    const auto more = answer(services(30));
    steps.push_back({"more than 3,000 of one neighbour", ipv4, more, false});
    steps.push_back({"these once more", ipv4, more, true});
    steps.push_back({"one of another", ipv6, answer(services(1)), true});
    for (const auto& step : steps) {
        step.by.send(step.message);
        EXPECT_EQ(sieve.admitsNext(step.by.socket.get()), step.isAdmitted) << step.what;
        EXPECT_EQ(step.by.holdsSomething(), step.isAdmitted) << step.what;
        recv(step.by.socket.get(), nullptr, 0, MSG_DONTWAIT);
    }
    EXPECT_EQ(sieve.repeatsByIPv6(), 4);
}

TEST(NeighbourBudgetTest, FewThatTellAllTheyMayAndRepeatItLeaveRoomForAnother) {
    for (const std::uint64_t few : {1, 2, 10}) {
        NeighbourBudget budget;
        for (bool isOver = false; !isOver;) {
            isOver = true;
            for (std::uint64_t sender = 0; sender < few; ++sender) {
                isOver = !budget.grants(sender, NeighbourBudget::perService, true) && isOver;
            }
        }
        for (int service = 0; service < 100; ++service) {
            EXPECT_TRUE(budget.grants(few, NeighbourBudget::perService, false)) << few;
        }
    }
}

TEST(QuestionPaceTest, ManyTypesAreAllAskedInTimeAndFewSteps) {
    const LoopDriver driver;
    for (const auto& [recent, mostSteps] : {std::pair(0, 3), {200, 5}, {100000, 17}}) {
        int asked = 0;
        int steps = 0;
        QuestionPace pace(*driver.loop(), [&steps, recent = recent] {
            ++steps;
            return recent;
        });
        for (int i = 0; i < 31; ++i) {
            pace.add([&] { ++asked; });
        }
        EXPECT_EQ(asked, recent == 100000 ? 0 : 1);
        EXPECT_TRUE(driver.until([&] { return asked == 31; }));
        EXPECT_LE(steps, mostSteps) << recent;
    }
}

/// A stack that is asked for one type, and what it is asked by IPv4.
struct AskedStack {
    [[nodiscard]] std::shared_ptr<PacedBrowse> browse() {
        const auto ask = [this](int protocol, const PacedBrowse::Sighted& sighted) {
            if (protocol == 0) {
                ++asked;
                tell = sighted;
            }
            return std::make_shared<Lookup>();
        };
        auto browse = PacedBrowse::start(*driver.loop(), pace, lost, sieve, ask, [](auto&) {});
        lost.add(browse);
        return browse;
    }

    LoopDriver driver;
    AnswerSieve sieve;
    QuestionPace pace{*driver.loop(), [] { return 0; }};
    LostAnswers lost;
    int asked = 0;
    PacedBrowse::Sighted tell;
};

TEST(PacedBrowseTest, WhereAnswersGetLostQuestionsAreAskedAnewBeforeTheStacksLongPauses) {
    AskedStack lossy;
    AskedStack good;
    [[maybe_unused]] const auto browses = {lossy.browse(), good.browse()};
    lossy.tell({});
    good.tell({});
    lossy.driver.during(std::chrono::milliseconds(1200));
    lossy.tell({}); // what came in time by now is told of, and this one late
    EXPECT_TRUE(lossy.driver.until([&] { return lossy.asked == 2; }));
    lossy.tell({}); // anew, what was told before
    lossy.driver.during(std::chrono::milliseconds(4500));
    EXPECT_LE(lossy.asked, 4) << "and nothing came late since";
    EXPECT_EQ(good.asked, 1);
}

} // namespace

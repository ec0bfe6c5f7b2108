#include "AmbrelKit/Linux/Network/Wireless.hpp"

#include "AmbrelKit/Linux/Libraries/Netlink.hpp"
#include "AmbrelKit/Linux/RunLoop/OfThisThread.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <algorithm>
#include <cstring>
#include <exception>
#include <functional>
#include <linux/nl80211.h>
#include <map>
#include <memory>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace AmbrelKit::Linux {

namespace {

/// The attributes of one message.
struct Attributes {
    nlattr* first;
    int length;

    [[nodiscard]] const nlattr* find(int type) const { return nla_find(first, length, type); }
    /// 0 when it is not there.
    [[nodiscard]] std::uint32_t number(int type) const {
        const nlattr* const attribute = find(type);
        return attribute != nullptr && nla_len(attribute) >= 4 ? nla_get_u32(attribute) : 0;
    }
};

using Reader = std::function<void(const Attributes&)>;

enum class Outcome { complete, interrupted, failed };

/// A connection to nl80211, the kernel's own interface to its radios.
class NL80211 {
public:
    /// Nothing when the kernel has no radio, or gives no connection.
    static std::unique_ptr<NL80211> open();

    /// Asks for a list, of one interface or (0) of all, and reads it.
    Outcome list(std::uint8_t command, std::uint32_t interface, const Reader& reader);

    /// 0 when there is no such interface.
    [[nodiscard]] std::uint32_t index(const std::string& interface) const;

private:
    struct Free {
        void operator()(nl_sock* connection) const { nl_socket_free(connection); }
        void operator()(nl_msg* message) const { nlmsg_free(message); }
    };
    struct Answer {
        const Reader& reader;
        std::exception_ptr failure;
    };

    NL80211() = default;
    [[nodiscard]] bool connect();
    bool send(std::uint8_t command, std::uint32_t interface);
    static int received(nl_msg* message, void* answer);

    std::unique_ptr<nl_sock, Free> connection_;
    int family_ = -1;
};

std::unique_ptr<NL80211> NL80211::open() {
    // Asking for nl80211 where it is not would make the kernel load it, and wait for that.
    if (access("/sys/class/ieee80211", F_OK) != 0 || !netlinkLibrary.isThere()) {
        return nullptr;
    }
    std::unique_ptr<NL80211> kernel(new NL80211);
    return kernel->connect() ? std::move(kernel) : nullptr;
}

bool NL80211::connect() {
    constexpr std::size_t largestPart = 32768; // of a list, as the kernel makes them
    connection_.reset(nl_socket_alloc());
    nl_sock* const connection = connection_.get();
    if (connection == nullptr || genl_connect(connection) < 0) {
        return false;
    }
    // The kernel has answered before a request's sending returns. An answer that is not there then
    // never comes: its memory was short.
    nl_socket_set_nonblocking(connection);
    nl_socket_disable_auto_ack(connection);
    nl_socket_set_msg_buf_size(connection, largestPart); // instead of looking first how large it is
    nl_socket_disable_msg_peek(connection);
    family_ = genl_ctrl_resolve(connection, NL80211_GENL_NAME);
    return family_ >= 0;
}

bool NL80211::send(std::uint8_t command, std::uint32_t interface) {
    const std::unique_ptr<nl_msg, Free> message(nlmsg_alloc_size(64));
    return message &&
           genlmsg_put(message.get(), NL_AUTO_PORT, NL_AUTO_SEQ, family_, 0, NLM_F_DUMP, command,
                       0) != nullptr &&
           (interface == 0 || nla_put_u32(message.get(), NL80211_ATTR_IFINDEX, interface) == 0) &&
           nl_send_auto(connection_.get(), message.get()) >= 0;
}

Outcome NL80211::list(std::uint8_t command, std::uint32_t interface, const Reader& reader) {
    Answer answer{reader, nullptr};
    nl_socket_modify_cb(connection_.get(), NL_CB_VALID, NL_CB_CUSTOM, received, &answer);
    if (!send(command, interface)) {
        return Outcome::failed;
    }
    const int result = nl_recvmsgs_default(connection_.get());
    if (answer.failure) {
        std::rethrow_exception(answer.failure);
    }
    if (result == -NLE_DUMP_INTR) {
        return Outcome::interrupted;
    }
    return result < 0 ? Outcome::failed : Outcome::complete;
}

int NL80211::received(nl_msg* message, void* answer) {
    auto& [reader, failure] = *static_cast<Answer*>(answer);
    auto* const header = static_cast<genlmsghdr*>(nlmsg_data(nlmsg_hdr(message)));
    try {
        if (!failure) {
            reader({genlmsg_attrdata(header, 0), genlmsg_attrlen(header, 0)});
        }
    } catch (...) {
        failure = std::current_exception(); // thrown again when the rest has been taken out
    }
    return NL_OK;
}

std::uint32_t NL80211::index(const std::string& interface) const {
    ifreq request{};
    if (interface.size() >= sizeof request.ifr_name) {
        return 0;
    }
    interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
    const int descriptor = nl_socket_get_fd(connection_.get()); // any socket may be asked this
    return ioctl(descriptor, SIOCGIFINDEX, &request) == 0
               ? static_cast<std::uint32_t>(request.ifr_ifindex)
               : 0;
}

/// Runs a query on this thread's connection; up to thrice, since a list is torn when it changes
/// between its parts, and a connection is of no use any more once the kernel's module went and came
/// again. The query begins anew each time; of a list torn thrice what was read last counts.
void ask(const std::function<Outcome(NL80211&)>& query) {
    const auto connection =
        ofThisThread([] { return std::make_shared<std::unique_ptr<NL80211>>(); });
    auto& kept = *connection;
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (!kept) {
            kept = NL80211::open();
        }
        const Outcome outcome = kept ? query(*kept) : Outcome::complete;
        if (outcome == Outcome::complete) {
            return;
        }
        if (outcome == Outcome::failed) {
            kept.reset();
        }
    }
}

struct Interface {
    std::string name;
    std::uint32_t type = 0; ///< NL80211_IFTYPE_…
};

/// Every radio's interfaces, by their index.
std::map<std::uint32_t, Interface> radioInterfaces() {
    std::map<std::uint32_t, Interface> byIndex;
    ask([&](NL80211& kernel) {
        byIndex.clear();
        return kernel.list(NL80211_CMD_GET_INTERFACE, 0, [&](const Attributes& interface) {
            const auto* const name = interface.find(NL80211_ATTR_IFNAME); // P2P devices have none
            if (name != nullptr) {
                const auto* const text = static_cast<const char*>(nla_data(name));
                const auto length = strnlen(text, static_cast<std::size_t>(nla_len(name)));
                byIndex[interface.number(NL80211_ATTR_IFINDEX)] = {
                    .name = repairedUTF8({text, length}),
                    .type = interface.number(NL80211_ATTR_IFTYPE)};
            }
        });
    });
    return byIndex;
}

} // namespace

std::vector<std::string> wirelessStations() {
    std::vector<std::string> stations;
    for (auto& [index, interface] : radioInterfaces()) {
        if (interface.type == NL80211_IFTYPE_STATION) {
            stations.push_back(std::move(interface.name));
        }
    }
    return stations;
}

bool isAccessPoint(const std::string& name) {
    return std::ranges::any_of(radioInterfaces(), [&](const auto& entry) {
        const auto type = entry.second.type;
        return entry.second.name == name &&
               (type == NL80211_IFTYPE_AP || type == NL80211_IFTYPE_AP_VLAN ||
                type == NL80211_IFTYPE_P2P_GO);
    });
}

std::optional<Association> association(const std::string& interface) {
    AssociationSearch search;
    ask([&](NL80211& kernel) {
        search = {};
        const auto index = kernel.index(interface);
        if (index == 0) {
            return Outcome::complete;
        }
        return kernel.list(NL80211_CMD_GET_SCAN, index, [&](const Attributes& result) {
            if (const auto* const bss = result.find(NL80211_ATTR_BSS)) {
                search.add({static_cast<const std::byte*>(nla_data(bss)),
                            static_cast<std::size_t>(nla_len(bss))});
            }
        });
    });
    return search.result();
}

} // namespace AmbrelKit::Linux

// What access points may send, as the kernel hands it on: scan results, each an attribute.

#include "AmbrelKit/Linux/Network/Association.hpp"
#include "AmbrelKit/Platform/UTF8.hpp"

#include <cstdint>
#include <cstdlib>
#include <linux/nl80211.h>
#include <netlink/attr.h>
#include <span>
#include <vector>

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace AmbrelKit;
    std::vector<std::uint8_t> results(data, data + size); // aligned as the kernel's are
    Linux::AssociationSearch search;
    const auto* attribute = reinterpret_cast<const nlattr*>(results.data());
    int left = static_cast<int>(results.size());
    for (; nla_ok(attribute, left); attribute = nla_next(attribute, &left)) {
        if (nla_type(attribute) == NL80211_ATTR_BSS) {
            search.add({static_cast<const std::byte*>(nla_data(attribute)),
                        static_cast<std::size_t>(nla_len(attribute))});
        }
    }
    const auto network = search.result();
    if (network && network->ssid &&
        (!isValidUTF8(*network->ssid) || network->ssid->empty() || network->ssid->size() > 96)) {
        std::abort();
    }
    return 0;
}

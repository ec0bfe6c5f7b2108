#ifndef AMBRELKIT_LINUX_LIBRARIES_NETLINK_HPP
#define AMBRELKIT_LINUX_LIBRARIES_NETLINK_HPP

#include "AmbrelKit/Linux/Libraries/LateLibrary.hpp"

#include <netlink/attr.h>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>

namespace AmbrelKit::Linux {

/// What nl80211 is asked by, and what that is linked with.
inline constexpr LateLibrary netlinkLibrary{"libnl-genl-3.so.200"};

AMBRELKIT_LATE(netlinkLibrary, genl_connect);
AMBRELKIT_LATE(netlinkLibrary, genl_ctrl_resolve);
AMBRELKIT_LATE(netlinkLibrary, genlmsg_attrdata);
AMBRELKIT_LATE(netlinkLibrary, genlmsg_attrlen);
AMBRELKIT_LATE(netlinkLibrary, genlmsg_put);
AMBRELKIT_LATE(netlinkLibrary, nl_recvmsgs_default);
AMBRELKIT_LATE(netlinkLibrary, nl_send_auto);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_alloc);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_disable_auto_ack);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_disable_msg_peek);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_free);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_get_fd);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_modify_cb);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_set_msg_buf_size);
AMBRELKIT_LATE(netlinkLibrary, nl_socket_set_nonblocking);
AMBRELKIT_LATE(netlinkLibrary, nla_data);
AMBRELKIT_LATE(netlinkLibrary, nla_find);
AMBRELKIT_LATE(netlinkLibrary, nla_get_u32);
AMBRELKIT_LATE(netlinkLibrary, nla_len);
AMBRELKIT_LATE(netlinkLibrary, nla_parse);
AMBRELKIT_LATE(netlinkLibrary, nla_put_u32);
AMBRELKIT_LATE(netlinkLibrary, nlmsg_alloc_size);
AMBRELKIT_LATE(netlinkLibrary, nlmsg_data);
AMBRELKIT_LATE(netlinkLibrary, nlmsg_free);
AMBRELKIT_LATE(netlinkLibrary, nlmsg_hdr);

} // namespace AmbrelKit::Linux

#endif

#include "engine/netlink.h"

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "engine/netns.h"

namespace engine {

namespace {

std::string where(const std::string& netns) {
    return netns.empty() ? std::string("in the process's namespace") : "in network namespace '" + netns + "'";
}

// The attributes after a message's fixed header of `offset` bytes.
template <class F>
void forEachAttr(const nlmsghdr* nlh, size_t offset, F&& fn) {
    const auto* attr = static_cast<const nlattr*>(mnl_nlmsg_get_payload_offset(nlh, offset));
    const auto* tail = static_cast<const char*>(mnl_nlmsg_get_payload_tail(nlh));
    while (mnl_attr_ok(attr, int(tail - reinterpret_cast<const char*>(attr)))) {
        fn(attr);
        attr = mnl_attr_next(attr);
    }
}

LinkInfo parseLink(const nlmsghdr* nlh) {
    const auto* ifi = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(nlh));
    LinkInfo info;
    info.index = ifi->ifi_index;
    info.up = (ifi->ifi_flags & IFF_UP) != 0;
    info.running = (ifi->ifi_flags & IFF_LOWER_UP) != 0;
    forEachAttr(nlh, sizeof(ifinfomsg), [&](const nlattr* attr) {
        switch (mnl_attr_get_type(attr)) {
        case IFLA_IFNAME:
            if (mnl_attr_validate(attr, MNL_TYPE_NUL_STRING) >= 0) info.name = mnl_attr_get_str(attr);
            break;
        case IFLA_MTU:
            if (mnl_attr_validate(attr, MNL_TYPE_U32) >= 0) info.mtu = mnl_attr_get_u32(attr);
            break;
        case IFLA_ADDRESS: {
            const auto* p = static_cast<const uint8_t*>(mnl_attr_get_payload(attr));
            info.mac.assign(p, p + mnl_attr_get_payload_len(attr));
            break;
        }
        default:
            break;
        }
    });
    return info;
}

int onLink(const nlmsghdr* nlh, void* data) {
    if (nlh->nlmsg_type == RTM_NEWLINK) static_cast<std::vector<LinkInfo>*>(data)->push_back(parseLink(nlh));
    return MNL_CB_OK;
}

struct AddressDump {
    int ifindex;
    int family;
    std::vector<IfAddress> out;
};

int onAddress(const nlmsghdr* nlh, void* data) {
    auto* dump = static_cast<AddressDump*>(data);
    if (nlh->nlmsg_type != RTM_NEWADDR) return MNL_CB_OK;
    const auto* ifa = static_cast<const ifaddrmsg*>(mnl_nlmsg_get_payload(nlh));
    if (int(ifa->ifa_index) != dump->ifindex) return MNL_CB_OK;
    if (dump->family != AF_UNSPEC && ifa->ifa_family != dump->family) return MNL_CB_OK;
    if (ifa->ifa_family != AF_INET && ifa->ifa_family != AF_INET6) return MNL_CB_OK;
    IfAddress a;
    a.address.family = ifa->ifa_family;
    a.prefixLength = ifa->ifa_prefixlen;
    a.ifindex = int(ifa->ifa_index);
    a.flags = ifa->ifa_flags;
    a.scope = ifa->ifa_scope;
    const size_t size = a.address.size();
    bool haveLocal = false, haveAddress = false;
    forEachAttr(nlh, sizeof(ifaddrmsg), [&](const nlattr* attr) {
        const int type = mnl_attr_get_type(attr);
        // IFA_LOCAL is the interface's own address where a point-to-point
        // link puts the peer into IFA_ADDRESS.
        if ((type == IFA_LOCAL || (type == IFA_ADDRESS && !haveLocal)) && mnl_attr_get_payload_len(attr) == size) {
            std::memcpy(a.address.bytes.data(), mnl_attr_get_payload(attr), size);
            haveAddress = true;
            haveLocal = haveLocal || type == IFA_LOCAL;
        } else if (type == IFA_FLAGS && mnl_attr_validate(attr, MNL_TYPE_U32) >= 0) {
            a.flags = mnl_attr_get_u32(attr);
        }
    });
    if (haveAddress) dump->out.push_back(a);
    return MNL_CB_OK;
}

std::string withPrefix(const IpAddress& a, int prefixLength) {
    return a.toString() + "/" + std::to_string(prefixLength);
}

}  // namespace

Netlink::Netlink(const std::string& netns) : netns_(netns), buffer_(32768) {
    const int fd = socketIn(netns, AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
    socket_ = mnl_socket_fdopen(fd);
    if (!socket_) {
        const int err = errno;
        ::close(fd);
        throw std::system_error(err, std::generic_category(), "netlink socket " + where(netns));
    }
    if (mnl_socket_bind(socket_, 0, MNL_SOCKET_AUTOPID) < 0) {
        const int err = errno;
        mnl_socket_close(socket_);
        throw std::system_error(err, std::generic_category(), "netlink bind " + where(netns));
    }
    portid_ = mnl_socket_get_portid(socket_);
    // The kernel answers at once; a lost answer becomes an error, not a hang.
    const timeval limit{5, 0};
    setsockopt(mnl_socket_get_fd(socket_), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

Netlink::~Netlink() { mnl_socket_close(socket_); }

void Netlink::transact(nlmsghdr* request, Callback cb, void* data, const std::string& what, bool dump) {
    const uint32_t seq = ++seq_;
    request->nlmsg_seq = seq;
    // A dump ends with NLMSG_DONE; anything else is answered by an ack.
    // (The flag bits of a dump are reused by other requests: NLM_F_EXCL.)
    request->nlmsg_flags |= dump ? NLM_F_DUMP : NLM_F_ACK;
    auto failed = [&](int err) { return std::system_error(err, std::generic_category(), what + " " + where(netns_)); };
    if (mnl_socket_sendto(socket_, request, request->nlmsg_len) < 0) throw failed(errno);
    for (;;) {
        const ssize_t n = mnl_socket_recvfrom(socket_, buffer_.data(), buffer_.size());
        if (n < 0) throw failed(errno);
        const int ret = mnl_cb_run(buffer_.data(), size_t(n), seq, portid_, cb, data);
        if (ret < 0) throw failed(errno);
        if (ret == MNL_CB_STOP) return;
    }
}

namespace {
// A link request of `type` about `ifindex` (0: none) in `buf`.
nlmsghdr* putLinkRequest(char* buf, uint16_t type, int ifindex) {
    nlmsghdr* nlh = mnl_nlmsg_put_header(buf);
    nlh->nlmsg_type = type;
    nlh->nlmsg_flags = NLM_F_REQUEST;
    auto* ifi = static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(nlh, sizeof(ifinfomsg)));
    ifi->ifi_family = AF_UNSPEC;
    ifi->ifi_index = ifindex;
    return nlh;
}
}  // namespace

std::optional<LinkInfo> Netlink::getLink(int ifindex, const std::string& ifname) {
    char buf[MNL_SOCKET_BUFFER_SIZE];
    nlmsghdr* nlh = putLinkRequest(buf, RTM_GETLINK, ifindex);
    if (!ifname.empty()) mnl_attr_put_strz(nlh, IFLA_IFNAME, ifname.c_str());
    std::vector<LinkInfo> found;
    try {
        transact(nlh, onLink, &found, "look up interface " + (ifname.empty() ? std::to_string(ifindex) : ifname));
    } catch (const std::system_error& e) {
        if (e.code().value() == ENODEV) return std::nullopt;
        throw;
    }
    if (found.empty()) return std::nullopt;
    return found.front();
}

std::optional<LinkInfo> Netlink::link(const std::string& ifname) {
    if (ifname.empty() || ifname.size() >= IFNAMSIZ) return std::nullopt;
    return getLink(0, ifname);
}

std::optional<LinkInfo> Netlink::link(int ifindex) {
    if (ifindex <= 0) return std::nullopt;
    return getLink(ifindex, "");
}

std::vector<LinkInfo> Netlink::links() {
    char buf[MNL_SOCKET_BUFFER_SIZE];
    nlmsghdr* nlh = putLinkRequest(buf, RTM_GETLINK, 0);
    std::vector<LinkInfo> found;
    transact(nlh, onLink, &found, "list interfaces", true);
    return found;
}

void Netlink::setLinkUp(int ifindex, bool up) {
    char buf[MNL_SOCKET_BUFFER_SIZE];
    nlmsghdr* nlh = putLinkRequest(buf, RTM_NEWLINK, ifindex);
    auto* ifi = static_cast<ifinfomsg*>(mnl_nlmsg_get_payload(nlh));
    ifi->ifi_change = IFF_UP;
    ifi->ifi_flags = up ? IFF_UP : 0;
    transact(nlh, nullptr, nullptr, std::string("set interface ") + std::to_string(ifindex) + (up ? " up" : " down"));
}

std::vector<IfAddress> Netlink::addresses(int ifindex, int family) {
    char buf[MNL_SOCKET_BUFFER_SIZE];
    nlmsghdr* nlh = mnl_nlmsg_put_header(buf);
    nlh->nlmsg_type = RTM_GETADDR;
    nlh->nlmsg_flags = NLM_F_REQUEST;
    auto* ifa = static_cast<ifaddrmsg*>(mnl_nlmsg_put_extra_header(nlh, sizeof(ifaddrmsg)));
    ifa->ifa_family = uint8_t(family);
    AddressDump dump{ifindex, family, {}};
    transact(nlh, onAddress, &dump, "list addresses of interface " + std::to_string(ifindex), true);
    return std::move(dump.out);
}

void Netlink::address(int type, int ifindex, const IpAddress& a, int prefixLength) {
    const bool add = type == RTM_NEWADDR;
    const std::string what = std::string(add ? "add" : "remove") + " address " + withPrefix(a, prefixLength) +
                             " on interface " + std::to_string(ifindex);
    if (prefixLength < 0 || prefixLength > int(a.size()) * 8)
        throw std::system_error(EINVAL, std::generic_category(), what + " " + where(netns_));
    char buf[MNL_SOCKET_BUFFER_SIZE];
    nlmsghdr* nlh = mnl_nlmsg_put_header(buf);
    nlh->nlmsg_type = uint16_t(type);
    nlh->nlmsg_flags = NLM_F_REQUEST | (add ? NLM_F_CREATE | NLM_F_EXCL : 0);
    auto* ifa = static_cast<ifaddrmsg*>(mnl_nlmsg_put_extra_header(nlh, sizeof(ifaddrmsg)));
    ifa->ifa_family = uint8_t(a.family);
    ifa->ifa_prefixlen = uint8_t(prefixLength);
    ifa->ifa_scope = RT_SCOPE_UNIVERSE;
    ifa->ifa_index = uint32_t(ifindex);
    mnl_attr_put(nlh, IFA_LOCAL, a.size(), a.bytes.data());
    mnl_attr_put(nlh, IFA_ADDRESS, a.size(), a.bytes.data());
    if (add && a.isV6()) {
        ifa->ifa_flags = IFA_F_NODAD;
        mnl_attr_put_u32(nlh, IFA_FLAGS, IFA_F_NODAD);
    }
    transact(nlh, nullptr, nullptr, what);
}

void Netlink::addAddress(int ifindex, const IpAddress& a, int prefixLength) {
    address(RTM_NEWADDR, ifindex, a, prefixLength);
}

void Netlink::removeAddress(int ifindex, const IpAddress& a, int prefixLength) {
    address(RTM_DELADDR, ifindex, a, prefixLength);
}

void Netlink::hostRoute(int type, int ifindex, const IpAddress& host) {
    const bool add = type == RTM_NEWROUTE;
    char buf[MNL_SOCKET_BUFFER_SIZE];
    nlmsghdr* nlh = mnl_nlmsg_put_header(buf);
    nlh->nlmsg_type = uint16_t(type);
    nlh->nlmsg_flags = NLM_F_REQUEST | (add ? NLM_F_CREATE | NLM_F_EXCL : 0);
    auto* rtm = static_cast<rtmsg*>(mnl_nlmsg_put_extra_header(nlh, sizeof(rtmsg)));
    rtm->rtm_family = uint8_t(host.family);
    rtm->rtm_dst_len = uint8_t(host.size() * 8);
    rtm->rtm_table = RT_TABLE_MAIN;
    rtm->rtm_protocol = RTPROT_STATIC;
    rtm->rtm_scope = RT_SCOPE_LINK;
    rtm->rtm_type = RTN_UNICAST;
    mnl_attr_put(nlh, RTA_DST, host.size(), host.bytes.data());
    mnl_attr_put_u32(nlh, RTA_OIF, uint32_t(ifindex));
    transact(nlh, nullptr, nullptr,
             std::string(add ? "add" : "remove") + " route to " + host.toString() + " on interface " +
                 std::to_string(ifindex));
}

void Netlink::addHostRoute(int ifindex, const IpAddress& host) { hostRoute(RTM_NEWROUTE, ifindex, host); }

void Netlink::removeHostRoute(int ifindex, const IpAddress& host) { hostRoute(RTM_DELROUTE, ifindex, host); }

}  // namespace engine

// Interfaces, addresses and routes of one network namespace, through a
// NETLINK_ROUTE socket made inside it (libmnl). Requests are synchronous and
// short; an object serves one thread at a time. Failures throw
// std::system_error carrying the kernel's errno, with a text that says what
// was asked and in which namespace.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/ip.h"

struct mnl_socket;
struct nlmsghdr;

namespace engine {

struct LinkInfo {
    int index = 0;
    std::string name;
    bool up = false;       // administratively (IFF_UP)
    bool running = false;  // carrier (IFF_LOWER_UP)
    uint32_t mtu = 0;
    std::vector<uint8_t> mac;  // empty for a link without one (lo has six zeros)
};

struct IfAddress {
    IpAddress address;
    int prefixLength = 0;
    int ifindex = 0;
    uint32_t flags = 0;  // IFA_F_*
    int scope = 0;       // RT_SCOPE_*
};

class Netlink {
public:
    // Empty name: the process's own namespace.
    explicit Netlink(const std::string& netns = "");
    ~Netlink();
    Netlink(const Netlink&) = delete;
    Netlink& operator=(const Netlink&) = delete;

    const std::string& netns() const { return netns_; }

    // Nothing when the namespace has no such interface.
    std::optional<LinkInfo> link(const std::string& ifname);
    std::optional<LinkInfo> link(int ifindex);
    std::vector<LinkInfo> links();
    void setLinkUp(int ifindex, bool up);

    // family: AF_INET, AF_INET6 or AF_UNSPEC for both.
    std::vector<IfAddress> addresses(int ifindex, int family = AF_UNSPEC);
    // An IPv6 address is added without duplicate address detection, usable at once.
    void addAddress(int ifindex, const IpAddress& address, int prefixLength);
    void removeAddress(int ifindex, const IpAddress& address, int prefixLength);

    // `ip route add HOST dev IF` with scope link, in the main table.
    void addHostRoute(int ifindex, const IpAddress& host);
    void removeHostRoute(int ifindex, const IpAddress& host);

private:
    using Callback = int (*)(const nlmsghdr*, void*);
    void transact(nlmsghdr* request, Callback cb, void* data, const std::string& what, bool dump = false);
    std::optional<LinkInfo> getLink(int ifindex, const std::string& ifname);
    void address(int type, int ifindex, const IpAddress& a, int prefixLength);
    void hostRoute(int type, int ifindex, const IpAddress& host);

    std::string netns_;
    mnl_socket* socket_ = nullptr;
    uint32_t portid_ = 0;
    uint32_t seq_ = 0;
    std::vector<char> buffer_;
};

}  // namespace engine

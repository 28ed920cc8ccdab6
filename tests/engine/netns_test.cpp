// As root, in two network namespaces of the test's own joined by a veth
// pair: sockets made in a namespace see its interfaces, netlink reads and
// changes links, addresses and host routes there, and TCP with RFC 2385
// signatures connects across the pair only with matching keys. Skipped
// without root or without namespaces. The namespaces go when the suite ends,
// whatever happened.
#include <gtest/gtest.h>
#include <linux/if_addr.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "engine/netlink.h"
#include "engine/netns.h"
#include "engine/reactor.h"
#include "engine/tcp.h"
#include "lab.h"

namespace {

using engine::IpAddress;
using engine::Netlink;
using engine_test::Lab;
using namespace std::chrono_literals;

IpAddress ip(const char* text) { return *IpAddress::parse(text); }

class Netns : public engine_test::LabTest {};

int ifindexSeenBy(int fd, const std::string& name) {
    ifreq req{};
    name.copy(req.ifr_name, IFNAMSIZ - 1);
    return ioctl(fd, SIOCGIFINDEX, &req) == 0 ? req.ifr_ifindex : -errno;
}

TEST_F(Netns, SocketMadeInANamespaceSeesItsInterfacesOnly) {
    EXPECT_TRUE(engine::netnsExists(lab->nsA));
    engine::Fd inA(engine::socketIn(lab->nsA, AF_INET, SOCK_DGRAM, 0));
    engine::Fd inB(engine::socketIn(lab->nsB, AF_INET, SOCK_DGRAM, 0));
    engine::Fd here(engine::socketIn("", AF_INET, SOCK_DGRAM, 0));
    EXPECT_GT(ifindexSeenBy(inA.get(), lab->ifA), 0);
    EXPECT_EQ(ifindexSeenBy(inA.get(), lab->ifB), -ENODEV);
    EXPECT_GT(ifindexSeenBy(inB.get(), lab->ifB), 0);
    EXPECT_EQ(ifindexSeenBy(here.get(), lab->ifA), -ENODEV) << "the process stays where it is";
}

TEST_F(Netns, RunInNetnsReturnsTheFunctionsResultAndException) {
    EXPECT_EQ(engine::runInNetns(lab->nsA, [] { return 42; }), 42);
    EXPECT_THROW(engine::runInNetns(lab->nsA, []() -> int { throw std::runtime_error("x"); }), std::runtime_error);
}

struct BadNamespace {
    const char* name;
    int err;
};

class NetnsNames : public ::testing::TestWithParam<BadNamespace> {};

TEST_P(NetnsNames, AreRefusedWithTheNameInTheMessage) {
    const auto& c = GetParam();
    const std::string name = c.name[0] == '@' ? "zkeng-missing-" + std::to_string(getpid()) : c.name;
    EXPECT_FALSE(engine::netnsExists(name));
    try {
        ::close(engine::socketIn(name, AF_INET, SOCK_STREAM, 0));
        FAIL() << "made a socket in '" << name << "'";
    } catch (const std::system_error& e) {
        EXPECT_EQ(e.code().value(), c.err);
        EXPECT_NE(std::string(e.what()).find("'" + name + "'"), std::string::npos) << e.what();
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, NetnsNames,
                         ::testing::Values(BadNamespace{"@", ENOENT}, BadNamespace{"..", EINVAL},
                                           BadNamespace{"a/b", EINVAL}, BadNamespace{".", EINVAL}));

TEST_F(Netns, LinkLookupAndUpDown) {
    Netlink nl(lab->nsA);
    const auto lo = nl.link("lo");
    ASSERT_TRUE(lo);
    EXPECT_EQ(lo->index, 1);
    EXPECT_TRUE(lo->up);
    auto veth = nl.link(lab->ifA);
    ASSERT_TRUE(veth);
    EXPECT_EQ(veth->name, lab->ifA);
    EXPECT_EQ(veth->mtu, 1500u);
    EXPECT_EQ(veth->mac.size(), 6u);
    EXPECT_FALSE(veth->up) << "a new veth end is down";
    EXPECT_FALSE(nl.link(lab->ifB)) << "the other end lives in the other namespace";
    EXPECT_FALSE(nl.link("zk-no-such-if"));
    EXPECT_FALSE(nl.link(std::string(40, 'x'))) << "longer than an interface name";
    EXPECT_EQ(nl.link(veth->index)->name, lab->ifA);
    EXPECT_EQ(nl.links().size(), 2u);

    nl.setLinkUp(veth->index, true);
    EXPECT_TRUE(nl.link(lab->ifA)->up);
    EXPECT_FALSE(nl.link(lab->ifA)->running) << "the peer end is still down";
    Netlink nlB(lab->nsB);
    nlB.setLinkUp(nlB.link(lab->ifB)->index, true);
    EXPECT_TRUE(nl.link(lab->ifA)->running);
    nl.setLinkUp(veth->index, false);
    EXPECT_FALSE(nl.link(lab->ifA)->up);
    try {
        nl.setLinkUp(9999, true);
        FAIL() << "set a missing link up";
    } catch (const std::system_error& e) {
        EXPECT_EQ(e.code().value(), ENODEV);
        EXPECT_NE(std::string(e.what()).find(lab->nsA), std::string::npos) << e.what();
    }
}

struct AddressCase {
    const char* address;
    int prefix;
};

class NetnsAddresses : public Netns, public ::testing::WithParamInterface<AddressCase> {};

TEST_P(NetnsAddresses, AddListRemove) {
    const auto& c = GetParam();
    Netlink nl(lab->nsA);
    const int index = nl.link(lab->ifA)->index;
    nl.setLinkUp(index, true);
    const IpAddress a = ip(c.address);
    auto find = [&]() -> std::optional<engine::IfAddress> {
        for (const auto& x : nl.addresses(index))
            if (x.address == a) return x;
        return std::nullopt;
    };
    ASSERT_FALSE(find());
    nl.addAddress(index, a, c.prefix);
    const auto added = find();
    ASSERT_TRUE(added);
    EXPECT_EQ(added->prefixLength, c.prefix);
    EXPECT_EQ(added->ifindex, index);
    if (a.isV6()) {
        EXPECT_TRUE(added->flags & IFA_F_NODAD);
        EXPECT_FALSE(added->flags & IFA_F_TENTATIVE) << "usable at once";
    }
    for (const auto& x : nl.addresses(index, a.isV6() ? AF_INET : AF_INET6)) EXPECT_NE(x.address, a) << "other family";
    try {
        nl.addAddress(index, a, c.prefix);
        FAIL() << "added twice";
    } catch (const std::system_error& e) {
        EXPECT_EQ(e.code().value(), EEXIST);
        const std::string text = e.what();
        EXPECT_NE(text.find(c.address), std::string::npos) << text;
        EXPECT_NE(text.find("'" + lab->nsA + "'"), std::string::npos) << text;
    }
    nl.removeAddress(index, a, c.prefix);
    EXPECT_FALSE(find());
    EXPECT_THROW(nl.removeAddress(index, a, c.prefix), std::system_error);
    EXPECT_THROW(nl.addAddress(index, a, a.isV6() ? 129 : 33), std::system_error);
}

INSTANTIATE_TEST_SUITE_P(Cases, NetnsAddresses,
                         ::testing::Values(AddressCase{"10.99.0.1", 24}, AddressCase{"10.99.1.1", 32},
                                           AddressCase{"2001:db8:99::1", 64}, AddressCase{"fe80::99", 128}));

// Host addresses with no subnet between them: only the on-link host routes
// make the other end reachable. Then TCP across, with MD5 keys per case.
struct Md5Case {
    const char* name;
    bool v6;
    const char* clientKey;
    const char* serverKey;
    bool connects;
};

class NetnsTcp : public Netns, public ::testing::WithParamInterface<Md5Case> {
protected:
    struct Ends {
        IpAddress a, b;
    };
    static Ends plumb(bool v6) {
        Ends e{ip(v6 ? "2001:db8:77::1" : "10.77.0.1"), ip(v6 ? "2001:db8:77::2" : "10.77.0.2")};
        if (lab->plumbed[v6]) return e;
        lab->plumbed[v6] = true;
        Netlink na(lab->nsA), nb(lab->nsB);
        const int ia = na.link(lab->ifA)->index, ib = nb.link(lab->ifB)->index;
        na.setLinkUp(ia, true);
        nb.setLinkUp(ib, true);
        const int host = v6 ? 128 : 32;
        na.addAddress(ia, e.a, host);
        nb.addAddress(ib, e.b, host);
        na.addHostRoute(ia, e.b);
        nb.addHostRoute(ib, e.a);
        return e;
    }
};

TEST_P(NetnsTcp, ConnectsAcrossTheVethOnlyWithMatchingKeys) {
    const auto& c = GetParam();
    const Ends e = plumb(c.v6);
    engine::Reactor r;
    engine::Fd listenFd = engine::tcpListen(lab->nsB, e.b, 0);
    if (*c.serverKey) engine::setMd5Key(listenFd.get(), e.a, c.serverKey);
    std::unique_ptr<engine::TcpConnection> server;
    engine::TcpListener listener(r, std::move(listenFd), [&](engine::Fd fd, const engine::SockAddr& peer) {
        EXPECT_EQ(peer.address(), e.a);
        server = engine::TcpConnection::adopt(r, std::move(fd));
    });
    engine::TcpOptions o;
    o.local = e.a;
    o.md5Key = c.clientKey;
    auto client = engine::TcpConnection::connect(r, engine::tcpConnect(lab->nsA, e.b, listener.address().port(), o));
    std::optional<std::error_code> result;
    client->onConnected = [&](std::error_code ec) { result = ec; };
    // A segment with a wrong or missing signature is dropped: the connect
    // would only time out, so a short look is enough.
    r.runUntil([&] { return result && server; }, c.connects ? 3000ms : 400ms);
    if (!c.connects) {
        EXPECT_FALSE(server);
        EXPECT_FALSE(result && !*result) << "connected without matching keys";
        return;
    }
    ASSERT_TRUE(result && !*result && server);
    std::string got;
    server->onData = [&](engine::Stream::Bytes b) { got.append(b.begin(), b.end()); };
    client->send("OPEN", 4);
    r.runUntil([&] { return got.size() >= 4; }, 2s);
    EXPECT_EQ(got, "OPEN");
}

INSTANTIATE_TEST_SUITE_P(Cases, NetnsTcp,
                         ::testing::Values(Md5Case{"V4NoKeys", false, "", "", true},
                                           Md5Case{"V4SameKey", false, "secret", "secret", true},
                                           Md5Case{"V4WrongKey", false, "secret", "Secret", false},
                                           Md5Case{"V4ClientWithoutKey", false, "", "secret", false},
                                           Md5Case{"V4ServerWithoutKey", false, "secret", "", false},
                                           Md5Case{"V6SameKey", true, "k6", "k6", true},
                                           Md5Case{"V6WrongKey", true, "k6", "k7", false}),
                         [](const auto& info) { return info.param.name; });

TEST_F(Netns, WithoutTheHostRouteThePeerIsUnreachable) {
    Netlink na(lab->nsA);
    const int ia = na.link(lab->ifA)->index;
    na.setLinkUp(ia, true);
    const IpAddress self = ip("10.66.0.1"), other = ip("10.66.0.2");
    na.addAddress(ia, self, 32);
    engine::TcpOptions o;
    o.local = self;
    auto reach = [&] {
        try {
            engine::tcpConnect(lab->nsA, other, 179, o);
            return true;
        } catch (const std::system_error& e) {
            EXPECT_EQ(e.code().value(), ENETUNREACH) << e.what();
            return false;
        }
    };
    EXPECT_FALSE(reach());
    na.addHostRoute(ia, other);
    EXPECT_TRUE(reach()) << "a route now: the connect is under way";
    EXPECT_THROW(na.addHostRoute(ia, other), std::system_error) << "exists";
    na.removeHostRoute(ia, other);
    EXPECT_FALSE(reach());
    EXPECT_THROW(na.removeHostRoute(ia, other), std::system_error);
    na.removeAddress(ia, self, 32);
}

}  // namespace

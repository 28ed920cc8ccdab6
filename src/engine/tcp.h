// TCP for speakers: sockets made inside a namespace, their options, and a
// buffered connection and a listener on the reactor.
//
// Every socket is non-blocking. An IPv6 socket is IPV6_V6ONLY, so that an
// IPv4 and an IPv6 listener can share a port. Failures throw
// std::system_error naming what was asked (and the namespace).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/fd.h"
#include "engine/ip.h"
#include "engine/reactor.h"
#include "engine/sockaddr.h"
#include "engine/stream.h"

namespace engine {

struct TcpOptions {
    std::optional<IpAddress> local;  // source address of a connect
    uint16_t localPort = 0;
    int ttl = 0;         // IPv4 TTL or IPv6 hop limit of sent packets; 0 leaves the kernel's
    int minTtl = 0;      // setMinTtl when above 0
    std::string md5Key;  // RFC 2385 signature with the peer (connect) when not empty
    bool noDelay = true;
    uint32_t scopeId = 0;  // for IPv6 link-local addresses
};

// Starts a non-blocking connect from inside the namespace; the connection
// completes on the reactor (TcpConnection::connect).
Fd tcpConnect(const std::string& netns, const IpAddress& remote, uint16_t port, const TcpOptions& options = {});
// A listening socket bound to local:port (SO_REUSEADDR). Give each peer's
// MD5 key with setMd5Key on it; accepted connections inherit the keys.
Fd tcpListen(const std::string& netns, const IpAddress& local, uint16_t port, int backlog = 64, uint32_t scopeId = 0);

void setTtl(int fd, int ttl);  // IPv4 TTL or IPv6 hop limit, from the socket's family
// Drops received segments whose TTL (hop limit) is below minTtl: a peer one
// hop away that sends with 255 passes with 255 (RFC 5082); 0 turns it off.
void setMinTtl(int fd, int minTtl);
// Requires the peer's segments to carry this key (at most 80 bytes); an
// empty key removes the requirement.
void setMd5Key(int fd, const IpAddress& peer, std::string_view key);
void setNoDelay(int fd, bool on);
// The pending error of a socket (SO_ERROR).
std::error_code socketError(int fd);

class TcpConnection final : public Stream {
public:
    // Takes a connecting socket (from tcpConnect); onConnected reports.
    static std::unique_ptr<TcpConnection> connect(Reactor& reactor, Fd fd);
    // Takes a connected socket (from a listener).
    static std::unique_ptr<TcpConnection> adopt(Reactor& reactor, Fd fd);
    ~TcpConnection() override;

    bool send(Bytes bytes) override;
    using Stream::send;
    void close() override;
    void abort() override;
    void pauseReading(bool paused) override;
    // Known once connected; kept after the stream is closed.
    SockAddr localAddress() const override { return local_; }
    SockAddr peerAddress() const override { return peer_; }

    int fd() const { return fd_.get(); }

private:
    TcpConnection(Reactor& reactor, Fd fd, State state);
    void onEvents(uint32_t events);
    bool readSome();   // false when *this is gone
    bool writeSome();  // false when *this is gone
    void updateInterest();
    void shut();
    void fail(std::error_code ec);  // closes, then onClosed (or onConnected while connecting)
    void learnAddresses();

    Reactor& reactor_;
    Fd fd_;
    std::vector<uint8_t> out_;
    size_t outHead_ = 0;
    bool paused_ = false;
    uint32_t interest_ = 0;
    SockAddr local_, peer_;
};

class TcpListener {
public:
    using AcceptHandler = std::function<void(Fd fd, const SockAddr& peer)>;
    TcpListener(Reactor& reactor, Fd fd, AcceptHandler onAccept);
    ~TcpListener();
    TcpListener(const TcpListener&) = delete;
    TcpListener& operator=(const TcpListener&) = delete;
    int fd() const { return fd_.get(); }
    SockAddr address() const { return localAddress(fd_.get()); }

private:
    Reactor& reactor_;
    Fd fd_;
    AcceptHandler onAccept_;
    std::shared_ptr<bool> token_ = std::make_shared<bool>(true);
};

}  // namespace engine

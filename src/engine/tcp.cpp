#include "engine/tcp.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "engine/netns.h"

namespace engine {

namespace {

[[noreturn]] void throwErrno(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

void setInt(int fd, int level, int name, int value, const char* what) {
    if (::setsockopt(fd, level, name, &value, sizeof value) < 0) throwErrno(what);
}

int familyOf(int fd) {
    sockaddr_storage ss{};
    socklen_t len = sizeof ss;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&ss), &len) < 0) throwErrno("getsockname");
    return ss.ss_family;
}

std::string inNetns(const std::string& netns) { return netns.empty() ? "" : " in network namespace '" + netns + "'"; }

constexpr size_t kReadChunk = 64 << 10;
constexpr int kReadsPerTurn = 16;  // then other descriptors get their turn

}  // namespace

// ---------------------------------------------------------------- options

void setTtl(int fd, int ttl) {
    if (familyOf(fd) == AF_INET6) setInt(fd, IPPROTO_IPV6, IPV6_UNICAST_HOPS, ttl, "set IPv6 hop limit");
    else setInt(fd, IPPROTO_IP, IP_TTL, ttl, "set IPv4 TTL");
}

void setMinTtl(int fd, int minTtl) {
    if (familyOf(fd) == AF_INET6) setInt(fd, IPPROTO_IPV6, IPV6_MINHOPCOUNT, minTtl, "set IPv6 minimum hop limit");
    else setInt(fd, IPPROTO_IP, IP_MINTTL, minTtl, "set IPv4 minimum TTL");
}

void setMd5Key(int fd, const IpAddress& peer, std::string_view key) {
    tcp_md5sig sig{};
    if (key.size() > sizeof sig.tcpm_key)
        throw std::system_error(EINVAL, std::generic_category(), "TCP MD5 key longer than 80 bytes");
    const SockAddr addr = SockAddr::of(peer, 0);
    std::memcpy(&sig.tcpm_addr, &addr.storage, addr.length);
    sig.tcpm_keylen = uint16_t(key.size());
    std::memcpy(sig.tcpm_key, key.data(), key.size());
    if (::setsockopt(fd, IPPROTO_TCP, TCP_MD5SIG, &sig, sizeof sig) < 0)
        throwErrno("set TCP MD5 key for " + peer.toString());
}

void setNoDelay(int fd, bool on) { setInt(fd, IPPROTO_TCP, TCP_NODELAY, on ? 1 : 0, "set TCP_NODELAY"); }

std::error_code socketError(int fd) {
    int err = 0;
    socklen_t len = sizeof err;
    if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &len) < 0) err = errno;
    return {err, std::generic_category()};
}

// ---------------------------------------------------------------- sockets

Fd tcpConnect(const std::string& netns, const IpAddress& remote, uint16_t port, const TcpOptions& options) {
    const SockAddr to = SockAddr::of(remote, port, options.scopeId);
    const std::string what = "connect to " + to.toString() + inNetns(netns);
    if (options.local && options.local->family != remote.family)
        throw std::system_error(EINVAL, std::generic_category(), what + ": local address of another family");
    Fd fd(socketIn(netns, remote.family, SOCK_STREAM | SOCK_NONBLOCK, 0));
    if (remote.isV6()) setInt(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, 1, "set IPV6_V6ONLY");
    if (options.ttl > 0) setTtl(fd.get(), options.ttl);
    if (options.minTtl > 0) setMinTtl(fd.get(), options.minTtl);
    if (!options.md5Key.empty()) setMd5Key(fd.get(), remote, options.md5Key);
    if (options.noDelay) setNoDelay(fd.get(), true);
    if (options.local || options.localPort) {
        setInt(fd.get(), SOL_SOCKET, SO_REUSEADDR, 1, "set SO_REUSEADDR");
        IpAddress any;
        any.family = remote.family;
        const SockAddr from = SockAddr::of(options.local.value_or(any), options.localPort, options.scopeId);
        if (::bind(fd.get(), from.get(), from.length) < 0) throwErrno(what + ": bind " + from.toString());
    }
    if (::connect(fd.get(), to.get(), to.length) < 0 && errno != EINPROGRESS) throwErrno(what);
    return fd;
}

Fd tcpListen(const std::string& netns, const IpAddress& local, uint16_t port, int backlog, uint32_t scopeId) {
    const SockAddr at = SockAddr::of(local, port, scopeId);
    const std::string what = "listen on " + at.toString() + inNetns(netns);
    Fd fd(socketIn(netns, local.family, SOCK_STREAM | SOCK_NONBLOCK, 0));
    setInt(fd.get(), SOL_SOCKET, SO_REUSEADDR, 1, "set SO_REUSEADDR");
    if (local.isV6()) setInt(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, 1, "set IPV6_V6ONLY");
    if (::bind(fd.get(), at.get(), at.length) < 0) throwErrno(what + ": bind");
    if (::listen(fd.get(), backlog) < 0) throwErrno(what);
    return fd;
}

// ---------------------------------------------------------------- connection

TcpConnection::TcpConnection(Reactor& reactor, Fd fd, State state) : reactor_(reactor), fd_(std::move(fd)) {
    state_ = state;
    if (state_ == State::kOpen) learnAddresses();
    updateInterest();
}

void TcpConnection::learnAddresses() {
    local_.length = peer_.length = sizeof(sockaddr_storage);
    if (::getsockname(fd_.get(), reinterpret_cast<sockaddr*>(&local_.storage), &local_.length) < 0) local_ = {};
    if (::getpeername(fd_.get(), reinterpret_cast<sockaddr*>(&peer_.storage), &peer_.length) < 0) peer_ = {};
}

std::unique_ptr<TcpConnection> TcpConnection::connect(Reactor& reactor, Fd fd) {
    return std::unique_ptr<TcpConnection>(new TcpConnection(reactor, std::move(fd), State::kConnecting));
}

std::unique_ptr<TcpConnection> TcpConnection::adopt(Reactor& reactor, Fd fd) {
    return std::unique_ptr<TcpConnection>(new TcpConnection(reactor, std::move(fd), State::kOpen));
}

TcpConnection::~TcpConnection() {
    if (fd_) reactor_.unwatch(fd_.get());
}

void TcpConnection::updateInterest() {
    if (!fd_) return;
    uint32_t want = 0;
    if (state_ == State::kConnecting) {
        want = kWritable;
    } else {
        if (state_ == State::kOpen && !paused_) want |= kReadable;
        if (outHead_ < out_.size()) want |= kWritable;
    }
    if (!reactor_.watching(fd_.get())) {
        reactor_.watch(fd_.get(), want, [this](uint32_t events) { onEvents(events); });
    } else if (want != interest_) {
        reactor_.modify(fd_.get(), want);
    }
    interest_ = want;
}

void TcpConnection::shut() {
    if (fd_) {
        reactor_.unwatch(fd_.get());
        fd_.reset();
    }
    state_ = State::kClosed;
    out_.clear();
    outHead_ = 0;
    queued_ = 0;
}

void TcpConnection::fail(std::error_code ec) {
    const State was = state_;
    shut();
    if (was == State::kClosing) return;  // the owner closed: no handler
    auto& handler = was == State::kConnecting ? onConnected : onClosed;
    if (handler) handler(ec);
}

void TcpConnection::onEvents(uint32_t events) {
    const Alive a = alive();
    if (state_ == State::kConnecting) {
        if (const std::error_code ec = socketError(fd_.get())) return fail(ec);
        if (!(events & kWritable)) return;
        state_ = State::kOpen;
        learnAddresses();
        updateInterest();
        if (onConnected) onConnected({});
        return;
    }
    if (paused_ && (events & (kHangup | kError)) && !(events & kWritable)) {
        // Nothing to do until reading resumes; a hang-up would be reported
        // at every turn meanwhile.
        reactor_.unwatch(fd_.get());
        interest_ = 0;
        return;
    }
    if ((events & kWritable) && !writeSome()) return;
    if (!still(a) || !fd_) return;
    if (state_ == State::kOpen && !paused_ && (events & (kReadable | kHangup | kError))) readSome();
    else if (state_ == State::kClosing && (events & (kHangup | kError))) shut();
}

bool TcpConnection::readSome() {
    const Alive a = alive();
    uint8_t buffer[kReadChunk];
    for (int i = 0; i < kReadsPerTurn && state_ == State::kOpen && !paused_; ++i) {
        const ssize_t n = ::recv(fd_.get(), buffer, sizeof buffer, 0);
        if (n > 0) {
            if (onData) onData(Bytes(buffer, size_t(n)));
            if (!still(a)) return false;
            continue;
        }
        if (n == 0) {
            fail({});
            return false;
        }
        if (errno == EINTR) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) break;
        fail({errno, std::generic_category()});
        return false;
    }
    return true;
}

bool TcpConnection::writeSome() {
    while (fd_ && outHead_ < out_.size()) {
        const ssize_t n = ::send(fd_.get(), out_.data() + outHead_, out_.size() - outHead_, MSG_NOSIGNAL);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (errno == EAGAIN || errno == EWOULDBLOCK) break;
            fail({errno, std::generic_category()});
            return false;
        }
        outHead_ += size_t(n);
        if (outHead_ == out_.size()) {
            out_.clear();
            outHead_ = 0;
        } else if (outHead_ > (64 << 10) && outHead_ * 2 > out_.size()) {
            out_.erase(out_.begin(), out_.begin() + std::ptrdiff_t(outHead_));
            outHead_ = 0;
        }
        if (!removeQueued(size_t(n))) return false;
    }
    if (state_ == State::kClosing && outHead_ == out_.size()) {
        shut();
        return false;
    }
    updateInterest();
    return true;
}

bool TcpConnection::send(Bytes bytes) {
    if (state_ != State::kOpen && state_ != State::kConnecting) return false;
    if (!fits(bytes.size())) return false;
    if (bytes.empty()) return true;
    size_t written = 0;
    if (state_ == State::kOpen && outHead_ == out_.size()) {
        // Straight to the kernel when nothing waits; an error shows at the
        // next turn through the descriptor's events.
        const ssize_t n = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) written = size_t(n);
    }
    if (written == bytes.size()) return true;
    out_.insert(out_.end(), bytes.begin() + std::ptrdiff_t(written), bytes.end());
    updateInterest();
    addQueued(bytes.size() - written);
    return true;
}

void TcpConnection::close() {
    if (state_ == State::kClosed || state_ == State::kClosing) return;
    if (state_ == State::kConnecting || outHead_ == out_.size()) return shut();
    state_ = State::kClosing;
    updateInterest();
}

void TcpConnection::abort() {
    if (fd_) {
        const linger reset{1, 0};  // a reset, not a graceful close
        ::setsockopt(fd_.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    }
    shut();
}

void TcpConnection::pauseReading(bool paused) {
    paused_ = paused;
    updateInterest();
}

// ---------------------------------------------------------------- listener

TcpListener::TcpListener(Reactor& reactor, Fd fd, AcceptHandler onAccept)
    : reactor_(reactor), fd_(std::move(fd)), onAccept_(std::move(onAccept)) {
    reactor_.watch(fd_.get(), kReadable, [this](uint32_t) {
        const std::weak_ptr<bool> alive = token_;
        for (int i = 0; i < 64; ++i) {
            SockAddr peer;
            peer.length = sizeof peer.storage;
            const int c = ::accept4(fd_.get(), reinterpret_cast<sockaddr*>(&peer.storage), &peer.length,
                                    SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (c < 0) {
                if (errno == EINTR || errno == ECONNABORTED) continue;
                return;  // EAGAIN, or out of descriptors: try at the next turn
            }
            onAccept_(Fd(c), peer);
            if (alive.expired()) return;
        }
    });
}

TcpListener::~TcpListener() { reactor_.unwatch(fd_.get()); }

}  // namespace engine

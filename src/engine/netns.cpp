#include "engine/netns.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <thread>

#include "engine/fd.h"

namespace engine {

namespace {

std::string pathOf(const std::string& name) { return "/run/netns/" + name; }

[[noreturn]] void fail(const std::string& netns, int err, const std::string& what) {
    const std::string where = netns.empty() ? "the process's network namespace" : "network namespace '" + netns + "'";
    throw std::system_error(err, std::generic_category(), where + ": " + what);
}

}  // namespace

bool validNetnsName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

bool netnsExists(const std::string& name) { return validNetnsName(name) && ::access(pathOf(name).c_str(), F_OK) == 0; }

void runInNetnsVoid(const std::string& netns, const std::function<void()>& fn) {
    if (netns.empty()) return fn();
    if (!validNetnsName(netns)) fail(netns, EINVAL, "not a namespace name");
    // Opened here so that a missing namespace fails before a thread is made.
    Fd nsfd(::open(pathOf(netns).c_str(), O_RDONLY | O_CLOEXEC));
    if (!nsfd) fail(netns, errno, "open " + pathOf(netns));
    std::exception_ptr error;
    std::thread helper([&] {
        try {
            if (::setns(nsfd.get(), CLONE_NEWNET) < 0) fail(netns, errno, "setns");
            fn();
        } catch (...) {
            error = std::current_exception();
        }
    });
    helper.join();
    if (error) std::rethrow_exception(error);
}

int socketIn(const std::string& netns, int domain, int type, int protocol) {
    return runInNetns(netns, [&] {
        const int fd = ::socket(domain, type | SOCK_CLOEXEC, protocol);
        if (fd < 0) fail(netns, errno, "socket");
        return fd;
    });
}

}  // namespace engine

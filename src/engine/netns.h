// Sockets in other network namespaces without moving the process: a short
// helper thread enters /run/netns/NAME with setns(), does its work there
// (creates a socket, opens a netlink socket) and ends; a socket keeps the
// namespace it was made in. An empty name means the process's own namespace
// and needs no thread.
//
// Failures throw std::system_error whose text names the namespace, e.g.
// "network namespace 'lab1': open /run/netns/lab1: No such file or directory".
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace engine {

// A name that `ip netns` could have made: not empty, no '/', not "." or "..".
bool validNetnsName(const std::string& name);
bool netnsExists(const std::string& name);

// Runs fn on a thread inside the namespace and waits for it. An exception
// of fn comes out here.
void runInNetnsVoid(const std::string& netns, const std::function<void()>& fn);

template <class F>
auto runInNetns(const std::string& netns, F&& fn) -> std::invoke_result_t<F&> {
    using R = std::invoke_result_t<F&>;
    if constexpr (std::is_void_v<R>) {
        runInNetnsVoid(netns, fn);
    } else {
        std::optional<R> result;
        runInNetnsVoid(netns, [&] { result.emplace(fn()); });
        return std::move(*result);
    }
}

// socket(2) in the namespace; SOCK_CLOEXEC is always added. Returns the
// descriptor, which the caller owns.
int socketIn(const std::string& netns, int domain, int type, int protocol);

}  // namespace engine

// Describes the seven methods of a named collection in one line:
//
//   describeCollection<&TCLRipServer::routers>(c, "Router", "routerId", "clearAllRouters");
//
// gives addRouter, delRouter, getRouter, setRouter, getFirstRouter,
// getNextRouter and clearAllRouters (the clear method keeps the name its
// class gives it: clearAllRouteRange, clearAllLsaGroups ...).
#pragma once

#include <string>
#include <type_traits>
#include <utility>

#include "binding/describe.h"
#include "core/collection.h"

namespace zk {

template <auto Member>
struct CollectionMethods;

template <class T, class C, C T::*Member>
struct CollectionMethods<Member> {
    static int add(T& t, std::string name) { return (t.*Member).add(name); }
    static int del(T& t, std::string name) { return (t.*Member).del(name); }
    static int get(T& t, std::string name) { return (t.*Member).get(name); }
    static int set(T& t, std::string name) { return (t.*Member).set(name); }
    static int getFirst(T& t) { return (t.*Member).getFirst(); }
    static int getNext(T& t) { return (t.*Member).getNext(); }
    static int clearAll(T& t) { return (t.*Member).clearAll(); }
};

template <auto Member, class T>
void describeCollection(binding::ClassDesc<T>& c, const std::string& kind, const char* argName,
                        const char* clearName) {
    using M = CollectionMethods<Member>;
    c.method(("add" + kind).c_str(), &M::add, argName);
    c.method(("del" + kind).c_str(), &M::del, binding::optional(argName));
    c.method(("get" + kind).c_str(), &M::get, argName);
    c.method(("set" + kind).c_str(), &M::set, binding::optional(argName));
    c.method(("getFirst" + kind).c_str(), &M::getFirst);
    c.method(("getNext" + kind).c_str(), &M::getNext);
    c.method(clearName, &M::clearAll);
}

// A port server with one list, its routers, and no options of its own:
// constructed with the staging router, it has setDefault, select, set,
// get, the router collection, write and generateStreams, in that order.
template <auto Routers, class T>
void describeRouterServer(binding::ClassDesc<T>& c, const char* stagingArg) {
    using Router = std::remove_pointer_t<decltype((std::declval<T&>().*Routers).staging())>;
    c.template constructor<Router*>(stagingArg);
    c.method("setDefault", &T::setDefault);
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("set", &T::set);
    c.method("get", &T::get);
    describeCollection<Routers>(c, "Router", "routerLocalId", "clearAllRouters");
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
}

}  // namespace zk

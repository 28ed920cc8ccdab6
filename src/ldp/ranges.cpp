#include "ldp/ranges.h"

#include "core/span.h"
#include "ldp/common.h"

namespace zk {

namespace {

// Whether `count` networks of the prefix length, one after the other from
// the first, stay within the IPv4 address space.
bool prefixesFit(const LdpFecPrefixOptions& o) {
    return !ipv4(o.networkAddress) || networksFit(o.networkAddress, o.prefixLength, o.numberOfNetworks);
}

// The lines both ranges begin with; `T` names itself in the messages.
template <class T>
void describeFecPrefixes(binding::ClassDesc<T>& c, const std::string& className) {
    using R = typename T::Record;
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("networkAddress", &T::networkAddress).check(ipv4).maps(&R::network);
    c.option("prefixLength", &T::prefixLength).check(range(0, 32)).maps(&R::prefixLength);
    c.option("numberOfNetworks", &T::numberOfNetworks)
        .check(atLeast(1))
        .check(prefixesFit, className + "::Validate()   numberOfNetworks runs past the address space from networkAddress.")
        .maps(&R::count);
}

}  // namespace

static binding::Describe<TCLLdpAdvertiseFecRange> describeLdpAdvertiseFecRange("TCLLdpAdvertiseFecRange", [](auto& c) {
    using T = TCLLdpAdvertiseFecRange;
    using R = hal::ELdpAdvertiseFecRange;
    c.constructor();
    describeFecPrefixes(c, "TCLLdpAdvertiseFecRange");
    c.option("labelMode", &T::labelMode).check(boolean).maps(&R::labelMode);
    c.option("firstLabel", &T::firstLabel)
        .check(ldp::validLabel)
        .check([](const T& t) { return ldp::labelsFit(t.labelMode, t.firstLabel, t.numberOfNetworks); },
               "TCLLdpAdvertiseFecRange::Validate()   numberOfNetworks runs past the label space from firstLabel.")
        .maps(&R::firstLabel);
    c.method("setDefault", &T::setDefault);
});

static binding::Describe<TCLLdpRequestFecRange> describeLdpRequestFecRange("TCLLdpRequestFecRange", [](auto& c) {
    using T = TCLLdpRequestFecRange;
    using R = hal::ELdpRequestFecRange;
    c.constructor();
    describeFecPrefixes(c, "TCLLdpRequestFecRange");
    c.option("peerAddress", &T::peerAddress).check(ipv4).maps(&R::peer);
    c.option("hopCount", &T::hopCount).check(range(0, 255)).maps(&R::hopCount);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk

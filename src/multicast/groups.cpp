#include "multicast/groups.h"

#include <climits>

#include "binding/collection_methods.h"
#include "binding/learned.h"
#include "binding/learned_methods.h"

namespace zk {
namespace mcast {

template <class F>
constexpr Protocol groupProtocol() {
    return F::v6 ? Protocol::Mld : Protocol::Igmp;
}

template <class F>
GroupServer<F>::GroupServer(Host<F>* pHost, LearnedGroup<F>* pLearnedGroup)
    : Server<hal::EGroupServer<F>>(groupProtocol<F>()), hosts(this, pHost), learnedGroups(pLearnedGroup) {
    setDefault();
}

template <class F>
void GroupServer<F>::setDefault() {
    binding::loadOptions(*this, hal::EGroupServer<F>{});
    hosts.resetCursor();
    learnedGroups.forget();
    numberOfLearnedGroups = 0;
}

template <class F>
int GroupServer<F>::set() {
    auto* c = this->config();
    if (!c) return kNoPort;
    if (!binding::validate(*this)) return kFail;
    binding::storeOptions(*this, *c);
    return kOk;
}

// get asks only that the port exists: an unavailable port still reads.
template <class F>
int GroupServer<F>::get() {
    Port* port = currentPort();
    if (!port) return kNoPort;
    binding::loadOptions(*this, this->configAt(*port));
    return kOk;
}

template <class F>
const char* serverName() {
    return F::v6 ? "TCLMldServer" : "TCLIgmpServer";
}

template class GroupServer<hal::IgmpFamily>;
template class GroupServer<hal::MldFamily>;

// ---- descriptions ----

template <class F>
void describeSourceRange(binding::ClassDesc<SourceRange<F>>& c) {
    using T = SourceRange<F>;
    using R = hal::EGroupSourceRange<F>;
    const std::string name = c.record().name;
    c.constructor();
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("sourceAddress", &T::sourceAddress)
        .check([](const std::string& s) { return unicastAddress(s, F::v6); })
        .maps(&R::firstSource);
    c.option("numberOfSources", &T::numberOfSources)
        .check(range(1, 65535))
        .check([](const T& t) { return rangeFits(t.sourceAddress, t.numberOfSources, 1, F::v6, Space::Unicast); },
               name + "::Validate()   numberOfSources sources from sourceAddress leave the unicast addresses.")
        .maps(&R::count);
    c.method("setDefault", &T::setDefault);
}

// Whether any group range of the host has sources: only IGMPv3 and MLDv2
// carry them.
template <class F>
bool hasSources(const hal::EGroupHost<F>& host) {
    bool any = false;
    host.groupRanges.ForEach([&](const hal::EGroupRange<F>& g) { any = any || g.sourceRanges.Size() > 0; });
    return any;
}

template <class F>
void describeGroupRange(binding::ClassDesc<GroupRange<F>>& c) {
    using T = GroupRange<F>;
    using R = hal::EGroupRange<F>;
    const std::string name = c.record().name;
    c.template constructor<SourceRange<F>*>(F::v6 ? "pMldSourceRange" : "pIgmpSourceRange");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    c.option("groupAddress", &T::groupAddress)
        .checkWith([name](const T& t, Checks& k) { checkGroupAddress(k, name, "groupAddress", t.groupAddress, F::v6); })
        .maps(&R::firstGroup);
    c.option("numberOfGroups", &T::numberOfGroups).check(range(1, 65535)).maps(&R::count);
    c.option("groupAddressStep", &T::groupAddressStep)
        .check(atLeast(1))
        .check(
            [](const T& t) {
                return rangeFits(t.groupAddress, t.numberOfGroups, t.groupAddressStep, F::v6, Space::Groups);
            },
            name + "::Validate()   numberOfGroups groups from groupAddress by groupAddressStep leave " +
                groupSpace(F::v6) + ".")
        .maps(&R::step);
    // An include list without sources asks for nothing: it is a leave.
    c.option("sourceMode", &T::sourceMode)
        .check(range(0, 1))
        .check([](const T& t) { return t.sourceMode != hal::kSourceModeInclude || t.work().sourceRanges.Size() > 0; },
               name + "::Validate()   multicastSourceModeInclude needs at least one source range.")
        .maps(&R::sourceMode);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::sourceRanges>(c, "SourceRange", "sourceRangeId", "clearAllSourceRanges");
}

template <class F>
void describeHost(binding::ClassDesc<Host<F>>& c) {
    using T = Host<F>;
    using R = hal::EGroupHost<F>;
    const std::string name = c.record().name;
    c.template constructor<GroupRange<F>*>(F::v6 ? "pMldGroupRange" : "pIgmpGroupRange");
    c.option("enable", &T::enable).check(boolean).maps(&R::enabled);
    if constexpr (F::v6) c.option("linkLocalAddress", &T::hostAddress).check(linkLocalAddress).maps(&R::address);
    else
        c.option("hostIpAddress", &T::hostAddress)
            .check([](const std::string& s) { return unicastAddress(s, false); })
            .maps(&R::address);
    c.option("numberOfHosts", &T::numberOfHosts).check(range(1, 65535)).maps(&R::count);
    c.option("hostAddressStep", &T::hostAddressStep)
        .check(atLeast(1))
        .check(
            [](const T& t) {
                return rangeFits(t.hostAddress, t.numberOfHosts, t.hostAddressStep, F::v6,
                                 F::v6 ? Space::LinkLocal : Space::Unicast);
            },
            name + "::Validate()   numberOfHosts hosts from " + (F::v6 ? "linkLocalAddress" : "hostIpAddress") +
                " by hostAddressStep leave " + (F::v6 ? "fe80::/10." : "the unicast addresses."))
        .maps(&R::step);
    c.option("version", &T::version)
        .check(range(1, F::lastVersion))
        .check([](const T& t) { return t.version >= F::lastVersion || !hasSources(t.work()); },
               name + "::Validate()   Source ranges need version " + (F::v6 ? "mldVersion2." : "igmpHostVersion3."))
        .maps(&R::version);
    c.option("reportMode", &T::reportMode).check(range(0, 2)).maps(&R::reportMode);
    c.option("unsolicitedReportInterval", &T::unsolicitedReportInterval)
        .check(range(1, 65535))
        .maps(&R::unsolicitedReportInterval);
    c.option("enableRouterAlert", &T::enableRouterAlert).check(boolean).maps(&R::routerAlert);
    c.option("enableGeneralQueryResponse", &T::enableGeneralQueryResponse)
        .check(boolean)
        .maps(&R::generalQueryResponse);
    c.method("setDefault", &T::setDefault);
    describeCollection<&T::groupRanges>(c, "GroupRange", "groupRangeId", "clearAllGroupRanges");
}

// A learned group's sources: unicast addresses of the family, a Tcl list
// kept in their canonical text; nullopt for anything else.
template <class F>
std::optional<std::string> learnedSources(const std::string& text) {
    int n;
    const char** items;
    if (Tcl_SplitList(nullptr, text.c_str(), &n, &items) != TCL_OK) return std::nullopt;
    std::string canonical;
    bool good = true;
    for (int i = 0; i < n && good; ++i) {
        good = unicastAddress(items[i], F::v6);
        if (good) canonical += (i ? " " : "") + anyAddress(items[i]).ToString();
    }
    Tcl_Free(reinterpret_cast<char*>(items));
    if (!good) return std::nullopt;
    return canonical;
}

template <class F>
void describeLearnedGroup(binding::ClassDesc<LearnedGroup<F>>& c) {
    using T = LearnedGroup<F>;
    using R = hal::EMulticastLearnedGroup;
    auto address = [](const std::string& text) { return F::v6 ? ipv6(text) : ipv4(text); };
    c.constructor();
    c.readOnly("groupAddress", &T::groupAddress).maps(&R::group).learned([](const std::string& text) {
        return multicastAddress(text, F::v6);
    });
    c.readOnly("querierAddress", &T::querierAddress).maps(&R::querier).learned(address);
    c.readOnly("version", &T::version).maps(&R::version).learned(range(1, F::lastVersion));
    c.readOnly("sourceMode", &T::sourceMode).maps(&R::sourceMode).learned(boolean);
    c.readOnly("sources", &T::sources)
        .mapsVia([](const std::string& text) { return learnedSources<F>(text).value_or(""); },
                 [](const std::string& text) { return text; }, &R::sources)
        .learned([](const std::string& text) { return learnedSources<F>(text).has_value(); });
    c.readOnly("groupTimer", &T::groupTimer).maps(&R::groupTimer).learned(range(0, UINT32_MAX));
    c.method("setDefault", &T::setDefault);
}

template <class F>
void describeServer(binding::ClassDesc<GroupServer<F>>& c) {
    using T = GroupServer<F>;
    using R = hal::EGroupServer<F>;
    c.template constructor<Host<F>*, LearnedGroup<F>*>(F::v6 ? "pMldHost" : "pIgmpHost",
                                                       F::v6 ? "pMldLearnedGroup" : "pIgmpLearnedGroup");
    // RFC 3376 4.1.6 and RFC 3810 5.1.8: the QRV field is three bits.
    c.option("robustnessVariable", &T::robustnessVariable).check(range(1, 7)).maps(&R::robustness);
    // The largest values the exponential codes of the queries carry.
    c.option("queryInterval", &T::queryInterval).check(range(1, 31744)).maps(&R::queryInterval);
    c.option("queryResponseInterval", &T::queryResponseInterval)
        .check(range(1, F::v6 ? 8387584 : 31744))
        .maps(&R::queryResponseInterval);
    c.option("reportsPerSecond", &T::reportsPerSecond).check(range(0, 1000000)).maps(&R::reportsPerSecond);
    c.readOnly("numberOfLearnedGroups", &T::numberOfLearnedGroups);
    c.method("setDefault", &T::setDefault);
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("set", &T::set);
    c.method("get", &T::get);
    describeCollection<&T::hosts>(c, "Host", "hostId", "clearAllHosts");
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
    describeLearned<&T::learnedGroups, &T::numberOfLearnedGroups>(
        c, {.kind = F::v6 ? kMldGroupsKind : kIgmpGroupsKind,
            .key = [](const T&) { return std::string(); },
            .request = "requestLearnedGroups",
            .list = "getLearnedGroupList",
            .first = "getFirstLearnedGroup",
            .next = "getNextLearnedGroup",
            .noneYet = "No learned groups have arrived yet.",
            .noMore = "No more learned groups."});
}

// ---- zkchassis::learn igmpGroups / mldGroups C D P groupList ----

// `zkchassis::learn igmpGroups|mldGroups C D P groupList`: the groups the
// port's hosts take part in, of the family's addresses.
template <class F>
void registerLearnedGroups() {
    learn::registerItems<hal::EMulticastLearnedGroup>(F::v6 ? kMldGroupsKind : kIgmpGroupsKind,
                                                      F::v6 ? Protocol::Mld : Protocol::Igmp, "groupList", nullptr,
                                                      "group", binding::learnedItems<LearnedGroup<F>>());
}

}  // namespace mcast

static binding::Describe<TCLIgmpSourceRange> describeIgmpSourceRange("TCLIgmpSourceRange",
                                                                     [](auto& c) { mcast::describeSourceRange(c); });
static binding::Describe<TCLIgmpGroupRange> describeIgmpGroupRange("TCLIgmpGroupRange",
                                                                   [](auto& c) { mcast::describeGroupRange(c); });
static binding::Describe<TCLIgmpHost> describeIgmpHost("TCLIgmpHost", [](auto& c) { mcast::describeHost(c); });
static binding::Describe<TCLIgmpLearnedGroup> describeIgmpLearnedGroup("TCLIgmpLearnedGroup",
                                                                       [](auto& c) { mcast::describeLearnedGroup(c); });
static binding::Describe<TCLIgmpServer> describeIgmpServer("TCLIgmpServer", [](auto& c) { mcast::describeServer(c); });
static binding::Describe<TCLMldSourceRange> describeMldSourceRange("TCLMldSourceRange",
                                                                   [](auto& c) { mcast::describeSourceRange(c); });
static binding::Describe<TCLMldGroupRange> describeMldGroupRange("TCLMldGroupRange",
                                                                 [](auto& c) { mcast::describeGroupRange(c); });
static binding::Describe<TCLMldHost> describeMldHost("TCLMldHost", [](auto& c) { mcast::describeHost(c); });
static binding::Describe<TCLMldLearnedGroup> describeMldLearnedGroup("TCLMldLearnedGroup",
                                                                     [](auto& c) { mcast::describeLearnedGroup(c); });
static binding::Describe<TCLMldServer> describeMldServer("TCLMldServer", [](auto& c) { mcast::describeServer(c); });

namespace {
struct RegisterLearnedMulticastGroups {
    RegisterLearnedMulticastGroups() {
        mcast::registerLearnedGroups<hal::IgmpFamily>();
        mcast::registerLearnedGroups<hal::MldFamily>();
    }
} registerLearnedMulticastGroups;
}  // namespace

}  // namespace zk

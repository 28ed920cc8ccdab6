// IGMP and MLD: the port-level server, the emulated hosts, the group
// ranges they join and the source ranges of IGMPv3/MLDv2 group records.
// The two protocols differ only in the address family, their versions and
// the unit of one interval, so each class is one template over the family
// (hal::IgmpFamily, hal::MldFamily) under two names:
//
//   TCLIgmpServer  TCLIgmpHost  TCLIgmpGroupRange  TCLIgmpSourceRange  TCLIgmpLearnedGroup
//   TCLMldServer   TCLMldHost   TCLMldGroupRange   TCLMldSourceRange   TCLMldLearnedGroup
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/port_server.h"
#include "hal/multicast.h"
#include "multicast/common.h"

namespace zk {

namespace mcast {

template <class F>
class SourceRange : public binding::Staged<SourceRange<F>, hal::EGroupSourceRange<F>> {
public:
    SourceRange() { this->setDefault(); }

    int enable;
    std::string sourceAddress;
    int numberOfSources;
};

template <class F>
class GroupRange : public binding::Staged<GroupRange<F>, hal::EGroupRange<F>> {
public:
    explicit GroupRange(SourceRange<F>* pSourceRange) : sourceRanges(this, pSourceRange) { this->setDefault(); }

    int enable;
    std::string groupAddress;
    int numberOfGroups;
    int groupAddressStep;
    int sourceMode;

    ChildList<SourceRange<F>, &hal::EGroupRange<F>::sourceRanges> sourceRanges;
};

template <class F>
class Host : public binding::Staged<Host<F>, hal::EGroupHost<F>> {
public:
    explicit Host(GroupRange<F>* pGroupRange) : groupRanges(this, pGroupRange) { this->setDefault(); }

    int enable;
    std::string hostAddress;  // IGMP: hostIpAddress; MLD: linkLocalAddress
    int numberOfHosts;
    int hostAddressStep;
    int version;
    int reportMode;
    int unsolicitedReportInterval;
    int enableRouterAlert;
    int enableGeneralQueryResponse;

    ChildList<GroupRange<F>, &hal::EGroupHost<F>::groupRanges> groupRanges;
};

// A group as the querier of the port's link keeps it; read-only.
template <class F>
class LearnedGroup : public binding::Staged<LearnedGroup<F>, hal::EMulticastLearnedGroup> {
public:
    LearnedGroup() { this->setDefault(); }

    std::string groupAddress;
    std::string querierAddress;
    int version;
    int sourceMode;
    std::string sources;
    unsigned groupTimer;
};

template <class F>
class GroupServer : public Server<hal::EGroupServer<F>> {
public:
    GroupServer(Host<F>* pHost, LearnedGroup<F>* pLearnedGroup);

    int robustnessVariable;
    int queryInterval;
    int queryResponseInterval;
    int reportsPerSecond;
    int numberOfLearnedGroups;

    ServerList<Host<F>, &hal::EGroupServer<F>::hosts> hosts;

    void setDefault();
    int set();
    int get();
    // The groups the querier of the port's link keeps (the description
    // declares the methods).
    LearnedWalk<hal::EMulticastLearnedGroup, LearnedGroup<F>> learnedGroups;
};

}  // namespace mcast

using TCLIgmpSourceRange = mcast::SourceRange<hal::IgmpFamily>;
using TCLIgmpGroupRange = mcast::GroupRange<hal::IgmpFamily>;
using TCLIgmpHost = mcast::Host<hal::IgmpFamily>;
using TCLIgmpLearnedGroup = mcast::LearnedGroup<hal::IgmpFamily>;
using TCLIgmpServer = mcast::GroupServer<hal::IgmpFamily>;
using TCLMldSourceRange = mcast::SourceRange<hal::MldFamily>;
using TCLMldGroupRange = mcast::GroupRange<hal::MldFamily>;
using TCLMldHost = mcast::Host<hal::MldFamily>;
using TCLMldLearnedGroup = mcast::LearnedGroup<hal::MldFamily>;
using TCLMldServer = mcast::GroupServer<hal::MldFamily>;

// `zkchassis::learn igmpGroups C D P groupList` (mldGroups for MLD) files
// what the querier of the port's link keeps, per port.
inline constexpr const char* kIgmpGroupsKind = "igmpGroups";
inline constexpr const char* kMldGroupsKind = "mldGroups";

}  // namespace zk

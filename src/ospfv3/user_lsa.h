// OSPFv3 user LSAs: LSAs that a script builds field by field and an
// emulated router advertises as they are, one class per LSA type, kept in
// named lists of a user LSA group. Prefixes and the interface descriptions
// of router LSAs are items of their LSA.
#pragma once

#include <string>

#include "binding/staged.h"
#include "core/collection.h"
#include "hal/ospfv3.h"

namespace zk {

// One prefix of a link or intra-area-prefix LSA.
class TCLOspfV3LsaPrefix : public binding::Staged<TCLOspfV3LsaPrefix, hal::EOSPFv3LSAPrefix> {
public:
    TCLOspfV3LsaPrefix() { setDefault(); }

    std::string prefixAddress;
    int prefixLength;
    int prefixOptions;
    int metric;
};

// One interface description of a router LSA.
class TCLOspfV3RouterLsaInterface
    : public binding::Staged<TCLOspfV3RouterLsaInterface, hal::EOSPFv3RouterLSAInterface> {
public:
    TCLOspfV3RouterLsaInterface() { setDefault(); }

    int type;
    int metric;
    int interfaceId;
    int neighborInterfaceId;
    std::string neighborRouterId;
};

// The header fields every LSA class has.
struct OspfV3LsaHeader {
    std::string linkStateId;
    std::string advertisingRouterId;
    unsigned sequenceNumber = 0;
    int lsaAge = 0;
};

// The prefix of the LSA types that carry exactly one.
struct OspfV3OnePrefix {
    std::string prefixAddress;
    int prefixLength = 0;
    int prefixOptions = 0;
};

class TCLOspfV3RouterLsa : public binding::Staged<TCLOspfV3RouterLsa, hal::EOSPFv3RouterLSA>, public OspfV3LsaHeader {
public:
    explicit TCLOspfV3RouterLsa(TCLOspfV3RouterLsaInterface* pOspfV3RouterLsaInterface);

    int routerBits;
    int options;

    ChildList<TCLOspfV3RouterLsaInterface, &hal::EOSPFv3RouterLSA::interfaces> interfaces;
};

class TCLOspfV3NetworkLsa : public binding::Staged<TCLOspfV3NetworkLsa, hal::EOSPFv3NetworkLSA>,
                            public OspfV3LsaHeader {
public:
    TCLOspfV3NetworkLsa() { setDefault(); }

    int options;
    std::string attachedRouters;  // Tcl list of router IDs
};

class TCLOspfV3InterAreaPrefixLsa
    : public binding::Staged<TCLOspfV3InterAreaPrefixLsa, hal::EOSPFv3InterAreaPrefixLSA>,
      public OspfV3LsaHeader,
      public OspfV3OnePrefix {
public:
    TCLOspfV3InterAreaPrefixLsa() { setDefault(); }

    int metric;
};

class TCLOspfV3InterAreaRouterLsa
    : public binding::Staged<TCLOspfV3InterAreaRouterLsa, hal::EOSPFv3InterAreaRouterLSA>,
      public OspfV3LsaHeader {
public:
    TCLOspfV3InterAreaRouterLsa() { setDefault(); }

    int options;
    int metric;
    std::string destinationRouterId;
};

class TCLOspfV3AsExternalLsa : public binding::Staged<TCLOspfV3AsExternalLsa, hal::EOSPFv3ASExternalLSA>,
                               public OspfV3LsaHeader,
                               public OspfV3OnePrefix {
public:
    TCLOspfV3AsExternalLsa() { setDefault(); }

    int metric;
    int externalMetricType;
    std::string forwardingAddress;
    unsigned externalRouteTag;
    int referencedLsType;
    std::string referencedLinkStateId;
};

class TCLOspfV3LinkLsa : public binding::Staged<TCLOspfV3LinkLsa, hal::EOSPFv3LinkLSA>, public OspfV3LsaHeader {
public:
    explicit TCLOspfV3LinkLsa(TCLOspfV3LsaPrefix* pOspfV3LsaPrefix);

    int routerPriority;
    int options;
    std::string linkLocalAddress;

    ChildList<TCLOspfV3LsaPrefix, &hal::EOSPFv3LinkLSA::prefixes> prefixes;
};

class TCLOspfV3IntraAreaPrefixLsa
    : public binding::Staged<TCLOspfV3IntraAreaPrefixLsa, hal::EOSPFv3IntraAreaPrefixLSA>,
      public OspfV3LsaHeader {
public:
    explicit TCLOspfV3IntraAreaPrefixLsa(TCLOspfV3LsaPrefix* pOspfV3LsaPrefix);

    int referencedLsType;
    std::string referencedLinkStateId;
    std::string referencedAdvertisingRouterId;

    ChildList<TCLOspfV3LsaPrefix, &hal::EOSPFv3IntraAreaPrefixLSA::prefixes> prefixes;
};

class TCLOspfV3UserLsaGroup : public binding::Staged<TCLOspfV3UserLsaGroup, hal::EOSPFv3UserLSAGroup> {
    using G = hal::EOSPFv3UserLSAGroup;

public:
    TCLOspfV3UserLsaGroup(TCLOspfV3RouterLsa* pOspfV3RouterLsa, TCLOspfV3NetworkLsa* pOspfV3NetworkLsa,
                          TCLOspfV3InterAreaPrefixLsa* pOspfV3InterAreaPrefixLsa,
                          TCLOspfV3InterAreaRouterLsa* pOspfV3InterAreaRouterLsa,
                          TCLOspfV3AsExternalLsa* pOspfV3AsExternalLsa, TCLOspfV3LinkLsa* pOspfV3LinkLsa,
                          TCLOspfV3IntraAreaPrefixLsa* pOspfV3IntraAreaPrefixLsa);

    int enable;
    int areaId;
    std::string description;

    ChildList<TCLOspfV3RouterLsa, &G::routerLsas> routerLsas;
    ChildList<TCLOspfV3NetworkLsa, &G::networkLsas> networkLsas;
    ChildList<TCLOspfV3InterAreaPrefixLsa, &G::interAreaPrefixLsas> interAreaPrefixLsas;
    ChildList<TCLOspfV3InterAreaRouterLsa, &G::interAreaRouterLsas> interAreaRouterLsas;
    ChildList<TCLOspfV3AsExternalLsa, &G::asExternalLsas> asExternalLsas;
    ChildList<TCLOspfV3LinkLsa, &G::linkLsas> linkLsas;
    ChildList<TCLOspfV3IntraAreaPrefixLsa, &G::intraAreaPrefixLsas> intraAreaPrefixLsas;
};

}  // namespace zk

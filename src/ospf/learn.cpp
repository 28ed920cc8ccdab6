// zkchassis::learn ospfLsas C D P interfaceIp lsaList: what a port learned
// for one interface address, each element of lsaList a list of -option
// value pairs of TCLOspfUserLsa.
#include "binding/option_list.h"
#include "core/learn_input.h"
#include "ospf/interface.h"

namespace zk {
namespace {

// An LSA is what a user LSA with these options would send.
std::string readLearnedLsa(Tcl_Obj* element, const std::string&, hal::EOSPFUserLSA& record) {
    TCLOspfUserLsa lsa;
    std::string error;
    if (!binding::configureFromList(binding::classOf<TCLOspfUserLsa>(), lsa, element, error)) return error;
    const std::string savedError = lastError();  // the chassis never touches the module's last error
    if (lsa.ToRecord(record) == kOk) return "";
    error = lastError();
    setLastError(savedError);
    return error;
}

struct RegisterLearnedLsas {
    RegisterLearnedLsas() {
        learn::registerItems<hal::EOSPFUserLSA>(kOspfLsasKind, Protocol::Ospf, "interfaceIp lsaList", &learn::kIpv4Key,
                                                "LSA", readLearnedLsa);
    }
} registerLearnedLsas;

}  // namespace
}  // namespace zk

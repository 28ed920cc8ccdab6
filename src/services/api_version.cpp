// TCLAPIVersion: which host interface and which package a script runs
// against, read-only.
#include <string>

#include "binding/describe.h"
#include "core/host.h"
#include "core/host_interface.h"
#include "core/object.h"

namespace zk {

class TCLAPIVersion : public Object {
public:
    TCLAPIVersion() { setDefault(); }

    int apiVersion;             // what ProtocolTCLAPIVersion returns
    std::string packageVersion;  // of zkmainprotocol

    void setDefault() {
        apiVersion = ProtocolTCLAPIVersion();
        packageVersion = kPackageVersion;
    }
};

static binding::Describe<TCLAPIVersion> describeApiVersion("TCLAPIVersion", [](auto& c) {
    using T = TCLAPIVersion;
    c.constructor();
    c.readOnly("apiVersion", &T::apiVersion);
    c.readOnly("packageVersion", &T::packageVersion);
    c.method("setDefault", &T::setDefault);
});

}  // namespace zk

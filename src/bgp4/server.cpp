#include "bgp4/server.h"

#include "binding/collection_methods.h"

namespace zk {

TCLBgp4Server::TCLBgp4Server(TCLBgp4Neighbor* pBgpNeighbor) : Server(Protocol::Bgp4), neighbors(this, pBgpNeighbor) {
    setDefault();
}

// One default block for both: the external options are the internal ones
// without the AS number.
void TCLBgp4Server::setDefault() {
    binding::loadOptions(*this, hal::EBGPServer{});
    neighbors.resetCursor();
}

// The external block starts empty, so its AS number is the default one.
int TCLBgp4Server::set() {
    hal::EBGPServer* config = this->config();
    if (!config) return kNoPort;
    hal::EBGPServer staged;
    binding::storeOptions(*this, staged);
    config->SetInternalConfig(staged.GetInternalConfig());
    config->SetExternalConfig(staged.GetExternalConfig());
    return kOk;
}

int TCLBgp4Server::get() {
    Port* port = currentPort();
    if (!port) return kNoPort;
    binding::loadOptions(*this, configAt(*port));
    return kOk;
}

static binding::Describe<TCLBgp4Server> describeBgp4Server("TCLBgp4Server", [](auto& c) {
    using T = TCLBgp4Server;
    using R = hal::EBGPServer;
    using G = hal::EBGPGlobalConfig;
    c.template constructor<TCLBgp4Neighbor*>("pBgpNeighbor");
    // No checks: every value goes to the port as it stands (the AS number cut to 16 bits).
    c.option("internalLocalAsNum", &T::internalLocalAsNum).maps(&R::internal, &G::asNumberForIbgp);
    c.option("internalRetries", &T::internalRetries).maps(&R::internal, &G::connectRetries);
    c.option("internalRetryDelay", &T::internalRetryDelay).maps(&R::internal, &G::retryDelay);
    c.option("enableInternalActiveConnect", &T::enableInternalActiveConnect).maps(&R::internal, &G::activeConnect);
    c.option("enableInternalEstablishOnce", &T::enableInternalEstablishOnce).maps(&R::internal, &G::establishOnceOnly);
    c.option("externalRetries", &T::externalRetries).maps(&R::external, &G::connectRetries);
    c.option("externalRetryDelay", &T::externalRetryDelay).maps(&R::external, &G::retryDelay);
    c.option("enableExternalActiveConnect", &T::enableExternalActiveConnect).maps(&R::external, &G::activeConnect);
    c.option("enableExternalEstablishOnce", &T::enableExternalEstablishOnce).maps(&R::external, &G::establishOnceOnly);
    c.method("setDefault", &T::setDefault);
    c.method("select", &T::select, "chasID", "cardID", "portID");
    c.method("set", &T::set);
    c.method("get", &T::get);
    c.method("write", &T::write);
    c.method("generateStreams", &T::generateStreams, "chasID", "cardID", "portID", binding::optional("action"));
    describeCollection<&T::neighbors>(c, "Neighbor", "neighborId", "clearAllNeighbors");
});

}  // namespace zk

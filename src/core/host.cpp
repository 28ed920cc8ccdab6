#include "core/host.h"

#include "core/host_interface.h"
#include "core/learn_input.h"
#include "core/port.h"

namespace zk {
namespace {

struct HostLog {
    void (*log)(void*, const char*) = nullptr;
    void* context = nullptr;
};
HostLog& hostLogSink() {
    static HostLog sink;
    return sink;
}

// A port that takes commands: 0, or the code with the message set.
int commandPort(const char* where, int c, int d, int p, Port*& port) {
    port = findPort(c, d, p);
    if (port && port->available) return kOk;
    setLastErrorf("%s   Port %d/%d/%d not available.", where, c, d, p);
    return kNoPort;
}

constexpr const char* kSendCommand = "TCLProtocolServer::sendCommand()";
constexpr const char* kEnableStatistics = "TCLProtocolServer::enableStatistics()";

int apiVersionEntry() { return ProtocolTCLAPIVersion(); }
int sendCommandEntry(int c, int d, int p, int command) { return sendPortCommand(c, d, p, command); }
int enableStatisticsEntry(int c, int d, int p, const char* protocol, int enable) {
    if (!protocol) {
        setLastErrorf("%s   Unknown protocol \"\".", kEnableStatistics);
        return kFail;
    }
    return enablePortStatistics(c, d, p, protocol, enable);
}

}  // namespace

void hostLog(const std::string& message) {
    const HostLog& sink = hostLogSink();
    if (sink.log) sink.log(sink.context, message.c_str());
}

int sendPortCommand(int c, int d, int p, int command) {
    Port* port;
    if (int r = commandPort(kSendCommand, c, d, p, port)) return r;
    const CommandCode* code = findCommandCode(command);
    if (!code) {
        setLastErrorf("%s   Unknown command code %d.", kSendCommand, command);
        return kFail;
    }
    if (!port->isLicensed(code->protocol)) {
        setLastErrorf("%s   %s is not licensed on port %s.", kSendCommand, protocolTitle(code->protocol),
                      portName(*port));
        return kNotLicensed;
    }
    if (port->writeFails) {
        setLastErrorf("%s   The command could not be sent to port %s.", kSendCommand, portName(*port));
        return kFail;
    }
    port->command(*code);
    return kOk;
}

int enablePortStatistics(int c, int d, int p, const std::string& protocol, int enable) {
    Port* port;
    if (int r = commandPort(kEnableStatistics, c, d, p, port)) return r;
    auto which = protocolFromName(protocol);
    if (!which) {
        setLastErrorf("%s   Unknown protocol \"%s\".", kEnableStatistics, protocol.c_str());
        return kFail;
    }
    port->enableStatistics(*which, enable != 0);
    return kOk;
}

int portAnswers(const char* where, const Port& port, const char* kind) {
    const learn::Kind* owner = learn::findKind(kind);
    auto reason = owner ? port.refusesToAnswer(owner->protocol, owner->statistics) : std::nullopt;
    if (!reason) return kOk;
    setLastErrorf("%s   %s", where, reason->c_str());
    return kFail;
}

}  // namespace zk

extern "C" int ProtocolTCLAPIVersion(void) { return 0; }

extern "C" int InitProtocols(ZkProtocolHostTable* table) {
    if (!table) {
        zk::setLastError("invalid pointer passed to InitProtocols");
        return zk::kFail;
    }
    if (table->version != unsigned(ProtocolTCLAPIVersion())) {
        zk::setLastError("invalid version passed to InitProtocols");
        return zk::kFail;
    }
    if (!table->log) {
        zk::setLastError("invalid pointer passed to InitProtocols");
        return zk::kFail;
    }
    zk::hostLogSink() = {table->log, table->logContext};
    table->apiVersion = zk::apiVersionEntry;
    table->sendCommand = zk::sendCommandEntry;
    table->enableStatistics = zk::enableStatisticsEntry;
    return zk::kOk;
}

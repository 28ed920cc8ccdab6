#include "chassis/port.h"

#include <atomic>
#include <cstdio>
#include <fstream>

#include "chassis/lab.h"

namespace chassis {

namespace {
constexpr const char* kProtocolNames[kProtocolCount] = {"igmp", "ospf",  "bgp4", "isis",   "rsvp",  "rip",
                                                        "ldp",  "ripng", "mld",  "ospfv3", "pimsm", "stp"};
}

const char* protocolName(Protocol p) { return kProtocolNames[size_t(p)]; }

const char* protocolTitle(Protocol p) {
    static constexpr const char* kTitles[kProtocolCount] = {"IGMP", "OSPF",  "BGP-4", "IS-IS",  "RSVP-TE", "RIP",
                                                            "LDP",  "RIPng", "MLD",   "OSPFv3", "PIM-SM",  "STP"};
    return kTitles[size_t(p)];
}

std::optional<Protocol> protocolFromName(std::string_view name) {
    for (int i = 0; i < kProtocolCount; ++i)
        if (name == kProtocolNames[i]) return Protocol(i);
    return std::nullopt;
}

std::string PortId::key() const {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%d.%d.%d", chassis, card, port);
    return buf;
}

std::string PortId::text() const {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%d/%d/%d", chassis, card, port);
    return buf;
}

namespace {
uint64_t nextGeneration() {
    static std::atomic<uint64_t> g{1};
    return g++;
}
}  // namespace

Port::Port(PortId pid) : id(pid), generation(nextGeneration()), name(pid.text()) {
    for (int i = 0; i < kProtocolCount; ++i) {
        licensed.insert(Protocol(i));
        statistics.insert(Protocol(i));
    }
}

const ProtocolInterface* Port::findInterface(std::string_view description) const {
    for (const auto& i : interfaces)
        if (i.description == description) return &i;
    return nullptr;
}

int Port::limitGrid(int requested) const {
    if (gridLimit > 0 && requested > gridLimit) return gridLimit;
    return requested;
}

hal::Json Port::servicesJson() const {
    hal::Json j;
    j["ArpResponse"] = arpResponse;
    j["PingResponse"] = pingResponse;
    hal::Json protocols = hal::Json::object();
    for (int i = 0; i < kProtocolCount; ++i) {
        const Holder& h = holders_[size_t(i)];
        protocols[kProtocolNames[i]] = {{"ServiceEnabled", h.serviceEnabled}, {"CreateInterface", h.createInterface}};
    }
    j["Protocols"] = protocols;
    return j;
}

std::string Port::staged(std::string_view protocol, int indent) const {
    if (protocol == "services") return servicesJson().dump(indent);
    auto p = protocolFromName(protocol);
    if (!p) return "";
    const EConfigRoot* c = holder(*p).config();
    return c ? configText(*c, indent) : "";
}

std::string Port::configText(const EConfigRoot& config, int indent) {
    std::string text;
    hal::JsonWriter w(text, indent);
    config.WriteJson(w);
    return text;
}

bool Port::send(std::string_view protocol, const hal::Json& config) {
    return store(protocol, config.dump(), [&] { return config.dump(2); });
}

bool Port::send(std::string_view protocol, const EConfigRoot& config) {
    return store(protocol, configText(config, -1), [&] { return configText(config, 2); });
}

bool Port::store(std::string_view protocol, std::string text, const std::function<std::string()>& pretty) {
    if (writeFails) return false;
    if (tracing) trace("config " + std::string(protocol) + " " + text);
    written_[std::string(protocol)] = std::move(text);
    Lab& lab = Lab::instance();
    if (!lab.captureDir.empty()) {
        char name[128];
        std::snprintf(name, sizeof name, "/%06llu-%d.%d.%d-%.*s.json",
                      static_cast<unsigned long long>(++lab.captureSequence), id.chassis, id.card, id.port,
                      int(protocol.size()), protocol.data());
        std::ofstream out(lab.captureDir + name);
        out << pretty() << '\n';
        out.close();
        if (!out) lab.log("capture of " + std::string(protocol) + " on port " + id.text() + " failed: " +
                          lab.captureDir + name + " could not be written");
    }
    return true;
}

const std::string& Port::written(std::string_view protocol) const {
    static const std::string nothing;
    auto it = written_.find(protocol);
    return it == written_.end() ? nothing : it->second;
}

}  // namespace chassis

#include "core/equipment.h"

#include <atomic>
#include <cstdio>

#include "hal/json.h"

namespace zk {

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

class NoEquipment : public Equipment {
public:
    Port* find(const PortId&) override { return nullptr; }
    int deliverReplies() override { return 0; }
};

Equipment*& installed() {
    static NoEquipment none;
    static Equipment* e = &none;
    return e;
}
}  // namespace

Port::Port(PortId pid) : id(pid), generation(nextGeneration()), name(pid.text()) {
    for (const ProtocolRow& r : protocolTable()) licensed.insert(r.protocol);
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
    for (const ProtocolRow& r : protocolTable()) {
        const Holder& h = holder(r.protocol);
        protocols[r.name] = {{"ServiceEnabled", h.serviceEnabled}, {"CreateInterface", h.createInterface}};
    }
    j["Protocols"] = protocols;
    return j;
}

std::string configText(const hal::EConfigRoot& config, int indent) {
    std::string text;
    hal::JsonWriter w(text, indent);
    config.WriteJson(w);
    return text;
}

std::string Port::staged(std::string_view protocol, int indent) const {
    if (protocol == "services") return servicesJson().dump(indent);
    auto p = protocolFromName(protocol);
    if (!p) return "";
    const hal::EConfigRoot* c = holder(*p).config();
    return c ? configText(*c, indent) : "";
}

void installEquipment(Equipment* e) {
    static NoEquipment none;
    installed() = e ? e : &none;
}

Equipment& equipment() { return *installed(); }

}  // namespace zk

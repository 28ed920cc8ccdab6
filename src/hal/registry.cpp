#include "hal/registry.h"

namespace hal {
namespace {
std::vector<RecordInfo>& all() {
    static auto* r = new std::vector<RecordInfo>;
    return *r;
}
}  // namespace

void registerRecord(const char* name, Json (*defaults)(), std::map<std::string, std::string> (*docs)()) {
    all().push_back({name, defaults, docs});
}
const std::vector<RecordInfo>& records() { return all(); }

}  // namespace hal

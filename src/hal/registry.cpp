#include "hal/registry.h"

#include <algorithm>
#include <tuple>

#include "hal/json.h"

namespace hal {
namespace {
struct Registered {
    std::string file;
    unsigned line;
    RecordInfo info;
};
std::vector<Registered>& registered() {
    static auto* r = new std::vector<Registered>;
    return *r;
}
}  // namespace

void registerRecord(std::source_location where, RecordInfo info) {
    registered().push_back({where.file_name(), unsigned(where.line()), info});
}

Json RecordInfo::defaults() const { return Json::parse(defaultsText()); }

const std::vector<RecordInfo>& records() {
    static const auto* all = [] {
        auto regs = registered();
        std::sort(regs.begin(), regs.end(),
                  [](const Registered& a, const Registered& b) { return std::tie(a.file, a.line) < std::tie(b.file, b.line); });
        auto* v = new std::vector<RecordInfo>;
        for (const Registered& r : regs) v->push_back(r.info);
        return v;
    }();
    return *all;
}

}  // namespace hal

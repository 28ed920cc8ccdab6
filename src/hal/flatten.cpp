#include "hal/flatten.h"

namespace hal {
namespace {
void flatten(const Json& j, const std::string& key, std::vector<std::pair<std::string, std::string>>& rows) {
    if (j.is_object() && !j.empty()) {
        for (const auto& [k, v] : j.items()) flatten(v, key.empty() ? k : key + "." + k, rows);
    } else {
        rows.emplace_back(key, j.dump());
    }
}
}  // namespace

std::vector<std::pair<std::string, std::string>> flattenFields(const Json& record) {
    std::vector<std::pair<std::string, std::string>> rows;
    flatten(record, "", rows);
    return rows;
}

}  // namespace hal

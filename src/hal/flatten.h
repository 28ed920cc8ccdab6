// A record's JSON as rows of the defaults table: one row per field, nested
// records as dotted keys ("Timers.Hello"), lists and empty records as their
// JSON text ("[]", "{}"), values as JSON text ("0", "\"0.0.0.0\"").
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hal/json.h"

namespace hal {

std::vector<std::pair<std::string, std::string>> flattenFields(const Json& record);

}  // namespace hal

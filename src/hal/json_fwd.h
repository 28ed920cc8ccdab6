// The name of the JSON document type, for a declaration that passes one
// (a port's services settings, a record's defaults) without parsing the
// document library. Whoever builds, reads or prints a document includes
// hal/json.h. Records write their JSON through hal/json_writer.h.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace hal {

using Json = nlohmann::ordered_json;

}  // namespace hal

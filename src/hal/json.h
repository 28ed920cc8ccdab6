// The JSON document type, to build, read or print a document: the port's
// services settings, the emulated chassis' indented copies, the defaults
// table of docs/. Records write their JSON through hal/json_writer.h and
// need none of this.
#pragma once

#include <nlohmann/json.hpp>

#include "hal/basic.h"
#include "hal/json_fwd.h"

namespace hal {

// The document form of any record or value the writer knows, for tests and
// the documentation tools.
template <class T>
    requires Record<T> || requires(JsonWriter& w, const T& v) { writeJson(w, v); }
void to_json(Json& j, const T& v) {
    j = Json::parse(jsonText(v));
}

}  // namespace hal

// Every HAL record type registers itself with its name, so the defaults
// table in docs/ is generated from default-constructed records:
//
//   static hal::RegisterRecord<ERIPRouter> registerRouter("ERIPRouter");
#pragma once

#include <vector>

#include "hal/basic.h"

namespace hal {

struct RecordInfo {
    const char* name;
    Json (*defaults)();  // JSON of a default-constructed record
};

void registerRecord(const char* name, Json (*defaults)());
const std::vector<RecordInfo>& records();  // in registration order

template <class R>
struct RegisterRecord {
    explicit RegisterRecord(const char* name) {
        registerRecord(name, [] { return Json(R{}); });
    }
};

}  // namespace hal

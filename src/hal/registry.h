// Every HAL record type registers itself with its name, so the defaults
// table in docs/ is generated from default-constructed records:
//
//   static hal::RegisterRecord<ERIPRouter> registerRouter("ERIPRouter");
#pragma once

#include <map>
#include <string>
#include <vector>

#include "hal/basic.h"

namespace hal {

struct RecordInfo {
    const char* name;
    Json (*defaults)();                         // JSON of a default-constructed record
    std::map<std::string, std::string> (*docs)();  // field name -> its doc, from the field table
};

void registerRecord(const char* name, Json (*defaults)(), std::map<std::string, std::string> (*docs)());
const std::vector<RecordInfo>& records();  // in registration order

template <class R>
struct RegisterRecord {
    explicit RegisterRecord(const char* name) {
        registerRecord(
            name, [] { return Json::parse(jsonText(R{})); },
            [] {
                std::map<std::string, std::string> docs;
                forEachField<R>([&](const auto& f) { docs[f.name] = f.doc; });
                return docs;
            });
    }
};

}  // namespace hal

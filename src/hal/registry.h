// Every HAL record type registers itself with its name, so the defaults
// table in docs/ is generated from default-constructed records:
//
//   static hal::RegisterRecord<ERIPRouter> registerRouter("ERIPRouter");
#pragma once

#include <map>
#include <source_location>
#include <string>
#include <vector>

#include "hal/basic.h"
#include "hal/json_fwd.h"

namespace hal {

struct RecordInfo {
    const char* name;
    std::string (*defaultsText)();                 // JSON text of a default-constructed record
    std::map<std::string, std::string> (*docs)();  // field name -> its doc, from the field table
    Json defaults() const;                         // that text as a document
};

void registerRecord(std::source_location where, RecordInfo info);
// In the order of their registrations in the sources (file, then line),
// whatever order the files were linked or batched in.
const std::vector<RecordInfo>& records();

template <class R>
struct RegisterRecord {
    explicit RegisterRecord(const char* name, std::source_location where = std::source_location::current()) {
        registerRecord(where, {name, [] { return jsonText(R{}); },
                               [] {
                                   std::map<std::string, std::string> docs;
                                   forEachField<R>([&](const auto& f) { docs[f.name] = f.doc; });
                                   return docs;
                               }});
    }
};

}  // namespace hal

// Fresh identities for a record that is stored as a copy. A record loaded
// from a stored one and stored again (a neighbor got, changed and added
// under another name) brings the identities of the first one's children
// along; stored so, two children would answer to one identity. Every
// record in the copy's lists, at any depth, gets a new identity, and
// `Renamed` tells which old identity became which.
#pragma once

#include <cstdint>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "hal/basic.h"

namespace hal {

using Renamed = std::unordered_map<uint64_t, EComponentId>;

template <class T>
void renewIds(T& value, Renamed& renamed);

template <class Rec>
void renewIds(RecordList<Rec>& list, Renamed& renamed) {
    if (list.Size() == 0) return;
    RecordList<Rec> fresh;
    for (size_t i = 0; i < list.Size(); ++i) {
        Rec r = std::move(*list.At(i));
        uint64_t old = r.id.GetValue();
        renewIds(r, renamed);
        renamed.emplace(old, fresh.Add(std::move(r)));
    }
    list = std::move(fresh);
}

// The lists of a record, and those of the records it holds.
template <class T>
void renewIds(T& value, Renamed& renamed) {
    if constexpr (Record<T>) {
        forEachField<T>([&](const auto& f) {
            if constexpr (std::decay_t<decltype(f)>::stored) renewIds(value.*(f.member), renamed);
        });
    }
}

}  // namespace hal

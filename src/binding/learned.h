// What a port learned, read from `zkchassis::learn` the way a script reads
// it back: an item's -option value pairs name the learned options of the
// read-only class that shows it (`c.readOnly("holdTime", ...).maps(...)
// .learned(range(0, 65535))`), and the class's mappings make the record.
#pragma once

#include <string>

#include "binding/option_list.h"
#include "binding/staged.h"

namespace zk::binding {

// The reader of T's items: an item starts as `start`, takes the options
// given, and `finish` settles what depends on which were given.
template <class T, class R = typename T::Record>
learn::ItemReader<R> learnedItems(R start = {}, void (*finish)(R&, const learn::Given&) = nullptr) {
    return [start, finish](Tcl_Obj* element, const std::string&, R& item) -> std::string {
        T t;
        t.FromRecord(start);
        learn::Given given;
        if (std::string why = learnOptions(classOf<T>(), t, element, given); !why.empty()) return why;
        t.ToRecord(item);
        if (finish) finish(item, given);
        return "";
    };
}

}  // namespace zk::binding

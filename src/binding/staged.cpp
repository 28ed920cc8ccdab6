#include "binding/staged.h"

namespace zk::binding {

bool runChecks(const ClassRecord& cls, const Object& o) {
    Checks c;
    for (const CheckRecord& check : cls.checks) {
        check.run(o, c);
        if (c.stopped()) break;
    }
    return c.ok();
}

}  // namespace zk::binding

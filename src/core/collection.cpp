#include "core/collection.h"

namespace zk {

std::vector<ItemList> snapshotChildren(Object& parent) {
    std::vector<ItemList> names;
    for (CollectionBase* c : parent.childCollections()) names.push_back(c->snapshot());
    return names;
}

void restoreChildren(Object& parent, const std::vector<ItemList>& names) {
    auto lists = parent.childCollections();
    for (size_t i = 0; i < lists.size(); ++i) lists[i]->restore(i < names.size() ? names[i] : ItemList{});
}

void clearChildren(Object& parent) {
    for (CollectionBase* c : parent.childCollections()) c->clearQuiet();
}

}  // namespace zk

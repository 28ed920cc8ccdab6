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

void renameIds(std::vector<ItemList>& names, const hal::Renamed& renamed) {
    if (renamed.empty()) return;
    for (ItemList& list : names)
        list.forEach([&](const std::string&, ItemEntry& e) {
            if (auto it = renamed.find(e.id.GetValue()); it != renamed.end()) e.id = it->second;
            renameIds(e.children, renamed);
        });
}

}  // namespace zk

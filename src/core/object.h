// Root of every script-visible object.
//
// An object hands out weak references: a parent keeps its staging objects
// through Ref<T>, which yields null once the script has deleted the object,
// so a deleted staging object reads as a missing one instead of a crash.
#pragma once

#include <memory>
#include <vector>

namespace zk {

class CollectionBase;

class Object {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    std::weak_ptr<void> token() const { return alive_; }

    // The named child lists this object keeps, in the order they were
    // adopted (empty for leaf records).
    const std::vector<CollectionBase*>& childCollections() const { return lists_; }
    void adoptList(CollectionBase* list) { lists_.push_back(list); }

private:
    std::shared_ptr<char> alive_ = std::make_shared<char>(0);
    std::vector<CollectionBase*> lists_;
};

template <class T>
class Ref {
public:
    Ref() = default;
    Ref(T* p) : p_(p) {  // NOLINT(google-explicit-constructor): a Ref stands for a pointer
        if (p) alive_ = static_cast<const Object*>(p)->token();
    }
    T* get() const { return alive_.expired() ? nullptr : p_; }
    explicit operator bool() const { return get() != nullptr; }

private:
    T* p_ = nullptr;
    std::weak_ptr<void> alive_;
};

}  // namespace zk

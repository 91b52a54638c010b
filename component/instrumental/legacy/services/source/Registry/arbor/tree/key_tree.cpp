// Creation and destruction of a tree, moves of the current root, and steps among siblings.

#include "tree/key_tree.h"

#include "tree/next_sibling_cache.h"

namespace arbor::module {

KeyTree::~KeyTree() {
    NextSiblingCache::CacheFor(*this).InvalidateAll();
    if (owner != nullptr && top != nullptr) HostDelete<Key>{owner}(top);
}

ResultCode KeyTree::Start(const HostObject* object) {
    if (owner != nullptr) return kNotInitialised;
    owner = object;
    top = MakeInHost<Key>(owner, owner, std::string_view()).release();   // the destructor frees it
    current = top;
    return top != nullptr ? kDone : kOutOfMemory;
}

ResultCode KeyTree::MoveCurrentTo(const char* path) {
    if (top == nullptr) return kNotInitialised;
    if (path == nullptr) return kInvalidArgument;
    Key* found = *path == '\0' ? top : top->FindPath(path, nullptr);
    if (found == nullptr) return kNoSuchEntry;
    current = found;
    return kDone;
}

ResultCode KeyTree::MoveCurrentTo(KeyHandle handle) {
    if (top == nullptr) return kNotInitialised;
    if (handle == 0) {
        current = top;
        return kDone;
    }
    Key* wanted = reinterpret_cast<Key*>(handle);
    const Key* parent = nullptr;
    const ResultCode code = top->ParentOf(wanted, parent);
    if (code == kUnspecified) return kNoSuchEntry;
    if (IsSuccess(code)) current = wanted;
    return code;
}

ResultCode KeyTree::NextSibling(const Key* key, Key*& next) const {
    next = nullptr;
    if (top == nullptr || key == nullptr) return kNoKeyThere;
    NextSiblingCache& cache = NextSiblingCache::CacheFor(*this);
    const Key& root = *current;
    if (!cache.TryNextSibling(root, key, next)) {
        const Key* parent = nullptr;
        const ResultCode found = root.ParentOf(key, parent);
        if (found == kOutOfMemory) return found;   // `kNoKeyThere` would report the end of the siblings
        if (parent == nullptr || parent == key) return kNoKeyThere;
        next = parent->NextChild(*key);
        if (next != nullptr) cache.Add(root, *parent, *next);
    }
    return next != nullptr ? kDone : kNoKeyThere;
}

ResultCode KeyTree::PrepareRemoval(const Key* removed) {
    NextSiblingCache::CacheFor(*this).InvalidateAll();
    if (removed == nullptr || current == top) return kDone;
    const Key* parent = nullptr;
    const ResultCode code = removed->ParentOf(current, parent);
    if (code == kUnspecified) return kDone;
    if (IsSuccess(code)) current = top;
    return code;
}

void KeyTree::ClearCurrent() {
    NextSiblingCache::CacheFor(*this).InvalidateAll();
    current->Clear();
}

}   // namespace arbor::module

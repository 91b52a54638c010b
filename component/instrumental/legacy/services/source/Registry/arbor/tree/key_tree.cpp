#include "tree/key_tree.h"

#include "tree/sibling_places.h"

namespace arbor::module {

KeyTree::~KeyTree() {
    SiblingPlaces::Of(*this).Forget(*this);
    if (owner != nullptr && top != nullptr) HostDelete<Key>{owner}(top);
}

ResultCode KeyTree::Start(const HostObject* object) {
    if (owner != nullptr) return kNotInitialised;
    owner = object;
    top = MakeInHost<Key>(owner, owner, std::string_view()).release();   // the destructor takes it down
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
    SiblingPlaces& places = SiblingPlaces::Of(*this);
    const Key& root = *current;
    if (!places.Step(*this, root, key, next)) {
        const Key* parent = nullptr;
        const ResultCode found = root.ParentOf(key, parent);
        if (found == kOutOfMemory) return found;   // an end of the siblings would be a wrong answer
        if (parent == nullptr || parent == key) return kNoKeyThere;
        next = parent->NextChild(*key);
        if (next != nullptr) places.Remember(*this, root, *parent, *next);
    }
    return next != nullptr ? kDone : kNoKeyThere;
}

ResultCode KeyTree::PrepareRemoval(const Key* doomed) {
    SiblingPlaces::Of(*this).Forget(*this);
    if (doomed == nullptr || current == top) return kDone;
    const Key* parent = nullptr;
    const ResultCode code = doomed->ParentOf(current, parent);
    if (code == kUnspecified) return kDone;
    if (IsSuccess(code)) current = top;
    return code;
}

void KeyTree::ClearCurrent() {
    SiblingPlaces::Of(*this).Forget(*this);
    current->Clear();
}

}   // namespace arbor::module

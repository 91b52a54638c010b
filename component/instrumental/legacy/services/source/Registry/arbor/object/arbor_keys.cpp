// The methods of `Registry` that work on keys.

#include "object/arbor.h"
#include "object/copy_key_tree.h"
#include "object/method.h"
#include "tree/path.h"
#include "tree/value/buffer_contract.h"

namespace arbor::module {

namespace {

KeyHandle HandleOf(const Key* key) { return key != nullptr ? reinterpret_cast<KeyHandle>(key) : kNoKey; }

}   // namespace

ResultCode Arbor::OpenKey(KeyHandle* opened, KeyHandle parent, const char* path, std::uint32_t create) {
    const auto open = [&] {
        Key* key = nullptr;
        const ResultCode code = OpenKeyLocked(key, ResolveKey(parent), path, create != 0);
        SetOut(opened, HandleOf(key));
        return code;
    };
    const LockMode mode = create != 0 ? LockMode::Exclusive : LockMode::Shared;
    return RunLocked(mode, open, "arbor\tOpening key %s\\%s: %terr", kUnknownPath, path);
}

ResultCode Arbor::OpenKeyLocked(Key*& opened, Key* parent, const char* path, bool create) {
    if (parent == nullptr) return kNoKeyThere;
    if (path == nullptr) {
        opened = parent;
        return kDone;
    }
    if (!create || ReadOnly != 0) {
        opened = parent->FindPath(path, nullptr);
        if (opened != nullptr) return kDone;
        return create ? kReadOnlyObject : kNoSuchEntry;
    }
    std::uint32_t created = 0;
    opened = parent->OpenPath(path, &created);
    if (opened == nullptr) return kOutOfMemory;
    if (created == 0) return kDone;   // `created` is set only if the path's first key was added, not one below it
    MarkDirty();
    return kKeyCreated;
}

ResultCode Arbor::OpenKeyByIndex(KeyHandle* opened, KeyHandle parent, std::uint32_t index) {
    SetOut(opened, kNoKey);
    const auto open = [&](const Key& key) {
        const Key* child = key.ChildByIndex(index);
        SetOut(opened, HandleOf(child));
        return child != nullptr ? kDone : kNoSuchEntry;
    };
    return ReadKey<kNoSuchEntry>(parent, open, "arbor\t%s %d: %terr", "Arbor::OpenKeyByIndex", index);
}

ResultCode Arbor::OpenNextKey(KeyHandle* next, KeyHandle handle) {
    const auto open = [&] {
        Key* sibling = nullptr;
        const ResultCode code = tree.NextSibling(reinterpret_cast<const Key*>(handle), sibling);
        SetOut(next, HandleOf(sibling));
        return code;
    };
    return RunLocked(LockMode::Shared, open, kNameLine, "Arbor::OpenNextKey");
}

ResultCode Arbor::CloseKey(KeyHandle handle) {
    return RunLocked(
        LockMode::Shared, [] { return kDone; }, "arbor\tClosing key %x: %terr", Low32(handle));
}

ResultCode Arbor::GetKeyName(std::uint32_t* count, KeyHandle handle, char* buffer, std::uint32_t size,
                             std::uint32_t full) {
    const auto copy = [&](const Key& key) { return CopyKeyName(count, key, buffer, size, full != 0); };
    return ReadKey(handle, copy, "arbor\tGetting key name %d: %terr", Low32(handle));
}

ResultCode Arbor::GetKeyNameByIndex(std::uint32_t* count, KeyHandle parent, std::uint32_t index, char* buffer,
                                    std::uint32_t size, std::uint32_t full) {
    const auto copy = [&](const Key& key) {
        const Key* child = key.ChildByIndex(index);
        return child != nullptr ? CopyKeyName(count, *child, buffer, size, full != 0) : kNoSuchEntry;
    };
    return ReadKey<kNoSuchEntry>(parent, copy, "arbor\tGetting key name by index %d: %terr", index);
}

ResultCode Arbor::CopyKeyName(std::uint32_t* count, const Key& key, char* buffer, std::uint32_t size, bool full) const {
    if (full) return CopyPath(count, *tree.current, &key, buffer, size);
    return CopyBytesOut(key.Name().text, key.Name().length + 1, buffer, size, count);
}

ResultCode Arbor::CopyPath(std::uint32_t* count, const Key& start, const Key* target, char* buffer,
                           std::uint32_t size) {
    std::uint32_t length = 0;
    const ResultCode code = start.GetPath(target, buffer, size, length, kPathSeparator);
    SetOut(count, length);
    return code;
}

ResultCode Arbor::GetKeyCount(std::uint32_t* count, KeyHandle handle) {
    SetOut(count, 0);
    const auto read = [&](const Key& key) {
        SetOut(count, key.ChildCount());
        return kDone;
    };
    return ReadKey(handle, read, kNameLine, "Arbor::GetKeyCount");
}

ResultCode Arbor::DeleteKey(KeyHandle handle, const char* path) {
    const auto remove = [&](Key& key) {
        if (path == nullptr) return kInvalidArgument;
        Key* parent = nullptr;
        const Key* removed = key.FindPath(path, &parent);
        const ResultCode prepared = parent != nullptr ? tree.PrepareRemoval(removed) : kDone;
        return IsSuccess(prepared) ? key.RemovePath(path) : prepared;
    };
    return ChangeKey(handle, remove, "arbor\t%s %s: %terr", "Arbor::DeleteKey", path);
}

ResultCode Arbor::DeleteKeyByInd(KeyHandle handle, std::uint32_t index) {
    const auto remove = [&](Key& key) {
        const ResultCode prepared = tree.PrepareRemoval(key.ChildByIndex(index));
        return IsSuccess(prepared) ? key.RemoveChildAt(index) : prepared;
    };
    return ChangeKey(handle, remove, "arbor\t%s %d : %terr", "Arbor::DeleteKeyByInd", index);
}

ResultCode Arbor::Clean() {
    const auto clear = [&](Key&) {
        tree.ClearCurrent();
        return kDone;
    };
    return ChangeKey<kNotInitialised>(0, clear, kNameLine, "Arbor::Clean");
}

// The two copy methods write no trace line of their own. `CopyKeyTree` calls methods of both objects, which do.

ResultCode Arbor::CopyKey(KeyHandle source, HostObject* destination, KeyHandle destinationKey) {
    const LockGuard guard(lock, Synchronised, LockMode::Shared);
    return CopyKeyLocked(source, destination, destinationKey);
}

ResultCode Arbor::CopyKeyByName(const char* path, HostObject* destination) {
    const LockGuard guard(lock, Synchronised, LockMode::Shared);
    if (path == nullptr) return kInvalidArgument;
    KeyHandle source = kNoKey;
    const ResultCode opened = Registry(this).OpenKey(this, &source, 0, path, 0);
    return IsSuccess(opened) ? CopyKeyLocked(source, destination, 0) : opened;
}

ResultCode Arbor::CopyKeyLocked(KeyHandle source, HostObject* destination, KeyHandle destinationKey) {
    if (destination == nullptr) return kInvalidArgument;
    const Key* from = ResolveKey(source);
    const Key* to = destination == this ? ResolveKey(destinationKey) : nullptr;
    if (from != nullptr && to != nullptr && to != from) {
        const Key* parent = nullptr;
        const ResultCode code = from->ParentOf(to, parent);
        if (code == kOutOfMemory) return code;
        if (IsSuccess(code)) return kInvalidArgument;   // a copy into the source's own subtree would never end
    }
    const ResultCode code = CopyKeyTree(this, source, destination, destinationKey);
    if (IsSuccess(code)) MarkDirty();
    return code;
}

// These two don't acquire the lock: a caller must make no other call while it moves the current root.

ResultCode Arbor::SetRootKey(KeyHandle handle) {
    return RunTraced([&] { return tree.MoveCurrentTo(handle); }, kNameLine, "Arbor::SetRootKey");
}

ResultCode Arbor::SetRootStr(const char* path) {
    return RunTraced([&] { return tree.MoveCurrentTo(path); }, kNameLine, "Arbor::SetRootStr");
}

}   // namespace arbor::module

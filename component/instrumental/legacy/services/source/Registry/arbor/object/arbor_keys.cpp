// The methods of `Registry` that work on keys. Each takes the guard, does its work and traces, in this order.

#include "object/arbor.h"
#include "object/change_key.h"
#include "object/copy_key_tree.h"
#include "tree/path.h"
#include "tree/value/buffer_contract.h"

#include <component/kernel/trace.h>

namespace arbor::module {

namespace {

KeyHandle HandleOf(const Key* key) { return key != nullptr ? reinterpret_cast<KeyHandle>(key) : kNoKey; }

void Answer(KeyHandle* out, KeyHandle answer) {
    if (out != nullptr) *out = answer;
}

/// A handle in a trace line has 32 bits.
std::uint32_t Shown(KeyHandle handle) { return static_cast<std::uint32_t>(handle); }

}   // namespace

ResultCode Arbor::OpenKey(KeyHandle* answer, KeyHandle parent, const char* path, std::uint32_t create) {
    const LockGuard guard(lock, Synchronised, create != 0);
    KeyHandle opened = kNoKey;
    const ResultCode code = OpenKeyLocked(opened, parent, path, create != 0);
    Answer(answer, opened);
    Trace(this, TraceCall, "arbor\tOpening key %s\\%s: %terr", "?", path, code);
    return code;
}

ResultCode Arbor::OpenKeyLocked(KeyHandle& answer, KeyHandle parent, const char* path, bool create) {
    Key* home = ResolveKey(parent);
    if (home == nullptr) return kNoKeyThere;
    if (path == nullptr) {
        answer = HandleOf(home);
        return kDone;
    }
    if (!create || ReadOnly != 0) {
        answer = HandleOf(home->FindPath(path, nullptr));
        if (answer != kNoKey) return kDone;
        return create ? kReadOnlyObject : kNoSuchEntry;
    }
    std::uint32_t created = 0;
    answer = HandleOf(home->OpenPath(path, false, &created));
    if (answer == kNoKey) return kOutOfMemory;
    if (created == 0) return kDone;
    MarkDirty();
    return kKeyCreated;
}

ResultCode Arbor::OpenKeyByIndex(KeyHandle* answer, KeyHandle parent, std::uint32_t index) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const Key* home = ResolveKey(parent);
    const KeyHandle opened = HandleOf(home != nullptr ? home->ChildByIndex(index) : nullptr);
    const ResultCode code = opened != kNoKey ? kDone : kNoSuchEntry;
    Answer(answer, opened);
    Trace(this, TraceCall, "arbor\t%s %d: %terr", "Arbor::OpenKeyByIndex", index, code);
    return code;
}

ResultCode Arbor::OpenNextKey(KeyHandle* answer, KeyHandle handle) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    Key* next = nullptr;
    const ResultCode code = tree.NextSibling(reinterpret_cast<const Key*>(handle), next);
    Answer(answer, HandleOf(next));
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::OpenNextKey", code);
    return code;
}

ResultCode Arbor::CloseKey(KeyHandle handle) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    Trace(this, TraceCall, "arbor\tClosing key %x: %terr", Shown(handle), kDone);
    return kDone;
}

ResultCode Arbor::GetKeyName(std::uint32_t* count, KeyHandle handle, char* buffer, std::uint32_t size,
                             std::uint32_t full) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const Key* key = ResolveKey(handle);
    const ResultCode code = key != nullptr ? NameOfKey(count, *key, buffer, size, full != 0) : kNoKeyThere;
    Trace(this, TraceCall, "arbor\tGetting key name %d: %terr", Shown(handle), code);
    return code;
}

ResultCode Arbor::GetKeyNameByIndex(std::uint32_t* count, KeyHandle parent, std::uint32_t index, char* buffer,
                                    std::uint32_t size, std::uint32_t full) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const Key* home = ResolveKey(parent);
    const Key* key = home != nullptr ? home->ChildByIndex(index) : nullptr;
    const ResultCode code = key != nullptr ? NameOfKey(count, *key, buffer, size, full != 0) : kNoSuchEntry;
    Trace(this, TraceCall, "arbor\tGetting key name by index %d: %terr", index, code);
    return code;
}

ResultCode Arbor::NameOfKey(std::uint32_t* count, const Key& key, char* buffer, std::uint32_t size, bool full) const {
    if (!full) return CopyBytesOut(key.Name().text, key.Name().length + 1, buffer, size, count);
    std::uint32_t length = 0;
    const ResultCode code = tree.current->GetPath(&key, buffer, size, length, kPathSeparator);
    if (count != nullptr) *count = length;
    return code;
}

ResultCode Arbor::GetKeyCount(std::uint32_t* count, KeyHandle handle) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const Key* key = ResolveKey(handle);
    const ResultCode code = key != nullptr ? kDone : kNoKeyThere;
    if (count != nullptr) *count = key != nullptr ? key->ChildCount() : 0;
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::GetKeyCount", code);
    return code;
}

ResultCode Arbor::DeleteKey(KeyHandle handle, const char* path) {
    const LockGuard guard = LockGuard::Exclusive(lock, Synchronised);
    const ResultCode code = ChangeKey(handle, [&](Key& key) {
        if (path == nullptr) return kInvalidArgument;
        Key* parent = nullptr;
        const Key* removed = key.FindPath(path, &parent);
        const ResultCode prepared = parent != nullptr ? tree.PrepareRemoval(removed) : kDone;
        return IsSuccess(prepared) ? key.RemovePath(path) : prepared;
    });
    Trace(this, TraceCall, "arbor\t%s %s: %terr", "Arbor::DeleteKey", path, code);
    return code;
}

ResultCode Arbor::DeleteKeyByInd(KeyHandle handle, std::uint32_t index) {
    const LockGuard guard = LockGuard::Exclusive(lock, Synchronised);
    const ResultCode code = ChangeKey(handle, [&](Key& key) {
        const ResultCode prepared = tree.PrepareRemoval(key.ChildByIndex(index));
        return IsSuccess(prepared) ? key.RemoveChildAt(index) : prepared;
    });
    Trace(this, TraceCall, "arbor\t%s %d : %terr", "Arbor::DeleteKeyByInd", index, code);
    return code;
}

ResultCode Arbor::Clean() {
    const LockGuard guard = LockGuard::Exclusive(lock, Synchronised);
    ResultCode code = ChangeKey(0, [this](Key&) {
        tree.ClearCurrent();
        return kDone;
    });
    if (code == kNoKeyThere) code = kNotInitialised;   // no handle was asked for: it is the object that isn't ready
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::Clean", code);
    return code;
}

ResultCode Arbor::CopyKey(KeyHandle source, HostObject* destination, KeyHandle destinationKey) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    return CopyLocked(source, destination, destinationKey);
}

ResultCode Arbor::CopyLocked(KeyHandle source, HostObject* destination, KeyHandle destinationKey) {
    if (destination == nullptr) return kInvalidArgument;
    const Key* from = ResolveKey(source);
    const Key* to = destination == this ? ResolveKey(destinationKey) : nullptr;
    if (from != nullptr && to != nullptr && to != from) {
        const Key* parent = nullptr;
        const ResultCode below = from->ParentOf(to, parent);
        if (below == kOutOfMemory) return below;
        if (IsSuccess(below)) return kInvalidArgument;   // into its own subtree: there would always be more to copy
    }
    const ResultCode code = CopyKeyTree(this, source, destination, destinationKey);
    if (IsSuccess(code)) MarkDirty();
    return code;
}

ResultCode Arbor::CopyKeyByName(const char* path, HostObject* destination) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    if (path == nullptr) return kInvalidArgument;
    KeyHandle source = kNoKey;
    const ResultCode opened = Registry(this).OpenKey(this, &source, 0, path, 0);
    return IsSuccess(opened) ? CopyLocked(source, destination, 0) : opened;
}

ResultCode Arbor::SetRootKey(KeyHandle handle) {
    const ResultCode code = tree.MoveCurrentTo(handle);
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::SetRootKey", code);
    return code;
}

ResultCode Arbor::SetRootStr(const char* path) {
    const ResultCode code = tree.MoveCurrentTo(path);
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::SetRootStr", code);
    return code;
}

}   // namespace arbor::module

#include "object/arbor.h"

#include "object/method_tables.h"

#include <component/kernel/trace.h>

#include <atomic>

namespace arbor {

namespace {

/// The object's own copy of the placeholders; the host puts its table in their place once the object is built.
const SystemTable kSystemTable = MakePlaceholderSystemTable();

}   // namespace

Arbor::Arbor() {
    MethodFace = ObjectMethods().data();
    SystemFace = kSystemTable.data();
}

Arbor::~Arbor() {
    MethodFace = ObjectMethods().data();
    SystemFace = kSystemTable.data();
    // The members give their blocks back through this object's face; without a host nobody would take them.
    if (HostRoot != nullptr) SystemFace = HostRoot->SystemFace;
    HostFree(this, PendingRootPath);
}

ResultCode Arbor::Ready() {
    static_cast<void>(tree.Start(this));   // without a tree every operation says so by itself
    ResultCode code = kDone;
    if (!Name.empty()) {
        code = LoadFromFile();
    } else if (IoObject != nullptr) {
        code = LoadFromIoObject();
    }
    if (Synchronised != 0) lock.Initialise();
    if (IsFailure(code)) SaveOnClose = 0;
    return code;
}

ResultCode Arbor::Closing() {
    // The host has no use for the result: a failure is in the trace, and the document is whole.
    if (SaveOnClose != 0) static_cast<void>(Registry(this).Save(this, 1));
    return kDone;
}

// Copying sets the flag under shared entry, on several threads at once: one word, no order.
void Arbor::NoteChange() { std::atomic_ref(Dirty).store(1, std::memory_order_relaxed); }
void Arbor::ForgetChanges() { std::atomic_ref(Dirty).store(0, std::memory_order_relaxed); }
bool Arbor::HasChanges() const {
    return std::atomic_ref(const_cast<std::uint32_t&>(Dirty)).load(std::memory_order_relaxed) != 0;
}

Key* Arbor::ResolveKey(KeyHandle handle) const {
    if (tree.top == nullptr || handle == kNoKey) return nullptr;
    return handle != 0 ? reinterpret_cast<Key*>(handle) : tree.current;
}

}   // namespace arbor

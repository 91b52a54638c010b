#include "object/arbor.h"

#include "object/method_tables.h"

#include <component/kernel/trace.h>

#include <atomic>

namespace arbor::module {

namespace {

/// The object's own copy of the placeholders; the host puts its table in their place once the object is built.
const SystemTable kSystemTable = MakePlaceholderSystemTable();

/// The values of `Dirty`.
constexpr std::uint32_t kClean = 0;
constexpr std::uint32_t kChanged = 1;
constexpr std::uint32_t kSerialised = 2;

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

bool Arbor::IsDirty() const { return std::atomic_ref(const_cast<std::uint32_t&>(Dirty)).load() != kClean; }

// Relaxed order suffices: the lock orders changes and serialisations. A copy marks its source under shared entry, but
// changes only the destination.
void Arbor::MarkDirty() { std::atomic_ref(Dirty).store(kChanged, std::memory_order_relaxed); }

void Arbor::ClearDirty() { std::atomic_ref(Dirty).store(kClean); }

void Arbor::MarkSerialised() { std::atomic_ref(Dirty).store(kSerialised); }

void Arbor::EndSave(ResultCode code) {
    const std::atomic_ref dirty(Dirty);
    std::uint32_t state = kSerialised;
    if (IsFailure(code) || !dirty.compare_exchange_strong(state, kClean)) dirty.store(kChanged);
}

Key* Arbor::ResolveKey(KeyHandle handle) const {
    if (tree.top == nullptr || handle == kNoKey) return nullptr;
    return handle != 0 ? reinterpret_cast<Key*>(handle) : tree.current;
}

}   // namespace arbor::module

// Construction, destruction and lifecycle of the object, and the states of `Dirty` (unsaved changes).

#include "object/arbor.h"

#include "object/method_tables.h"

#include <component/kernel/trace.h>

#include <atomic>

namespace arbor::module {

namespace {

/// The values of `Dirty`.
constexpr std::uint32_t kClean = 0;
constexpr std::uint32_t kChanged = 1;
constexpr std::uint32_t kSerialised = 2;

}   // namespace

Arbor::Arbor() { MethodFace = ObjectMethods().data(); }

Arbor::~Arbor() {
    MethodFace = ObjectMethods().data();
    // The members free their blocks through this object's `SystemFace`. Without a host these calls do nothing.
    SystemFace = HostRoot != nullptr ? HostRoot->SystemFace : PlaceholderSystemFace();
    HostFree(this, PendingRootPath);
}

ResultCode Arbor::Ready() {
    static_cast<void>(tree.Start(this));   // without a tree every operation returns a failure of its own
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
    // The result is dropped: a failure is in the trace, and the old document is complete.
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

}   // namespace arbor::module

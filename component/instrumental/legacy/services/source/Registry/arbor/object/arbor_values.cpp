// The methods of `Registry` that work on values. Each takes the guard, does its work and traces, in this order.

#include "object/arbor.h"
#include "object/change_key.h"
#include "tree/value/buffer_contract.h"

#include <component/kernel/trace.h>

namespace arbor::module {

namespace {

/// An address in a trace line has 32 bits.
std::uint32_t Shown(const void* address) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

}   // namespace

ResultCode Arbor::GetValue(std::uint32_t* count, KeyHandle handle, const char* name, TypeCode* type, void* buffer,
                           std::uint32_t size) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const auto find = [=](const Key& key) { return key.FindValue(name); };
    const ResultCode code = name != nullptr ? ReadValue(handle, count, type, buffer, size, find) : kInvalidArgument;
    Trace(this, TraceCall, "arbor\tGetting value %s\\%s: %terr", "?", name, code);
    return code;
}

ResultCode Arbor::GetValueByIndex(std::uint32_t* count, KeyHandle handle, std::uint32_t index, TypeCode* type,
                                  void* buffer, std::uint32_t size) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const auto find = [=](const Key& key) { return key.ValueAt(index); };
    const ResultCode code = ReadValue(handle, count, type, buffer, size, find);
    Trace(this, TraceCall, "arbor\tGetting value by index %d: %terr", index, code);
    return code;
}

template <class Find>
ResultCode Arbor::ReadValue(KeyHandle handle, std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size,
                            Find find) {
    const Key* key = ResolveKey(handle);
    if (key == nullptr) return kNoKeyThere;
    const Value* value = find(*key);
    return value != nullptr ? ConvertOnRead(*value, count, type, buffer, size) : kNoSuchEntry;
}

ResultCode Arbor::GetValueNameByIndex(std::uint32_t* count, KeyHandle handle, std::uint32_t index, char* buffer,
                                      std::uint32_t size) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const Key* key = ResolveKey(handle);
    if (key == nullptr && count != nullptr) *count = 0;
    const ResultCode code = key != nullptr ? CopyTextOut(key->ValueNameAt(index), buffer, size, count) : kNoKeyThere;
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::GetValueNameByIndex", code);
    return code;
}

ResultCode Arbor::GetValueCount(std::uint32_t* count, KeyHandle handle) {
    const LockGuard guard = LockGuard::Shared(lock, Synchronised);
    const Key* key = ResolveKey(handle);
    const ResultCode code = key != nullptr ? kDone : kNoKeyThere;
    if (count != nullptr) *count = key != nullptr ? key->ValueCount() : 0;
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::GetValueCount", code);
    return code;
}

ResultCode Arbor::SetValue(KeyHandle handle, const char* name, TypeCode type, const void* data, std::uint32_t size,
                           std::uint32_t create) {
    const LockGuard guard = LockGuard::Exclusive(lock, Synchronised);
    ResultCode code = kReadOnlyObject;
    if (ReadOnly == 0) {
        Key* key = ResolveKey(handle);
        if (key == nullptr) return kNoKeyThere;   // the one road without a line
        const auto add = [=] { return key->AddNewValue(name, type, data, size); };
        code = name != nullptr ? WriteValue(key->FindValue(name), type, data, size, create, add) : kInvalidArgument;
    }
    Trace(this, TraceCall, "arbor\t%s %s (0x%x:%d): %terr", "Arbor::SetValue", name, Shown(data), size, code);
    return code;
}

ResultCode Arbor::SetValueByIndex(KeyHandle handle, std::uint32_t index, TypeCode type, const void* data,
                                  std::uint32_t size, std::uint32_t create) {
    const LockGuard guard = LockGuard::Exclusive(lock, Synchronised);
    ResultCode code = kReadOnlyObject;
    if (ReadOnly == 0) {
        Key* key = ResolveKey(handle);
        const auto add = [=] { return key->AddValueAt(index, type, data, size); };
        code = key != nullptr ? WriteValue(key->ValueAt(index), type, data, size, create, add) : kNoKeyThere;
    }
    Trace(this, TraceCall, "arbor\t%s %d (0x%x:%d): %terr", "Arbor::SetValueByIndex", index, Shown(data), size, code);
    return code;
}

template <class Add>
ResultCode Arbor::WriteValue(Value* value, TypeCode type, const void* data, std::uint32_t size, std::uint32_t create,
                             Add add) {
    if (value != nullptr) return ConvertOnWrite(*value, type, data, size);
    if (create == 0) return kNoSuchEntry;
    const ResultCode code = add();
    if (IsSuccess(code)) MarkDirty();
    return code;
}

ResultCode Arbor::DeleteValue(KeyHandle handle, const char* name) {
    const LockGuard guard = LockGuard::Exclusive(lock, Synchronised);
    const ResultCode code =
        ChangeKey(handle, [=](Key& key) { return name != nullptr ? key.RemoveValue(name) : kInvalidArgument; });
    Trace(this, TraceCall, "arbor\t%s %s: %terr", "Arbor::DeleteValue", name, code);
    return code;
}

ResultCode Arbor::DeleteValueByInd(KeyHandle handle, std::uint32_t index) {
    const LockGuard guard = LockGuard::Exclusive(lock, Synchronised);
    const ResultCode code = ChangeKey(handle, [=](Key& key) { return key.RemoveValueAt(index); });
    Trace(this, TraceCall, "arbor\t%s %d: %terr", "Arbor::DeleteValueByInd", index, code);
    return code;
}

}   // namespace arbor::module

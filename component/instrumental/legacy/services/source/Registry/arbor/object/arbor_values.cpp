// The methods of `Registry` that work on values.

#include "object/arbor.h"
#include "object/conversion.h"
#include "object/method.h"
#include "tree/value/buffer_contract.h"

namespace arbor::module {

ResultCode Arbor::GetValue(std::uint32_t* count, KeyHandle handle, const char* name, TypeCode* type, void* buffer,
                           std::uint32_t size) {
    const auto read = [&](const Key& key) {
        if (name == nullptr) return kInvalidArgument;
        const Value* value = key.FindValue(name);
        return value != nullptr ? ConvertOnRead(this, *value, count, type, buffer, size) : kNoSuchEntry;
    };
    return ReadKey(handle, read, "arbor\tGetting value %s\\%s: %terr", kUnknownPath, name);
}

ResultCode Arbor::GetValueByIndex(std::uint32_t* count, KeyHandle handle, std::uint32_t index, TypeCode* type,
                                  void* buffer, std::uint32_t size) {
    const auto read = [&](const Key& key) {
        const Value* value = key.ValueAt(index);
        return value != nullptr ? ConvertOnRead(this, *value, count, type, buffer, size) : kNoSuchEntry;
    };
    return ReadKey(handle, read, "arbor\tGetting value by index %d: %terr", index);
}

ResultCode Arbor::GetValueNameByIndex(std::uint32_t* count, KeyHandle handle, std::uint32_t index, char* buffer,
                                      std::uint32_t size) {
    SetOut(count, 0);
    const auto copy = [&](const Key& key) {
        const NameRange* name = key.ValueNameAt(index);
        if (name == nullptr) return CopyBytesOut(nullptr, 0, buffer, size, count);
        return CopyBytesOut(name->text, std::uint64_t{name->length} + 1, buffer, size, count);
    };
    return ReadKey(handle, copy, kNameLine, "Arbor::GetValueNameByIndex");
}

ResultCode Arbor::GetValueCount(std::uint32_t* count, KeyHandle handle) {
    SetOut(count, 0);
    const auto read = [&](const Key& key) {
        SetOut(count, key.ValueCount());
        return kDone;
    };
    return ReadKey(handle, read, kNameLine, "Arbor::GetValueCount");
}

ResultCode Arbor::SetValue(KeyHandle handle, const char* name, TypeCode type, const void* data, std::uint32_t size,
                           std::uint32_t create) {
    if (ReadOnly == 0 && !HasKey(handle)) return kNoKeyThere;   // the only failure here without a trace line
    const auto write = [&](Key& key) {
        if (name == nullptr) return kInvalidArgument;
        const HashedName hashed = MakeHashedName(name);   // once for the lookup and the addition
        if (Value* value = key.FindValue(hashed)) return ConvertOnWrite(this, *value, type, data, size);
        return create != 0 ? key.AddValue(hashed, type, data, size) : kNoSuchEntry;
    };
    return ChangeKey(handle, write, "arbor\t%s %s (0x%x:%d): %terr", "Arbor::SetValue", name, Low32(data), size);
}

ResultCode Arbor::SetValueByIndex(KeyHandle handle, std::uint32_t index, TypeCode type, const void* data,
                                  std::uint32_t size, std::uint32_t create) {
    const auto write = [&](Key& key) {
        if (Value* value = key.ValueAt(index)) return ConvertOnWrite(this, *value, type, data, size);
        return create != 0 ? key.AddValueAt(index, type, data, size) : kNoSuchEntry;
    };
    return ChangeKey(handle, write, "arbor\t%s %d (0x%x:%d): %terr", "Arbor::SetValueByIndex", index, Low32(data),
                     size);
}

ResultCode Arbor::DeleteValue(KeyHandle handle, const char* name) {
    const auto remove = [&](Key& key) { return name != nullptr ? key.RemoveValue(name) : kInvalidArgument; };
    return ChangeKey(handle, remove, "arbor\t%s %s: %terr", "Arbor::DeleteValue", name);
}

ResultCode Arbor::DeleteValueByInd(KeyHandle handle, std::uint32_t index) {
    const auto remove = [&](Key& key) { return key.RemoveValueAt(index); };
    return ChangeKey(handle, remove, "arbor\t%s %d: %terr", "Arbor::DeleteValueByInd", index);
}

}   // namespace arbor::module

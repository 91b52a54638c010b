#include "store.h"

#include <component/kernel/type_names.h>

#include <host/result_text.h>
#include <host/text.h>

#include <algorithm>

namespace arborctl {
namespace {

constexpr std::uint32_t kOwnNameOnly = 0;

/// A key as a refusal tells it.
std::string Place(const std::string& path) { return path.empty() ? "the root" : path; }

/// Reads a text in two calls, the first of which measures it with its terminator.
template <class Call>
std::string ReadName(std::string_view tried, Call call) {
    std::uint32_t size = 0;
    Demand(call(&size, nullptr, 0), tried);
    std::string name(size, '\0');
    Demand(call(&size, name.data(), size), tried);
    if (!name.empty()) name.pop_back();
    return name;
}

/// Reads a value. A width that is known is asked for at once: a blob of that size comes as it is then.
template <class Call>
Datum ReadDatum(std::string_view tried, kernel::TypeCode type, Call call) {
    Datum datum{type, {}};
    const kernel::ValueTypeRow* row = kernel::FindType(type);
    std::uint32_t size = row != nullptr ? row->width : 0;
    if (size == 0) Demand(call(&size, &datum.type, nullptr, 0), tried);
    datum.bytes.resize(size);
    Demand(call(&size, &datum.type, datum.bytes.data(), size), tried);
    return datum;
}

}   // namespace

Refusal::Refusal(kernel::ResultCode code, std::string_view tried)
    : std::runtime_error(host::Describe(code).append(" (").append(tried).append(")")) {}

void Demand(kernel::ResultCode code, std::string_view tried) {
    if (kernel::IsFailure(code)) throw Refusal(code, tried);
}

Store::Store(host::Kernel& kernel, const StoreSettings& settings) : object(kernel) {
    const std::string tried = "loading " + host::ToUtf8(settings.document.u16string()) +
                              (settings.root.empty() ? "" : " at ") + settings.root;
    if (!settings.document.empty()) Demand(object.SetDocument(settings.document), tried);
    Demand(object.SetNumber(kernel::PropertyReadOnly, settings.readOnly ? 1 : 0), tried);
    Demand(object.SetNumber(kernel::PropertyOpenFlags, settings.create ? kernel::kOpenFlagCreate : 0), tried);
    Demand(object.SetNumber(kernel::PropertyBackupMode, settings.backupMode), tried);
    if (!settings.root.empty()) Demand(object.SetRootPoint(settings.root), tried);
    Demand(object.Ready(), tried);
}

kernel::KeyHandle Store::Open(const std::string& path) {
    kernel::KeyHandle key = kernel::kNoKey;
    Demand(Methods().OpenKey(object.Get(), &key, 0, path.c_str(), 0), Place(path));
    return key;
}

/// Key by key: a call that makes only the later keys of its path leaves the document unmarked, and it wouldn't be
/// saved.
kernel::KeyHandle Store::Make(std::string_view path) {
    kernel::KeyHandle key = Open("");
    while (!path.empty()) {
        const std::string name(path.substr(0, path.find_first_of("/\\")));
        if (name.empty()) break;   // the end of the path to the store too
        key = MakeChild(key, name);
        path.remove_prefix(std::min(name.size() + 1, path.size()));
    }
    return key;
}

kernel::KeyHandle Store::MakeChild(kernel::KeyHandle parent, const std::string& name) {
    kernel::KeyHandle key = kernel::kNoKey;
    Demand(Methods().OpenKey(object.Get(), &key, parent, name.c_str(), 1), name);
    return key;
}

std::uint32_t Store::KeyCount(kernel::KeyHandle key) {
    std::uint32_t count = 0;
    Demand(Methods().GetKeyCount(object.Get(), &count, key), "counting keys");
    return count;
}

kernel::KeyHandle Store::KeyAt(kernel::KeyHandle parent, std::uint32_t index) {
    kernel::KeyHandle key = kernel::kNoKey;
    Demand(Methods().OpenKeyByIndex(object.Get(), &key, parent, index), "opening a key by index");
    return key;
}

std::string Store::KeyName(kernel::KeyHandle key) {
    return ReadName("naming a key", [&](std::uint32_t* size, char* buffer, std::uint32_t bytes) {
        return Methods().GetKeyName(object.Get(), size, key, buffer, bytes, kOwnNameOnly);
    });
}

std::uint32_t Store::ValueCount(kernel::KeyHandle key) {
    std::uint32_t count = 0;
    Demand(Methods().GetValueCount(object.Get(), &count, key), "counting values");
    return count;
}

std::string Store::ValueName(kernel::KeyHandle key, std::uint32_t index) {
    return ReadName("naming a value", [&](std::uint32_t* size, char* buffer, std::uint32_t bytes) {
        return Methods().GetValueNameByIndex(object.Get(), size, key, index, buffer, bytes);
    });
}

Datum Store::Read(kernel::KeyHandle key, const std::string& name, kernel::TypeCode type) {
    return ReadDatum(name, type, [&](std::uint32_t* size, kernel::TypeCode* own, void* buffer, std::uint32_t bytes) {
        return Methods().GetValue(object.Get(), size, key, name.c_str(), own, buffer, bytes);
    });
}

Datum Store::ReadAt(kernel::KeyHandle key, std::uint32_t index) {
    return ReadDatum("reading a value by index", 0,
                     [&](std::uint32_t* size, kernel::TypeCode* own, void* buffer, std::uint32_t bytes) {
                         return Methods().GetValueByIndex(object.Get(), size, key, index, own, buffer, bytes);
                     });
}

void Store::Write(kernel::KeyHandle key, const std::string& name, const Datum& datum) {
    Demand(Methods().SetValue(object.Get(), key, name.c_str(), datum.type, datum.bytes.data(),
                              static_cast<std::uint32_t>(datum.bytes.size()), 1),
           name);
}

kernel::TypeCode Store::TypeOf(kernel::KeyHandle key, const std::string& name) {
    kernel::TypeCode type = 0;
    const kernel::ResultCode code = Methods().GetValue(object.Get(), nullptr, key, name.c_str(), &type, nullptr, 0);
    if (code != kernel::kNoSuchEntry) Demand(code, name);
    return type;
}

void Store::RemoveKey(const std::string& path) {
    Demand(Methods().DeleteKey(object.Get(), 0, path.c_str()), Place(path));
}

void Store::RemoveValue(kernel::KeyHandle key, const std::string& name) {
    Demand(Methods().DeleteValue(object.Get(), key, name.c_str()), name);
}

void Store::Copy(kernel::KeyHandle key, Store& destination, kernel::KeyHandle destinationKey) {
    Demand(Methods().CopyKey(object.Get(), key, destination.object.Get(), destinationKey), "copying");
}

/// Through the slot that closing uses: closing itself doesn't tell how the save went.
void Store::Save() { Demand(object.OwnMethods().Save(object.Get(), 1), "saving"); }

}   // namespace arborctl

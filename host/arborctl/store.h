/// A document open through the interface, with the failures of its calls as exceptions.
#pragma once

#include <component/kernel/value_types.h>

#include <host/object.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace arborctl {

/// What a call of the interface refused; `what()` is the code, its text and what was tried.
class Refusal : public std::runtime_error {
public:
    Refusal(kernel::ResultCode code, std::string_view tried);
};

/// Throws a `Refusal` if `code` is a failure.
void Demand(kernel::ResultCode code, std::string_view tried);

/// A value's bytes in the binary form of a type.
struct Datum {
    kernel::TypeCode type;
    std::string bytes;
};

struct StoreSettings {
    std::filesystem::path document{};
    bool readOnly = false;
    bool create = false;   // a missing document is made
    std::uint32_t backupMode = 0;
    std::string root{};   // the key that paths start at
};

/// Not for two threads. What was changed goes with the object unless `Save` is called. Every member may throw a
/// `Refusal`.
class Store {
public:
    /// Loads the document. An empty path makes a tree without a document.
    Store(host::Kernel& kernel, const StoreSettings& settings);

    /// Opens the key at `path`; the empty path is the root.
    [[nodiscard]] kernel::KeyHandle Open(const std::string& path);
    /// The same, with the keys made that are missing.
    [[nodiscard]] kernel::KeyHandle Make(std::string_view path);
    [[nodiscard]] kernel::KeyHandle MakeChild(kernel::KeyHandle parent, const std::string& name);

    [[nodiscard]] std::uint32_t KeyCount(kernel::KeyHandle key);
    [[nodiscard]] kernel::KeyHandle KeyAt(kernel::KeyHandle parent, std::uint32_t index);
    [[nodiscard]] std::string KeyName(kernel::KeyHandle key);
    [[nodiscard]] std::uint32_t ValueCount(kernel::KeyHandle key);
    [[nodiscard]] std::string ValueName(kernel::KeyHandle key, std::uint32_t index);

    /// Reads a value as `type`, 0 being its own.
    [[nodiscard]] Datum Read(kernel::KeyHandle key, const std::string& name, kernel::TypeCode type);
    [[nodiscard]] Datum ReadAt(kernel::KeyHandle key, std::uint32_t index);

    /// 0 if there is no such value.
    [[nodiscard]] kernel::TypeCode TypeOf(kernel::KeyHandle key, const std::string& name);

    /// Makes a value, or changes one in its own type.
    void Write(kernel::KeyHandle key, const std::string& name, const Datum& datum);

    void RemoveKey(const std::string& path);
    void RemoveValue(kernel::KeyHandle key, const std::string& name);
    /// Copies what is in `key` into `destinationKey` of another store.
    void Copy(kernel::KeyHandle key, Store& destination, kernel::KeyHandle destinationKey);

    /// Stores the document if it was changed.
    void Save();

private:
    [[nodiscard]] kernel::Registry Methods() const { return object.Methods(); }

    host::Object object;
};

}   // namespace arborctl

/// An object of the module under the stand-in host, for tests of the interface. Its methods have the parameters that
/// tests need and keep the last code.
#pragma once

#include <component/kernel/interface.h>
#include <component/kernel/value_types.h>
#include <host/kernel.h>
#include <host/object.h>
#include <host/system.h>

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace test {

using namespace kernel;

/// The module's file, which the build puts beside the test programs.
inline std::filesystem::path ModulePath() {
    return host::ProgramDirectory() / (std::string("arbor") + host::ModuleExtension());
}

/// One object, with `Methods` called on it.
class Store {
public:
    explicit Store(host::Kernel& kernel) : object(kernel), methods(object.Methods()) {}

    KeyHandle Open(const char* path, KeyHandle parent = 0) {
        KeyHandle key = kNoKey;
        code = methods.OpenKey(object.Get(), &key, parent, path, 0);
        return key;
    }
    KeyHandle Make(const char* path, KeyHandle parent = 0) {
        KeyHandle key = kNoKey;
        code = methods.OpenKey(object.Get(), &key, parent, path, 1);
        return key;
    }

    ResultCode Set(KeyHandle key, const char* name, TypeCode type, const void* data, std::uint32_t size,
                   std::uint32_t create = 1) {
        return code = methods.SetValue(object.Get(), key, name, type, data, size, create);
    }
    ResultCode SetText(KeyHandle key, const char* name, std::string_view text, TypeCode type = tSTRING) {
        return Set(key, name, type, text.data(), static_cast<std::uint32_t>(text.size()));
    }
    template <class T>
    requires std::is_arithmetic_v<T> ResultCode SetNumber(KeyHandle key, const char* name, TypeCode type, T number) {
        return Set(key, name, type, &number, sizeof number);
    }

    /// The value's bytes in `type`, or in its own for 0, by measuring and reading; empty on a failure, which is in
    /// `code`.
    std::string Bytes(KeyHandle key, const char* name, TypeCode type = 0) {
        std::uint32_t size = 0;
        TypeCode wanted = type;
        code = methods.GetValue(object.Get(), &size, key, name, &wanted, nullptr, 0);
        if (IsFailure(code)) return {};
        std::string bytes(size, '\0');
        code = methods.GetValue(object.Get(), &size, key, name, &wanted, bytes.data(), size);
        if (IsFailure(code)) return {};
        return bytes;
    }
    /// The same as text without its terminator.
    std::string Text(KeyHandle key, const char* name) { return Bytes(key, name, tSTRING).c_str(); }
    template <class T>
    T Number(KeyHandle key, const char* name, TypeCode type) {
        const std::string bytes = Bytes(key, name, type);
        T number{};
        if (bytes.size() == sizeof number) std::memcpy(&number, bytes.data(), sizeof number);
        return number;
    }

    std::uint32_t KeyCount(KeyHandle key = 0) {
        std::uint32_t count = 0;
        code = methods.GetKeyCount(object.Get(), &count, key);
        return count;
    }
    std::uint32_t ValueCount(KeyHandle key = 0) {
        std::uint32_t count = 0;
        code = methods.GetValueCount(object.Get(), &count, key);
        return count;
    }
    std::string Name(KeyHandle key, bool full) {
        char buffer[256] = {};
        std::uint32_t count = 0;
        code = methods.GetKeyName(object.Get(), &count, key, buffer, sizeof buffer, full ? 1 : 0);
        return buffer;
    }

    ResultCode Save() { return code = object.OwnMethods().Save(object.Get(), 1); }

    host::Object object;
    Registry methods;
    ResultCode code = 0;   // of the last call
};

}   // namespace test

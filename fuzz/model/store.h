/// A model of an object and its methods, which the fuzz targets compare with the module: keys and values in vectors,
/// their indexes by name in maps, every walk recursive. Each method returns what the module's must return, and
/// `WriteDocument` gives the bytes that a save must write.
#pragma once

#include "model/value.h"

#include <component/kernel/types.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace model {

struct Entry {
    std::string name;
    Value value;
};

struct Key {
    std::string name;
    std::vector<std::unique_ptr<Key>> keys{};
    std::vector<std::unique_ptr<Entry>> values{};
    std::map<std::string, Key*> keysByName{};   // by the folded name
    std::map<std::string, Entry*> valuesByName{};
    kernel::KeyHandle handle = 0;   // of the module's key; 0 until an open method has returned it

    Key& AddKey(std::string_view keyName);
    void AddValue(std::string_view valueName, Value value);

    [[nodiscard]] Key* Find(std::string_view keyName) const;
    Key& OpenPath(std::string_view path, bool& created);
};

/// Whether both hold the same, in the same order.
[[nodiscard]] bool Same(const Key& a, const Key& b);

/// The number of keys and values below this one.
[[nodiscard]] std::size_t EntryCount(const Key& key);

/// The text as it is escaped in a document.
[[nodiscard]] std::string Escaped(std::string_view text);

/// Appends the document of the tree. Fails at the first value that has no text, with the code of its conversion.
[[nodiscard]] ResultCode WriteDocument(const Key& root, std::string& document);

/// The result of a method that opens a key. A null `key` stands for the handle -1.
struct Opened {
    ResultCode code;
    Key* key = nullptr;
};

/// One object. The handle that a method takes is a key of the model, null for the current root, or one of the two keys
/// below. Texts have no 0 bytes.
class Store {
public:
    /// The handle -1.
    static Key noKey;
    /// A handle that is no key's, for the methods that search the tree for a handle.
    static Key unknownKey;

    std::unique_ptr<Key> top;   // null until the object is ready
    Key* current = nullptr;
    bool readOnly = false;
    bool dirty = false;

    void Ready(std::unique_ptr<Key> root);

    Opened OpenKey(Key* parent, const std::string* path, bool create);
    Opened OpenKeyByIndex(Key* parent, std::uint32_t index);
    Opened OpenNextKey(Key* key);
    ReadResult GetKeyName(Key* key, Buffer buffer, bool full);
    ReadResult GetKeyNameByIndex(Key* parent, std::uint32_t index, Buffer buffer, bool full);
    /// `type` is what the caller's type variable holds; without a value the caller passes null. `hostText` gets the
    /// text of a read into a string of the host.
    ReadResult GetValue(Key* key, const std::string& name, std::optional<TypeCode>& type, Buffer buffer,
                        std::optional<std::string>& hostText);
    ReadResult GetValueByIndex(Key* key, std::uint32_t index, std::optional<TypeCode>& type, Buffer buffer,
                               std::optional<std::string>& hostText);
    ReadResult GetValueNameByIndex(Key* key, std::uint32_t index, Buffer buffer);
    /// To write a string of the host, pass its UTF-16 units as `data`.
    ResultCode SetValue(Key* key, const std::string& name, TypeCode type, const char* data, std::uint32_t size,
                        bool create);
    ResultCode SetValueByIndex(Key* key, std::uint32_t index, TypeCode type, const char* data, std::uint32_t size,
                               bool create);
    ReadResult GetKeyCount(Key* key);
    ReadResult GetValueCount(Key* key);
    ResultCode DeleteKey(Key* key, const std::string& path);
    ResultCode DeleteKeyByInd(Key* key, std::uint32_t index);
    ResultCode DeleteValue(Key* key, const std::string& name);
    ResultCode DeleteValueByInd(Key* key, std::uint32_t index);
    ResultCode Clean();
    ResultCode CopyKey(Key* key, Store& destination, Key* destinationKey);
    ResultCode CopyKeyByName(const std::string& path, Store& destination);
    ResultCode SetRootKey(Key* key);
    ResultCode SetRootStr(const std::string* path);
    ReadResult GetRootPoint(Buffer buffer);

private:
    [[nodiscard]] Key* Resolve(Key* handle) const;
    [[nodiscard]] ResultCode Refusal(const Key* resolved) const;
    [[nodiscard]] ReadResult NameOf(const Key* key, Buffer buffer, bool full) const;
    ReadResult ConvertOnRead(const Value& value, std::optional<TypeCode>& type, Buffer buffer,
                             std::optional<std::string>& hostText);
    ResultCode ConvertOnWrite(Value& value, TypeCode type, const char* data, std::uint32_t size);
    ResultCode WriteDirectly(Value& value, const char* data, std::uint32_t size);
    ResultCode AddNew(Key& key, const std::string& name, TypeCode type, const char* data, std::uint32_t size);
    ResultCode Remove(Key& parent, const Key* removed);
    ResultCode Remove(Key& key, const Entry* removed);
    ResultCode CopyTree(Key* key, Store& destination, Key* destinationKey);
};

}   // namespace model

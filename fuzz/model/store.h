/// The rules of the interface a second time, as plainly as they can be said: keys and values in vectors, their indexes
/// by name in maps, every walk a recursion. It answers each method as an object of the module must, and says what the
/// object's document holds.
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
    kernel::KeyHandle handle = 0;   // once the module told it

    Key& AddKey(std::string_view keyName);
    void AddValue(std::string_view valueName, Value value);

    [[nodiscard]] Key* Find(std::string_view keyName) const;
    Key& OpenPath(std::string_view path, bool& created);
};

/// Whether both hold the same, in the same order.
[[nodiscard]] bool Same(const Key& a, const Key& b);

/// Keys and values below this one.
[[nodiscard]] std::size_t Size(const Key& key);

/// The text as a document has it.
[[nodiscard]] std::string Escaped(std::string_view text);

/// Appends the document of the tree. The code is that of a value without a text, where the document breaks off.
[[nodiscard]] ResultCode WriteDocument(const Key& root, std::string& document);

/// What the open methods answer: no key is -1.
struct Opened {
    ResultCode code;
    Key* key = nullptr;
};

/// One object. A handle is a key of the model, null for the current root, or one of the two that are no key of any
/// object. Texts are without 0 bytes.
class Store {
public:
    /// The handle -1.
    static Key nowhere;
    /// A handle that no key has, for calls that look handles up.
    static Key stranger;

    std::unique_ptr<Key> top;   // null until the object is ready
    Key* current = nullptr;
    bool readOnly = false;
    bool dirty = false;

    void Ready(std::unique_ptr<Key> root);

    Opened OpenKey(Key* parent, const std::string* path, bool create);
    Opened OpenKeyByIndex(Key* parent, std::uint32_t index);
    Opened OpenNextKey(Key* key);
    Answer GetKeyName(Key* key, Buffer buffer, bool full);
    Answer GetKeyNameByIndex(Key* parent, std::uint32_t index, Buffer buffer, bool full);
    /// `type` is what a caller's address holds; without one there is no address. `hostText` gets the text of a read
    /// into a host's string.
    Answer GetValue(Key* key, const std::string& name, std::optional<TypeCode>& type, Buffer buffer,
                    std::optional<std::string>& hostText);
    Answer GetValueByIndex(Key* key, std::uint32_t index, std::optional<TypeCode>& type, Buffer buffer,
                           std::optional<std::string>& hostText);
    Answer GetValueNameByIndex(Key* key, std::uint32_t index, Buffer buffer);
    /// For a host's string the data are its units.
    ResultCode SetValue(Key* key, const std::string& name, TypeCode type, const char* data, std::uint32_t size,
                        bool create);
    ResultCode SetValueByIndex(Key* key, std::uint32_t index, TypeCode type, const char* data, std::uint32_t size,
                               bool create);
    Answer GetKeyCount(Key* key);
    Answer GetValueCount(Key* key);
    ResultCode DeleteKey(Key* key, const std::string& path);
    ResultCode DeleteKeyByInd(Key* key, std::uint32_t index);
    ResultCode DeleteValue(Key* key, const std::string& name);
    ResultCode DeleteValueByInd(Key* key, std::uint32_t index);
    ResultCode Clean();
    ResultCode CopyKey(Key* key, Store& destination, Key* destinationKey);
    ResultCode CopyKeyByName(const std::string& path, Store& destination);
    ResultCode SetRootKey(Key* key);
    ResultCode SetRootStr(const std::string* path);
    Answer GetRootPoint(Buffer buffer);

private:
    [[nodiscard]] Key* Resolve(Key* handle) const;
    [[nodiscard]] ResultCode Refusal(const Key* resolved) const;
    [[nodiscard]] Answer NameOf(const Key* key, Buffer buffer, bool full) const;
    Answer ConvertOnRead(const Value& value, std::optional<TypeCode>& type, Buffer buffer,
                         std::optional<std::string>& hostText);
    ResultCode ConvertOnWrite(Value& value, TypeCode type, const char* data, std::uint32_t size);
    ResultCode WriteDirectly(Value& value, const char* data, std::uint32_t size);
    ResultCode AddNew(Key& key, const std::string& name, TypeCode type, const char* data, std::uint32_t size);
    ResultCode Remove(Key& parent, const Key* doomed);
    ResultCode Remove(Key& key, const Entry* doomed);
    ResultCode CopyTree(Key* key, Store& destination, Key* destinationKey);
};

}   // namespace model

// The model of an object and its methods.
#include "model/store.h"

#include <algorithm>
#include <utility>

namespace model {

using namespace kernel;

namespace {

constexpr const char* kSeparators = "/\\";

std::string Folded(std::string_view name) {
    std::string folded(name);
    for (char& c : folded) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    }
    return folded;
}

/// Where the first component of a path ends: at its first `/`; at its first `\` if it has no `/`.
std::size_t FirstSeparator(std::string_view path) {
    return path.find('/') != path.npos ? path.find('/') : path.find('\\');
}

std::string_view RestAfter(std::string_view path, std::size_t separator) {
    return separator == path.npos ? std::string_view() : path.substr(separator + 1);
}

Key* FindPath(Key* key, std::string_view path, Key** parent) {
    if (path.empty()) return key;
    const std::size_t separator = FirstSeparator(path);
    if (separator == 0) return key;
    if (parent != nullptr) *parent = key;
    Key* child = key->Find(path.substr(0, separator));
    return child != nullptr ? FindPath(child, RestAfter(path, separator), parent) : nullptr;
}

Key* FindRange(Key* key, std::string_view path) {
    const std::size_t separator = path.find_first_of(kSeparators);
    if (path.empty() || separator == 0) return key;
    Key* child = key->Find(path.substr(0, separator));
    return child != nullptr ? FindRange(child, RestAfter(path, separator)) : nullptr;
}

/// The key above `wanted`; the start is above itself.
const Key* ParentOf(const Key* start, const Key* wanted) {
    if (wanted == start) return start;
    for (const auto& child : start->keys) {
        if (child.get() == wanted) return start;
        if (const Key* found = ParentOf(child.get(), wanted); found != nullptr) return found;
    }
    return nullptr;
}

bool PathTo(const Key* key, const Key* target, std::string& path) {
    const std::size_t before = path.size();
    if (before != 0) path += '\\';
    path += key->name;
    if (key == target) return true;
    for (const auto& child : key->keys) {
        if (PathTo(child.get(), target, path)) return true;
    }
    path.resize(before);
    return false;
}

template <class Thing>
Thing* ElementAt(const std::vector<std::unique_ptr<Thing>>& things, std::uint32_t index) {
    return index < things.size() ? things[index].get() : nullptr;
}

template <class Thing>
void Erase(std::vector<std::unique_ptr<Thing>>& things, const Thing* removed) {
    things.erase(
        std::find_if(things.begin(), things.end(), [removed](const auto& thing) { return thing.get() == removed; }));
}

Entry* FindEntry(const Key& key, std::string_view name) {
    const auto found = key.valuesByName.find(Folded(name));
    return found != key.valuesByName.end() ? found->second : nullptr;
}

/// Follows a redirect marker to the unnamed value of the key with the same name.
Value* FindValue(Key& key, const std::string& name) {
    Entry* entry = FindEntry(key, name);
    if (entry == nullptr) return nullptr;
    if (entry->value.type == tSTRING && entry->value.bytes == "![CDATA[") {
        Key* child = FindPath(&key, name, nullptr);
        Value* redirected = child != nullptr ? FindValue(*child, "noname") : nullptr;
        if (redirected != nullptr) return redirected;
    }
    return &entry->value;
}

ResultCode WriteBody(const Key& key, const std::string& indent, std::string& document) {
    for (const auto& child : key.keys) {
        document.append(indent).append("<key name=\"").append(Escaped(child->name)).append("\">\r\n");
        if (const ResultCode code = WriteBody(*child, indent + "    ", document); IsFailure(code)) return code;
        document.append(indent).append("</key>\r\n");
    }
    for (const auto& entry : key.values) {
        std::string text;
        if (const ResultCode code = TextOf(entry->value, text); IsFailure(code)) return code;
        const std::string element = ElementOf(entry->value.type);
        document.append(indent).append("<").append(element).append(" name=\"").append(Escaped(entry->name));
        document.append("\">").append(Escaped(text)).append("</").append(element).append(">\r\n");
    }
    return kDone;
}

/// A binary value of exactly the buffer's size is read or written as it is, whatever type the caller passes.
TypeCode AlignedType(const Value& value, TypeCode type, std::uint32_t size) {
    return value.type == tBINARY && value.bytes.size() == size ? TypeCode{tBINARY} : type;
}

}   // namespace

Key Store::noKey{.name = {}, .handle = kNoKey};
Key Store::unknownKey{.name = {}, .handle = 16};

Key& Key::AddKey(std::string_view keyName) {
    keys.push_back(std::make_unique<Key>(Key{.name = std::string(keyName)}));
    keysByName.emplace(Folded(keyName), keys.back().get());   // the first of a name stays
    return *keys.back();
}

void Key::AddValue(std::string_view valueName, Value value) {
    values.push_back(std::make_unique<Entry>(Entry{std::string(valueName), std::move(value)}));
    valuesByName.emplace(Folded(valueName), values.back().get());
}

Key* Key::Find(std::string_view keyName) const {
    const auto found = keysByName.find(Folded(keyName));
    return found != keysByName.end() ? found->second : nullptr;
}

Key& Key::OpenPath(std::string_view path, bool& created) {
    if (path.find_first_of(kSeparators) == 0 || path.empty()) return *this;
    const std::size_t separator = FirstSeparator(path);
    const std::string_view component = path.substr(0, separator);
    Key* child = separator == path.npos ? Find(component) : FindRange(this, component);
    if (child == nullptr) {
        child = &AddKey(component);
        created = true;
    }
    bool ignored = false;
    return child->OpenPath(RestAfter(path, separator), ignored);
}

bool Same(const Key& a, const Key& b) {
    const auto sameKey = [](const auto& x, const auto& y) { return x->name == y->name && Same(*x, *y); };
    const auto sameValue = [](const auto& x, const auto& y) { return x->name == y->name && x->value == y->value; };
    return std::equal(a.keys.begin(), a.keys.end(), b.keys.begin(), b.keys.end(), sameKey) &&
           std::equal(a.values.begin(), a.values.end(), b.values.begin(), b.values.end(), sameValue);
}

std::size_t EntryCount(const Key& key) {
    std::size_t size = key.values.size();
    for (const auto& child : key.keys) size += 1 + EntryCount(*child);
    return size;
}

std::string Escaped(std::string_view text) {
    const std::map<char, std::string> kNamed = {{'"', "&quot;"}, {'&', "&amp;"}, {'\'', "&apos;"}, {'<', "&lt;"},
                                                {'>', "&gt;"},   {'\r', "\r"},   {'\n', "\n"}};
    std::string escaped;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (const auto named = kNamed.find(c); named != kNamed.end()) {
            escaped += named->second;
        } else if (byte < 0x20) {
            escaped.append(byte < 0x10 ? "&#x" : "&#x1").append(1, "0123456789ABCDEF"[byte % 16]).append(";");
        } else {
            escaped += c;
        }
    }
    return escaped;
}

ResultCode WriteDocument(const Key& root, std::string& document) {
    document += "<arbor>\r\n";
    const ResultCode code = WriteBody(root, "    ", document);
    if (IsSuccess(code)) document += "</arbor>\r\n";
    return code;
}

void Store::Ready(std::unique_ptr<Key> root) {
    top = std::move(root);
    current = top.get();
}

Key* Store::Resolve(Key* handle) const {
    if (top == nullptr || handle == &noKey) return nullptr;
    return handle != nullptr ? handle : current;
}

ResultCode Store::Refusal(const Key* resolved) const {
    if (readOnly) return kReadOnlyObject;
    return resolved == nullptr ? kNoKeyThere : kDone;
}

Opened Store::OpenKey(Key* parent, const std::string* path, bool create) {
    Key* start = Resolve(parent);
    if (start == nullptr) return {kNoKeyThere};
    if (path == nullptr) return {kDone, start};
    if (!create || readOnly) {
        Key* found = FindPath(start, *path, nullptr);
        if (found != nullptr) return {kDone, found};
        return {create ? kReadOnlyObject : kNoSuchEntry};
    }
    bool created = false;
    Key& opened = start->OpenPath(*path, created);
    dirty = dirty || created;
    return {created ? kKeyCreated : kDone, &opened};
}

Opened Store::OpenKeyByIndex(Key* parent, std::uint32_t index) {
    const Key* start = Resolve(parent);
    Key* child = start != nullptr ? ElementAt(start->keys, index) : nullptr;
    return {child != nullptr ? kDone : kNoSuchEntry, child};
}

Opened Store::OpenNextKey(Key* key) {
    if (top == nullptr || key == nullptr) return {kNoKeyThere};
    const Key* parent = ParentOf(current, key);
    if (parent == nullptr || parent == key) return {kNoKeyThere};
    const auto& keys = parent->keys;
    const auto at = std::find_if(keys.begin(), keys.end(), [key](const auto& child) { return child.get() == key; });
    if (at + 1 == keys.end()) return {kNoKeyThere};
    return {kDone, (at + 1)->get()};
}

ReadResult Store::NameOf(const Key* key, Buffer buffer, bool full) const {
    if (!full) return FillBuffer(key->name + '\0', key->name.size() + 1, buffer);
    std::string path;
    if (!PathTo(current, key, path)) return {.code = kUnspecified, .count = 0};
    ReadResult answer{.count = static_cast<std::uint32_t>(path.size())};
    if (!buffer.given) return answer;
    if (buffer.size < path.size() + 1) {
        answer.code = kBufferTooSmall;
    } else {
        answer.bytes = path + '\0';
    }
    return answer;
}

ReadResult Store::GetKeyName(Key* handle, Buffer buffer, bool full) {
    const Key* key = Resolve(handle);
    return key != nullptr ? NameOf(key, buffer, full) : ReadResult{.code = kNoKeyThere};
}

ReadResult Store::GetKeyNameByIndex(Key* parent, std::uint32_t index, Buffer buffer, bool full) {
    const Opened child = OpenKeyByIndex(parent, index);
    return child.key != nullptr ? NameOf(child.key, buffer, full) : ReadResult{.code = child.code};
}

ReadResult Store::GetRootPoint(Buffer buffer) {
    if (top == nullptr) return {.code = kNotInitialised, .count = 0};
    Key* const root = std::exchange(current, top.get());
    ReadResult answer = NameOf(root, buffer, true);
    current = root;
    return answer;
}

ReadResult Store::GetKeyCount(Key* handle) {
    const Key* key = Resolve(handle);
    if (key == nullptr) return {.code = kNoKeyThere, .count = 0};
    return {.count = static_cast<std::uint32_t>(key->keys.size())};
}

ReadResult Store::GetValueCount(Key* handle) {
    const Key* key = Resolve(handle);
    if (key == nullptr) return {.code = kNoKeyThere, .count = 0};
    return {.count = static_cast<std::uint32_t>(key->values.size())};
}

ResultCode Store::Remove(Key& parent, const Key* removed) {
    if (ParentOf(removed, current) != nullptr) current = top.get();
    parent.keysByName.erase(Folded(removed->name));
    Erase(parent.keys, removed);
    dirty = true;
    return kDone;
}

ResultCode Store::Remove(Key& key, const Entry* removed) {
    key.valuesByName.erase(Folded(removed->name));
    Erase(key.values, removed);
    dirty = true;
    return kDone;
}

ResultCode Store::DeleteKey(Key* handle, const std::string& path) {
    Key* key = Resolve(handle);
    if (const ResultCode code = Refusal(key); IsFailure(code)) return code;
    Key* parent = nullptr;
    const Key* removed = FindPath(key, path, &parent);
    if (removed == nullptr) return kNoSuchEntry;
    return parent != nullptr ? Remove(*parent, removed) : kInvalidArgument;
}

ResultCode Store::DeleteKeyByInd(Key* handle, std::uint32_t index) {
    Key* key = Resolve(handle);
    if (const ResultCode code = Refusal(key); IsFailure(code)) return code;
    const Key* removed = ElementAt(key->keys, index);
    return removed != nullptr ? Remove(*key, removed) : kNoSuchEntry;
}

ResultCode Store::DeleteValue(Key* handle, const std::string& name) {
    Key* key = Resolve(handle);
    if (const ResultCode code = Refusal(key); IsFailure(code)) return code;
    const Entry* removed = FindEntry(*key, name);
    return removed != nullptr ? Remove(*key, removed) : kNoSuchEntry;
}

ResultCode Store::DeleteValueByInd(Key* handle, std::uint32_t index) {
    Key* key = Resolve(handle);
    if (const ResultCode code = Refusal(key); IsFailure(code)) return code;
    const Entry* removed = ElementAt(key->values, index);
    return removed != nullptr ? Remove(*key, removed) : kNoSuchEntry;
}

ResultCode Store::Clean() {
    if (readOnly) return kReadOnlyObject;
    if (top == nullptr) return kNotInitialised;
    current->keysByName.clear();
    current->valuesByName.clear();
    current->keys.clear();
    current->values.clear();
    dirty = true;
    return kDone;
}

ResultCode Store::SetRootKey(Key* key) {
    if (top == nullptr) return kNotInitialised;
    if (key != nullptr && ParentOf(top.get(), key) == nullptr) return kNoSuchEntry;
    current = key != nullptr ? key : top.get();
    return kDone;
}

ResultCode Store::SetRootStr(const std::string* path) {
    if (top == nullptr) return kNotInitialised;
    if (path == nullptr) return kInvalidArgument;
    Key* found = FindPath(top.get(), *path, nullptr);
    if (found == nullptr) return kNoSuchEntry;
    current = found;
    return kDone;
}

ReadResult Store::GetValue(Key* handle, const std::string& name, std::optional<TypeCode>& type, Buffer buffer,
                           std::optional<std::string>& hostText) {
    Key* key = Resolve(handle);
    if (key == nullptr) return {.code = kNoKeyThere};
    const Value* value = FindValue(*key, name);
    return value != nullptr ? ConvertOnRead(*value, type, buffer, hostText) : ReadResult{.code = kNoSuchEntry};
}

ReadResult Store::GetValueByIndex(Key* handle, std::uint32_t index, std::optional<TypeCode>& type, Buffer buffer,
                                  std::optional<std::string>& hostText) {
    const Key* key = Resolve(handle);
    if (key == nullptr) return {.code = kNoKeyThere};
    const Entry* entry = ElementAt(key->values, index);
    return entry != nullptr ? ConvertOnRead(entry->value, type, buffer, hostText) : ReadResult{.code = kNoSuchEntry};
}

ReadResult Store::GetValueNameByIndex(Key* handle, std::uint32_t index, Buffer buffer) {
    const Key* key = Resolve(handle);
    if (key == nullptr) return {.code = kNoKeyThere, .count = 0};
    const Entry* entry = ElementAt(key->values, index);
    const std::string text = entry != nullptr ? entry->name + '\0' : std::string();
    return FillBuffer(text, text.size(), buffer);
}

ReadResult Store::ConvertOnRead(const Value& value, std::optional<TypeCode>& type, Buffer buffer,
                                std::optional<std::string>& hostText) {
    if (type == TypeCode{0}) type = value.type;
    const TypeCode wanted = AlignedType(value, type.value_or(value.type), buffer.size);
    if (wanted == value.type) return Get(value, buffer);
    const TypeCode target = wanted == tSTRING_OBJ ? TypeCode{tWSTRING} : wanted;
    std::string text;
    if (const ResultCode code = TextOf(value, text); IsFailure(code)) return {.code = code};
    if (!IsStored(target)) return {.code = kOutOfMemory};
    Value converted = NewValue(target);
    if (target == tWSTRING) {
        SetFromUtf8(converted, text);
    } else if (const ResultCode code = FromText(converted, text); IsFailure(code)) {
        return {.code = code};
    }
    if (wanted != tSTRING_OBJ) return Get(converted, buffer);
    hostText = converted.bytes;
    return {.count = 0};
}

ResultCode Store::WriteDirectly(Value& value, const char* data, std::uint32_t size) {
    const ResultCode code = Set(value, data, size);
    if (IsFailure(code)) return code;
    dirty = dirty || code != kUnchanged;
    return kDone;
}

ResultCode Store::ConvertOnWrite(Value& value, TypeCode type, const char* data, std::uint32_t size) {
    if (type == value.type) return WriteDirectly(value, data, size);
    if (type == tSTRING_OBJ) {
        if (data == nullptr) return kInvalidArgument;
        type = tWSTRING;
    }
    if (value.type == tWSTRING) return WriteDirectly(value, data, size);
    type = AlignedType(value, type, size);
    if (!IsStored(type)) return kOutOfMemory;
    Value given = NewValue(type);
    Set(given, data, size);   // what it refuses leaves it zero or empty
    std::string text;
    if (const ResultCode code = TextOf(given, text); IsFailure(code)) return code;
    if (const ResultCode code = FromText(value, text); IsFailure(code)) return code;
    dirty = true;
    return kDone;
}

ResultCode Store::AddNew(Key& key, const std::string& name, TypeCode type, const char* data, std::uint32_t size) {
    if (!IsStored(type)) return kOutOfMemory;
    Value value = NewValue(type);
    if (const ResultCode code = Set(value, data, size); IsFailure(code)) {
        // The failed entry is removed by name, and the record of its name with it, also where that is another entry's.
        key.valuesByName.erase(Folded(name));
        return code;
    }
    key.AddValue(name, value);
    dirty = true;
    return kDone;
}

ResultCode Store::SetValue(Key* handle, const std::string& name, TypeCode type, const char* data, std::uint32_t size,
                           bool create) {
    Key* key = Resolve(handle);
    if (const ResultCode code = Refusal(key); IsFailure(code)) return code;
    if (Value* value = FindValue(*key, name); value != nullptr) return ConvertOnWrite(*value, type, data, size);
    return create ? AddNew(*key, name, type, data, size) : kNoSuchEntry;
}

ResultCode Store::SetValueByIndex(Key* handle, std::uint32_t index, TypeCode type, const char* data, std::uint32_t size,
                                  bool create) {
    Key* key = Resolve(handle);
    if (const ResultCode code = Refusal(key); IsFailure(code)) return code;
    if (Entry* entry = ElementAt(key->values, index); entry != nullptr)
        return ConvertOnWrite(entry->value, type, data, size);
    if (!create) return kNoSuchEntry;
    if (index > key->values.size()) return kInvalidArgument;
    return AddNew(*key, "noname" + std::to_string(index), type, data, size);
}

ResultCode Store::CopyKey(Key* handle, Store& destination, Key* destinationHandle) {
    const Key* from = Resolve(handle);
    const Key* to = &destination == this ? Resolve(destinationHandle) : nullptr;
    const bool intoItself = from != nullptr && to != nullptr && to != from && ParentOf(from, to) != nullptr;
    if (intoItself) return kInvalidArgument;
    const ResultCode code = CopyTree(handle, destination, destinationHandle);
    if (IsSuccess(code)) dirty = true;
    return code;
}

ResultCode Store::CopyKeyByName(const std::string& path, Store& destination) {
    const Opened source = OpenKey(nullptr, &path, false);
    return IsSuccess(source.code) ? CopyKey(source.key, destination, nullptr) : source.code;
}

/// By calls of the two objects' own methods, in the order that a change of one tree under the other's feet makes
/// matter. Texts were measured before, so that no buffer is too short.
ResultCode Store::CopyTree(Key* key, Store& destination, Key* destinationKey) {
    const Buffer whole{true, ~std::uint32_t{0}};
    const ReadResult values = GetValueCount(key);
    if (IsFailure(values.code)) return values.code;
    for (std::uint32_t index = 0; index < *values.count; ++index) {
        const ReadResult name = GetValueNameByIndex(key, index, whole);
        std::optional<TypeCode> type = 0;
        std::optional<std::string> hostText;
        const ReadResult datum = GetValueByIndex(key, index, type, whole, hostText);
        if (IsFailure(datum.code)) return datum.code;
        const ResultCode code = destination.SetValue(destinationKey, name.bytes.c_str(), *type, datum.bytes.data(),
                                                     static_cast<std::uint32_t>(datum.bytes.size()), true);
        if (IsFailure(code)) return code;
    }
    const std::uint32_t keys = *GetKeyCount(key).count;
    for (std::uint32_t index = 0; index < keys; ++index) {
        const ReadResult answer = GetKeyNameByIndex(key, index, whole, false);
        if (IsFailure(answer.code)) return answer.code;
        const std::string name = answer.bytes.c_str();
        const Opened source = OpenKey(key, &name, false);
        if (IsFailure(source.code)) return source.code;
        const Opened target = destination.OpenKey(destinationKey, &name, true);
        if (IsFailure(target.code)) return target.code;
        if (const ResultCode code = CopyTree(source.key, destination, target.key); IsFailure(code)) return code;
    }
    return kDone;
}

}   // namespace model

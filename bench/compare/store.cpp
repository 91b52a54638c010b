// This store as a host's component uses it: the module's file, its interface, and the stand-in host's memory.

#include "peer.h"

#include <component/kernel/value_types.h>

#include <host/io_object.h>
#include <host/object.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace bench {
namespace {

using kernel::KeyHandle;
using kernel::ResultCode;

/// As in a host in production: the trace lines of calls are discarded.
constexpr std::uint32_t kTraceLevel = kernel::TraceDetail;

void Require(ResultCode code, const char* what) {
    if (kernel::IsFailure(code)) throw std::runtime_error(what);
}

kernel::TypeCode TypeOf(Kind kind) {
    constexpr kernel::TypeCode kTypes[] = {kernel::tDWORD, kernel::tQWORD, kernel::tBOOL, kernel::tSTRING,
                                           kernel::tBINARY};
    return kTypes[static_cast<std::size_t>(kind)];
}

/// Receives a save in the caller's string.
class StringIo : public host::IoObject {
public:
    explicit StringIo(host::Kernel& kernel) : IoObject(kernel) {}

    std::string* target = nullptr;

private:
    ResultCode Size(std::uint64_t& sizeBytes) override {
        sizeBytes = 0;
        return kernel::kDone;
    }
    ResultCode Read(std::uint32_t& count, void*, std::uint32_t) override {
        count = 0;
        return kernel::kDone;
    }
    ResultCode Write(const void* data, std::uint32_t sizeBytes) override {
        target->append(static_cast<const char*>(data), sizeBytes);
        return kernel::kDone;
    }
};

class Store : public Peer {
public:
    explicit Store(const std::filesystem::path& module) : host({.traceLevel = kTraceLevel}), io(host) {
        host.LoadModule(module);
    }

    void Load(const std::string& file) override {
        object = std::make_unique<host::Object>(host);
        Require(object->SetDocument(file), "the store refuses the name");
        Require(object->Ready(), "the store can't load the document");
    }
    void Free() override { object.reset(); }

    std::size_t Get(const Entry& entry, char* buffer) override { return Read(Open(entry), entry, buffer); }
    void Set(const Entry& entry, std::string_view bytes, std::string_view) override {
        Write(Open(entry), entry, bytes);
    }

    [[nodiscard]] bool HasHandles() const override { return true; }
    void OpenAll(const std::vector<AccessCase>& cases) override {
        handles.clear();
        for (const AccessCase& access : cases) handles.push_back(Open(access.entry));
    }
    std::size_t GetOpen(std::size_t index, const Entry& entry, char* buffer) override {
        return Read(handles[index], entry, buffer);
    }
    void SetOpen(std::size_t index, const Entry& entry, std::string_view bytes) override {
        Write(handles[index], entry, bytes);
    }

    ContentDigest Enumerate() override {
        ContentDigest digest;
        const auto forward = [](std::uint32_t index, std::uint32_t) { return index; };
        Walk(0, digest, forward);
        return digest;
    }

    [[nodiscard]] bool MapsForeign() const override { return true; }

    void Save(std::string& text) override {
        io.target = &text;
        Require(object->SetName(u""), "the store refuses the name");
        Require(object->SetIoObject(io.Get()), "the store refuses the object");
        SaveChanged();
    }
    void SaveToDisk(const std::string& file) override {
        Require(object->SetDocument(file), "the store refuses the name");
        SaveChanged();
    }

    std::vector<std::pair<std::string, Job>> ExtraJobs() override {
        return {{"enum_down", [this] { WalkDown(); }}, {"next_key", [this] { WalkSiblings(); }}, {"copy", [this] {
                                                                                                      CopyAll();
                                                                                                  }}};
    }

private:
    [[nodiscard]] kernel::Registry Methods() const { return object->Methods(); }

    KeyHandle Open(const Entry& entry) {
        KeyHandle key = kernel::kNoKey;
        Require(Methods().OpenKey(object->Get(), &key, 0, entry.path.c_str(), 0), "a key is missing");
        return key;
    }

    std::size_t Read(KeyHandle key, const Entry& entry, char* buffer) {
        std::uint32_t size = 0;
        Require(Methods().GetValue(object->Get(), &size, key, entry.name.c_str(), nullptr, buffer, kMaxValueBytes),
                "a value can't be read");
        return size;
    }

    void Write(KeyHandle key, const Entry& entry, std::string_view bytes) {
        Require(Methods().SetValue(object->Get(), key, entry.name.c_str(), TypeOf(entry.kind), bytes.data(),
                                   static_cast<std::uint32_t>(bytes.size()), 1),
                "a value can't be written");
    }

    /// Reads all keys and values below `key` by index. `indexAt` maps the step and the count to the index.
    template <class IndexAt>
    void Walk(KeyHandle key, ContentDigest& digest, IndexAt indexAt) {
        char name[kMaxValueBytes];
        char bytes[kMaxValueBytes];
        std::uint32_t nameSize = 0;
        std::uint32_t count = 0;
        Require(Methods().GetKeyCount(object->Get(), &count, key), "keys can't be counted");
        for (std::uint32_t i = 0; i < count; ++i) {
            KeyHandle child = kernel::kNoKey;
            Require(Methods().OpenKeyByIndex(object->Get(), &child, key, indexAt(i, count)), "a key is missing");
            Require(Methods().GetKeyName(object->Get(), &nameSize, child, name, sizeof name, 0), "a key has no name");
            digest.AddKey({name, nameSize - 1});
            Walk(child, digest, indexAt);
        }
        Require(Methods().GetValueCount(object->Get(), &count, key), "values can't be counted");
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t index = indexAt(i, count);
            std::uint32_t size = 0;
            Require(Methods().GetValueNameByIndex(object->Get(), &nameSize, key, index, name, sizeof name),
                    "a value has no name");
            Require(Methods().GetValueByIndex(object->Get(), &size, key, index, nullptr, bytes, sizeof bytes),
                    "a value can't be read");
            digest.AddValue({name, nameSize - 1}, {bytes, size});
        }
    }

    void WalkDown() {
        ContentDigest digest;
        Walk(0, digest, [](std::uint32_t index, std::uint32_t count) { return count - 1 - index; });
        if (forwardDigest.values == 0) forwardDigest = Enumerate();
        if (digest != forwardDigest) throw std::runtime_error("the two directions differ");
    }

    /// Steps from sibling to sibling by `OpenNextKey`, in the wide key of a wide document; other documents have none.
    void WalkSiblings() {
        KeyHandle wide = kernel::kNoKey;
        if (kernel::IsFailure(Methods().OpenKey(object->Get(), &wide, 0, "Wide", 0))) return;
        KeyHandle key = kernel::kNoKey;
        std::uint32_t count = 0;
        Require(Methods().GetKeyCount(object->Get(), &count, wide), "keys can't be counted");
        if (kernel::IsFailure(Methods().OpenKeyByIndex(object->Get(), &key, wide, 0))) return;
        std::uint32_t visited = 1;
        while (visited < kMaxSiblings && kernel::IsSuccess(Methods().OpenNextKey(object->Get(), &key, key))) ++visited;
        if (visited != std::min(count, kMaxSiblings)) throw std::runtime_error("a sibling is missing");
    }

    void CopyAll() {
        host::Object copy(host);
        Require(copy.Ready(), "an empty store can't be made");
        Require(Methods().CopyKey(object->Get(), 0, copy.Get(), 0), "the store can't be copied");
    }

    /// Changes the store and saves it: an unchanged store saves nothing.
    void SaveChanged() {
        constexpr std::uint32_t kNumber = 0;
        Require(Methods().SetValue(object->Get(), 0, kScratchValue, kernel::tDWORD, &kNumber, sizeof kNumber, 1),
                "a value can't be made");
        Require(Methods().DeleteValue(object->Get(), 0, kScratchValue), "a value can't be deleted");
        Require(object->OwnMethods().Save(object->Get(), 1), "the store can't be saved");
    }

    static constexpr std::uint32_t kMaxSiblings = 10'000;
    static constexpr char kScratchValue[] = "scratch";

    host::Kernel host;
    StringIo io;
    std::unique_ptr<host::Object> object;
    std::vector<KeyHandle> handles;
    ContentDigest forwardDigest;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    const char* modulePath = std::getenv("ARBOR_MODULE");
    const std::filesystem::path module = modulePath != nullptr
                                             ? std::filesystem::path(modulePath)
                                             : std::filesystem::path(arguments[0]).parent_path() / ARBOR_MODULE_NAME;
    return bench::RunPeer(argumentCount, arguments,
                          {{"store", [&] { return std::make_unique<bench::Store>(module); }}});
}

// This store, as a caller of the host sees it: the module's file, its interface and host memory.

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

/// The threshold of a host that runs in earnest: the lines of the calls are dropped.
constexpr std::uint32_t kTraceLevel = kernel::TraceDetail;

void Demand(ResultCode code, const char* what) {
    if (kernel::IsFailure(code)) throw std::runtime_error(what);
}

kernel::TypeCode TypeOf(Kind kind) {
    constexpr kernel::TypeCode kTypes[] = {kernel::tDWORD, kernel::tQWORD, kernel::tBOOL, kernel::tSTRING,
                                           kernel::tBINARY};
    return kTypes[static_cast<std::size_t>(kind)];
}

/// What a save goes to when it's a memory that is measured: the caller's string.
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
        Demand(object->SetDocument(file), "the store takes no name");
        Demand(object->Ready(), "the store can't load the document");
    }
    void Free() override { object.reset(); }

    std::size_t Get(const Entry& entry, char* buffer) override { return Read(Open(entry), entry, buffer); }
    void Set(const Entry& entry, std::string_view bytes, std::string_view) override {
        Write(Open(entry), entry, bytes);
    }

    [[nodiscard]] bool HasHandles() const override { return true; }
    void OpenAll(const std::vector<Question>& questions) override {
        handles.clear();
        for (const Question& question : questions) handles.push_back(Open(question.entry));
    }
    std::size_t GetOpen(std::size_t index, const Entry& entry, char* buffer) override {
        return Read(handles[index], entry, buffer);
    }
    void SetOpen(std::size_t index, const Entry& entry, std::string_view bytes) override {
        Write(handles[index], entry, bytes);
    }

    Census Enumerate() override {
        Census census;
        const auto valueAt = [](std::uint32_t index, std::uint32_t) { return index; };
        Walk(0, census, valueAt);
        return census;
    }

    void Save(std::string& text) override {
        io.target = &text;
        Demand(object->SetName(u""), "the store takes no name");
        Demand(object->SetIoObject(io.Get()), "the store takes no object");
        SaveChanged();
    }
    void SaveToDisk(const std::string& file) override {
        Demand(object->SetDocument(file), "the store takes no name");
        SaveChanged();
    }

    std::vector<std::pair<std::string, Job>> OwnJobs() override {
        return {{"enum_down", [this] { WalkDown(); }}, {"next_key", [this] { WalkSiblings(); }}, {"copy", [this] {
                                                                                                      CopyAll();
                                                                                                  }}};
    }

private:
    [[nodiscard]] kernel::Registry Methods() const { return object->Methods(); }

    KeyHandle Open(const Entry& entry) {
        KeyHandle key = kernel::kNoKey;
        Demand(Methods().OpenKey(object->Get(), &key, 0, entry.path.c_str(), 0), "a key isn't there");
        return key;
    }

    std::size_t Read(KeyHandle key, const Entry& entry, char* buffer) {
        std::uint32_t size = 0;
        Demand(Methods().GetValue(object->Get(), &size, key, entry.name.c_str(), nullptr, buffer, kLongestValue),
               "a value can't be read");
        return size;
    }

    void Write(KeyHandle key, const Entry& entry, std::string_view bytes) {
        Demand(Methods().SetValue(object->Get(), key, entry.name.c_str(), TypeOf(entry.kind), bytes.data(),
                                  static_cast<std::uint32_t>(bytes.size()), 0),
               "a value can't be written");
    }

    /// Both lists of each key by index, in the order that `place` gives them.
    template <class Place>
    void Walk(KeyHandle key, Census& census, Place place) {
        char name[kLongestValue];
        char bytes[kLongestValue];
        std::uint32_t nameSize = 0;
        std::uint32_t count = 0;
        Demand(Methods().GetKeyCount(object->Get(), &count, key), "keys can't be counted");
        for (std::uint32_t i = 0; i < count; ++i) {
            KeyHandle child = kernel::kNoKey;
            Demand(Methods().OpenKeyByIndex(object->Get(), &child, key, place(i, count)), "a key isn't there");
            Demand(Methods().GetKeyName(object->Get(), &nameSize, child, name, sizeof name, 0), "a key has no name");
            census.AddKey({name, nameSize - 1});
            Walk(child, census, place);
        }
        Demand(Methods().GetValueCount(object->Get(), &count, key), "values can't be counted");
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t index = place(i, count);
            std::uint32_t size = 0;
            Demand(Methods().GetValueNameByIndex(object->Get(), &nameSize, key, index, name, sizeof name),
                   "a value has no name");
            Demand(Methods().GetValueByIndex(object->Get(), &size, key, index, nullptr, bytes, sizeof bytes),
                   "a value can't be read");
            census.AddValue({name, nameSize - 1}, {bytes, size});
        }
    }

    void WalkDown() {
        Census census;
        Walk(0, census, [](std::uint32_t index, std::uint32_t count) { return count - 1 - index; });
        if (upwards.values == 0) upwards = Enumerate();
        if (census != upwards) throw std::runtime_error("downwards isn't upwards");
    }

    /// From sibling to sibling, in the key of a wide document that has most of them.
    void WalkSiblings() {
        KeyHandle wide = kernel::kNoKey;
        if (kernel::IsFailure(Methods().OpenKey(object->Get(), &wide, 0, "Wide", 0))) return;
        KeyHandle key = kernel::kNoKey;
        std::uint32_t count = 0;
        Demand(Methods().GetKeyCount(object->Get(), &count, wide), "keys can't be counted");
        if (kernel::IsFailure(Methods().OpenKeyByIndex(object->Get(), &key, wide, 0))) return;
        std::uint32_t seen = 1;
        while (seen < kMostSiblings && kernel::IsSuccess(Methods().OpenNextKey(object->Get(), &key, key))) ++seen;
        if (seen != std::min(count, kMostSiblings)) throw std::runtime_error("a sibling is missing");
    }

    void CopyAll() {
        host::Object copy(host);
        Demand(copy.Ready(), "the store can't be empty");
        Demand(Methods().CopyKey(object->Get(), 0, copy.Get(), 0), "the store can't be copied");
    }

    /// An unchanged store saves nothing, so something is changed.
    void SaveChanged() {
        constexpr std::uint32_t kAnything = 0;
        Demand(Methods().SetValue(object->Get(), 0, kScratchValue, kernel::tDWORD, &kAnything, sizeof kAnything, 1),
               "a value can't be made");
        Demand(Methods().DeleteValue(object->Get(), 0, kScratchValue), "a value can't be deleted");
        Demand(object->OwnMethods().Save(object->Get(), 1), "the store can't be saved");
    }

    static constexpr std::uint32_t kMostSiblings = 10'000;
    static constexpr char kScratchValue[] = "scratch";

    host::Kernel host;
    StringIo io;
    std::unique_ptr<host::Object> object;
    std::vector<KeyHandle> handles;
    Census upwards;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    const char* named = std::getenv("ARBOR_MODULE");
    const std::filesystem::path module = named != nullptr
                                             ? std::filesystem::path(named)
                                             : std::filesystem::path(arguments[0]).parent_path() / "arbor.so";
    return bench::RunPeer(argumentCount, arguments,
                          {{"store", [&] { return std::make_unique<bench::Store>(module); }}});
}

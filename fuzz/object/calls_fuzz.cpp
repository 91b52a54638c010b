// Random calls of the whole interface on three objects and their models: one loaded from a document, one from an empty
// document, and one that never becomes ready. After each call the codes, counts and buffers must be those of the model.
// Then every object is saved, which shows whether the call changed it, and its document must be the model's. The input
// is a sequence of calls, each followed by its arguments.
#include "fuzz.h"
#include "model/document.h"
#include "model/store.h"
#include "object/registration.h"

#include <host/io_object.h>
#include <host/kernel.h>
#include <host/object.h>
#include <host/text.h>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>
#include <vector>

namespace {

using kernel::KeyHandle;
using kernel::Registry;
using kernel::ResultCode;
using kernel::TypeCode;
using model::Buffer;
using model::Key;
using model::ReadResult;

constexpr char kUntouched = '\xA5';
constexpr std::uint32_t kNotStored = 0xDEADBEEF;

/// Larger trees aren't copied, because copies of copies grow without limit.
constexpr std::size_t kMaxCopiedEntries = 400;

constexpr const char* kNames[] = {"a",   "A",    "b",      "c",   "noname",   "noname0",  "noname1",       "NoName0",
                                  "a/b", "a\\b", "a\\b/c", "key", "\x80\xFF", "\t<&\">'", "a longer name", ""};
constexpr const char* kPaths[] = {"a",  "A",     "b",    "a/b", "a\\b", "A/b\\c", "a\\b/c",  "a/b/a/c/a/b/a/a", "b/",
                                  "/a", "\\a/b", "a//b", "",    "/",    "\\",     "c\\d\\e", "a\\/b",           "c/"};
constexpr const char* kTexts[] = {"![CDATA[",
                                  "",
                                  "0",
                                  "1",
                                  "12",
                                  "-1",
                                  "255",
                                  "256",
                                  "0x1F",
                                  "FF",
                                  "0aff",
                                  "true",
                                  "false",
                                  "1.5",
                                  "-2e9",
                                  "1e300",
                                  "2147483648",
                                  "FFFFFFFF",
                                  "18446744073709551616",
                                  "\xC3\xA9\xE2\x82\xAC",
                                  "4100",
                                  "text"};

/// A foreign document with sibling elements and attributes of the same name.
constexpr char kDocument[] =
    "<a b='1' c='text' B='2'><b c='12'><a><c c='0x1F'/></a></b><B a='![CDATA['><a>far</a></B><c>near</c><b/></a>";

/// An object of the module, its model, and the document that it saves to.
struct ObjectPair {
    ObjectPair(host::Kernel& kernel, const std::string& document, bool synchronised)
        : io(kernel, document), object(kernel), locked(synchronised) {
        FUZZ_CHECK(object.SetIoObject(io.Get()) == kernel::kDone);
        FUZZ_CHECK(object.SetNumber(kernel::PropertySynchronised, synchronised ? 1 : 0) == kernel::kDone);
    }

    /// Makes the object ready and stores the root's handle in the model.
    void Ready(std::unique_ptr<Key> tree) {
        FUZZ_CHECK(object.Ready() == kernel::kDone);
        modelStore.Ready(std::move(tree));
        FUZZ_CHECK(object.Methods().OpenKey(object.Get(), &modelStore.top->handle, 0, nullptr, 0) == kernel::kDone);
    }

    host::MemoryIo io;
    host::Object object;
    model::Store modelStore;
    const bool locked;
};

/// The caller's side of a read: its count and its buffer, in a heap block of exactly the buffer's size.
class ReadCheck {
public:
    ReadCheck(Buffer callersBuffer, bool wantsCount)
        : buffer(callersBuffer),
          bytes(buffer.given ? buffer.size : 0, kUntouched),
          block(fuzz::CopyToBlock(std::string_view(bytes))),
          hasCount(wantsCount) {}

    std::uint32_t* Count() { return hasCount ? &count : nullptr; }
    char* Data() { return buffer.given ? block.get() : nullptr; }

    void Compare(ResultCode code, const ReadResult& expected) {
        FUZZ_CHECK(code == expected.code);
        if (hasCount) FUZZ_CHECK(count == expected.count.value_or(kNotStored));
        if (!buffer.given) return;
        bytes.replace(0, expected.bytes.size(), expected.bytes);
        FUZZ_CHECK(std::string_view(block.get(), buffer.size) == bytes);
    }

private:
    Buffer buffer;
    std::string bytes;
    std::unique_ptr<char[]> block;
    bool hasCount;
    std::uint32_t count = kNotStored;
};

class Session {
public:
    Session(host::Kernel& hostKernel, fuzz::Input& input)
        : kernel(hostKernel), in(input), methods(kernel.LastRegistration()->methods), hostText(kernel) {
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            pairs[i] = std::make_unique<ObjectPair>(kernel, i == 0 ? std::string(kDocument) : std::string(), i == 1);
        }
        auto tree = std::make_unique<Key>();
        FUZZ_CHECK(model::ReadDocument(kDocument, *tree) == kernel::kDone);
        pairs[0]->Ready(std::move(tree));
        pairs[1]->Ready(std::make_unique<Key>());
    }

    void Run() {
        while (!in.AtEnd()) {
            const CallMember call = AnyCall();
            pair = pairs[std::array{0U, 0U, 0U, 1U, 1U, 1U, 1U, 2U}[in.Below(8)]].get();
            object = pair->object.Get();
            modelStore = &pair->modelStore;
            (this->*call)();
            for (const auto& each : pairs) CheckSave(*each);
        }
    }

private:
    using CallMember = void (Session::*)();

    /// Calls that change what other calls see are listed more than once.
    CallMember AnyCall() {
        static constexpr CallMember kCalls[] = {
            &Session::OpenKey,
            &Session::OpenKey,
            &Session::OpenKey,
            &Session::OpenKeyByIndex,
            &Session::OpenKeyByIndex,
            &Session::OpenNextKey,
            &Session::OpenNextKey,
            &Session::CloseKey,
            &Session::GetKeyName,
            &Session::GetKeyNameByIndex,
            &Session::GetValue,
            &Session::GetValueByIndex,
            &Session::GetValueNameByIndex,
            &Session::SetValue,
            &Session::SetValue,
            &Session::SetValueByIndex,
            &Session::GetKeyCount,
            &Session::GetValueCount,
            &Session::DeleteKey,
            &Session::DeleteKeyByInd,
            &Session::DeleteKeyByInd,
            &Session::DeleteValue,
            &Session::DeleteValueByInd,
            &Session::Clean,
            &Session::CopyKey,
            &Session::CopyKeyByName,
            &Session::SetRootKey,
            &Session::SetRootKey,
            &Session::SetRootStr,
            &Session::SetRootStr,
            &Session::GetRootPoint,
            &Session::SetReadOnly,
            &Session::SaveAndLoad,
        };
        return kCalls[in.Below(std::size(kCalls))];
    }

    // Arguments

    /// A key whose handle an open method has returned, the current root, or no key.
    Key* KnownKey() {
        const std::uint8_t choice = in.Byte();
        if (choice < 96) return nullptr;
        if (choice >= 250) return &model::Store::noKey;
        std::vector<Key*> known;
        if (modelStore->top != nullptr) Collect(*modelStore->top, known);
        return known.empty() ? nullptr : known[choice % known.size()];
    }

    /// For the methods that search the tree for a handle: also a key of another object, or a handle that is no key's.
    Key* AnyKey() {
        const std::uint8_t choice = in.Byte();
        if (choice < 200) return KnownKey();
        return choice < 230 ? pairs[choice % 2]->modelStore.top.get() : &model::Store::unknownKey;
    }

    static void Collect(Key& key, std::vector<Key*>& known) {
        if (key.handle != 0) known.push_back(&key);
        for (const auto& child : key.keys) Collect(*child, known);
    }

    static KeyHandle Handle(const Key* key) { return key != nullptr ? key->handle : 0; }

    std::string Name() { return in.Byte() < 200 ? Chosen(kNames) : fuzz::Terminated(in.Text(12)); }
    std::string Path() { return in.Byte() < 200 ? Chosen(kPaths) : fuzz::Terminated(in.Text(24)); }

    template <std::size_t count>
    std::string Chosen(const char* const (&table)[count]) {
        return table[in.Below(count)];
    }

    std::uint32_t Index() {
        const std::uint8_t choice = in.Byte();
        return choice < 240 ? choice % 6U : ~std::uint32_t{choice & 1U};
    }

    TypeCode Type() {
        const std::uint8_t choice = in.Byte();
        return choice != 255 ? choice % 64U : 0x1000U;
    }

    /// A buffer of about the size that the read needs.
    Buffer BufferFor(const ReadResult& measured) {
        const std::uint32_t needed = measured.count.value_or(0);
        const std::uint32_t sizes[] = {0, needed - std::min(needed, 1U), needed, needed + 1, in.Byte()};
        const std::uint32_t size = sizes[in.Below(std::size(sizes))];
        return {in.Byte() < 200, size};
    }

    bool Likely() { return in.Byte() < 224; }

    // Keys

    /// Compares the result of an open method with the model's. A key must always have the same handle, and no other key
    /// may have it.
    void CheckOpened(const model::Opened& expected, ResultCode code, KeyHandle handle) {
        FUZZ_CHECK(code == expected.code);
        if (expected.key == nullptr) {
            FUZZ_CHECK(handle == kernel::kNoKey);
            return;
        }
        if (expected.key->handle == 0) {
            for (const auto& each : pairs)
                FUZZ_CHECK(each->modelStore.top == nullptr || !Has(*each->modelStore.top, handle));
            expected.key->handle = handle;
        }
        FUZZ_CHECK(expected.key->handle == handle && handle != 0);
    }

    static bool Has(const Key& key, KeyHandle handle) {
        return key.handle == handle || std::any_of(key.keys.begin(), key.keys.end(),
                                                   [handle](const auto& child) { return Has(*child, handle); });
    }

    /// `open` calls the method with the address for the handle, which may be null.
    template <class Open>
    void CheckOpen(const model::Opened& expected, Open open) {
        KeyHandle handle = kNotStored;
        if (Likely()) {
            const ResultCode code = open(&handle);
            CheckOpened(expected, code, handle);
        } else {
            FUZZ_CHECK(open(nullptr) == expected.code);
        }
    }

    void CloseKey() { FUZZ_CHECK(methods.CloseKey(object, Handle(AnyKey())) == kernel::kDone); }

    void OpenKey() {
        Key* const parent = KnownKey();
        const bool create = in.Byte() < 160;
        if (!Likely()) {
            return CheckOpen(modelStore->OpenKey(parent, nullptr, create), [&](KeyHandle* handle) {
                return methods.OpenKey(object, handle, Handle(parent), nullptr, create ? 1 : 0);
            });
        }
        const std::string path = Path();
        CheckOpen(modelStore->OpenKey(parent, &path, create), [&](KeyHandle* handle) {
            return methods.OpenKey(object, handle, Handle(parent), path.c_str(), create ? 7 : 0);
        });
    }

    void OpenKeyByIndex() {
        Key* const parent = KnownKey();
        const std::uint32_t index = Index();
        CheckOpen(modelStore->OpenKeyByIndex(parent, index),
                  [&](KeyHandle* handle) { return methods.OpenKeyByIndex(object, handle, Handle(parent), index); });
    }

    /// Some steps on end, which may stop in the midst of the siblings.
    void OpenNextKey() {
        Key* key = AnyKey();
        for (std::size_t steps = 1 + in.Below(4); steps > 0; --steps) {
            const model::Opened next = modelStore->OpenNextKey(key);
            CheckOpen(next, [&](KeyHandle* handle) { return methods.OpenNextKey(object, handle, Handle(key)); });
            if (next.key == nullptr || next.key->handle == 0) return;
            key = next.key;
        }
    }

    void GetKeyName() {
        const bool full = in.Bool();
        Key* const key = full ? AnyKey() : KnownKey();
        const Buffer buffer = BufferFor(modelStore->GetKeyName(key, {false, 0}, full));
        ReadCheck read(buffer, Likely());
        const ResultCode code =
            methods.GetKeyName(object, read.Count(), Handle(key), read.Data(), buffer.size, full ? 1 : 0);
        read.Compare(code, modelStore->GetKeyName(key, buffer, full));
    }

    void GetKeyNameByIndex() {
        Key* const parent = KnownKey();
        const std::uint32_t index = Index();
        const bool full = in.Bool();
        const Buffer buffer = BufferFor(modelStore->GetKeyNameByIndex(parent, index, {false, 0}, full));
        ReadCheck read(buffer, Likely());
        const ResultCode code = methods.GetKeyNameByIndex(object, read.Count(), Handle(parent), index, read.Data(),
                                                          buffer.size, full ? 1 : 0);
        read.Compare(code, modelStore->GetKeyNameByIndex(parent, index, buffer, full));
    }

    template <class Call, class Expect>
    void Counts(Call call, Expect expect) {
        Key* const key = KnownKey();
        ReadCheck read({false, 0}, Likely());
        const ResultCode code = (methods.*call)(object, read.Count(), Handle(key));
        read.Compare(code, (modelStore->*expect)(key));
    }
    void GetKeyCount() { Counts(&Registry::GetKeyCount, &model::Store::GetKeyCount); }
    void GetValueCount() { Counts(&Registry::GetValueCount, &model::Store::GetValueCount); }

    static const char* Passed(const std::string& name) { return name.c_str(); }
    static std::uint32_t Passed(std::uint32_t index) { return index; }

    /// `draw` gives the name, path or index that follows the key; so it does below.
    template <class Argument, class Call, class Expect>
    void Deletes(Argument (Session::*draw)(), Call call, Expect expect) {
        Key* const key = KnownKey();
        const Argument argument = (this->*draw)();
        const ResultCode code = (methods.*call)(object, Handle(key), Passed(argument));
        FUZZ_CHECK(code == (modelStore->*expect)(key, argument));
    }
    void DeleteKey() { Deletes(&Session::Path, &Registry::DeleteKey, &model::Store::DeleteKey); }
    void DeleteKeyByInd() { Deletes(&Session::Index, &Registry::DeleteKeyByInd, &model::Store::DeleteKeyByInd); }
    void DeleteValue() { Deletes(&Session::Name, &Registry::DeleteValue, &model::Store::DeleteValue); }
    void DeleteValueByInd() { Deletes(&Session::Index, &Registry::DeleteValueByInd, &model::Store::DeleteValueByInd); }

    void Clean() { FUZZ_CHECK(methods.Clean(object) == modelStore->Clean()); }

    void SetRootKey() {
        Key* const key = AnyKey();
        FUZZ_CHECK(methods.SetRootKey(object, Handle(key)) == modelStore->SetRootKey(key));
    }

    void SetRootStr() {
        if (!Likely()) {
            FUZZ_CHECK(methods.SetRootStr(object, nullptr) == modelStore->SetRootStr(nullptr));
            return;
        }
        const std::string path = Path();
        FUZZ_CHECK(methods.SetRootStr(object, path.c_str()) == modelStore->SetRootStr(&path));
    }

    void GetRootPoint() {
        const Buffer buffer = BufferFor(modelStore->GetRootPoint({false, 0}));
        ReadCheck read(buffer, true);
        const ResultCode code =
            pair->object.GetProperty(kernel::PropertyRootPoint, read.Count(), read.Data(), buffer.size);
        read.Compare(code, modelStore->GetRootPoint(buffer));
    }

    /// Between two objects, or within one that has no lock to wait for.
    [[nodiscard]] bool MayCopyTo(const ObjectPair& destination) const {
        const auto size = [](const ObjectPair& each) {
            return each.modelStore.top != nullptr ? EntryCount(*each.modelStore.top) : 0;
        };
        return !(&destination == pair && pair->locked) && size(*pair) + size(destination) <= kMaxCopiedEntries;
    }

    void CopyKey() {
        Key* const key = KnownKey();
        ObjectPair& destination = *pairs[in.Below(pairs.size())];
        if (!MayCopyTo(destination)) return;
        model::Store* const source = std::exchange(modelStore, &destination.modelStore);
        Key* const target = KnownKey();
        modelStore = source;
        const ResultCode code = methods.CopyKey(object, Handle(key), destination.object.Get(), Handle(target));
        FUZZ_CHECK(code == modelStore->CopyKey(key, destination.modelStore, target));
    }

    void CopyKeyByName() {
        const std::string path = Path();
        ObjectPair& destination = *pairs[in.Below(pairs.size())];
        if (!MayCopyTo(destination)) return;
        const ResultCode code = methods.CopyKeyByName(object, path.c_str(), destination.object.Get());
        FUZZ_CHECK(code == modelStore->CopyKeyByName(path, destination.modelStore));
    }

    // Values

    template <class Argument, class Call, class Expect>
    void CheckRead(Argument (Session::*draw)(), Call call, Expect expect) {
        Key* const key = KnownKey();
        const Argument argument = (this->*draw)();
        const auto read = [&](std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size) {
            return (methods.*call)(object, count, Handle(key), Passed(argument), type, buffer, size);
        };
        const auto ask = [&](std::optional<TypeCode>& type, Buffer buffer, std::optional<std::string>& text) {
            return (modelStore->*expect)(key, argument, type, buffer, text);
        };
        std::optional<TypeCode> type = Type();
        if (!Likely()) type.reset();
        if (type.has_value() && !Likely()) type = 0;
        TypeCode stored = type.value_or(0);
        TypeCode* const typeAddress = type.has_value() ? &stored : nullptr;
        std::optional<TypeCode> measuredType = type;
        std::optional<std::string> text;
        if (type == TypeCode{kernel::tSTRING_OBJ}) {
            ReadCheck check({false, 0}, Likely());
            const ResultCode code = read(check.Count(), typeAddress, hostText.Get(), 0);
            check.Compare(code, ask(type, Buffer{true, 0}, text));
            if (text.has_value()) FUZZ_CHECK(Units(hostText) == *text);
        } else {
            const Buffer buffer = BufferFor(ask(measuredType, Buffer{false, 0}, text));
            ReadCheck check(buffer, Likely());
            const ResultCode code = read(check.Count(), typeAddress, check.Data(), buffer.size);
            check.Compare(code, ask(type, buffer, text));
        }
        FUZZ_CHECK(stored == type.value_or(0));
    }

    static std::string Units(const host::Text& text) {
        return {reinterpret_cast<const char*>(text.View().data()), text.View().size() * sizeof(char16_t)};
    }

    void GetValue() { CheckRead(&Session::Name, &Registry::GetValue, &model::Store::GetValue); }
    void GetValueByIndex() { CheckRead(&Session::Index, &Registry::GetValueByIndex, &model::Store::GetValueByIndex); }

    void GetValueNameByIndex() {
        Key* const key = KnownKey();
        const std::uint32_t index = Index();
        const Buffer buffer = BufferFor(modelStore->GetValueNameByIndex(key, index, {false, 0}));
        ReadCheck read(buffer, Likely());
        const ResultCode code =
            methods.GetValueNameByIndex(object, read.Count(), Handle(key), index, read.Data(), buffer.size);
        read.Compare(code, modelStore->GetValueNameByIndex(key, index, buffer));
    }

    /// Writes bytes in a heap block of exactly their size, a string of the host, or null.
    template <class Argument, class Call, class Expected>
    void CheckWrite(Argument (Session::*draw)(), Call call, Expected expected) {
        Key* const key = KnownKey();
        const Argument argument = (this->*draw)();
        const auto write = [&](TypeCode type, const void* data, std::uint32_t size, std::uint32_t create) {
            return (methods.*call)(object, Handle(key), Passed(argument), type, data, size, create);
        };
        const auto expect = [&](TypeCode type, const char* data, std::uint32_t size, bool create) {
            return (modelStore->*expected)(key, argument, type, data, size, create);
        };
        const TypeCode type = Type();
        const bool given = Likely();
        std::string bytes = in.Bool() ? in.Text(20) : Chosen(kTexts);
        if (in.Bool()) bytes += '\0';
        const std::uint32_t create = in.Byte() < 200 ? 1 : 0;
        if (type == kernel::tSTRING_OBJ && given) {
            host::Text text(kernel);
            const std::u16string units(bytes.begin(), bytes.end());
            if (Likely()) FUZZ_CHECK(text.Set(units) == kernel::kDone);
            const std::string data = Units(text);
            const ResultCode code = write(type, text.Get(), 12U, create);
            FUZZ_CHECK(code == expect(type, data.data(), static_cast<std::uint32_t>(data.size()), create != 0));
            return;
        }
        const auto block = fuzz::CopyToBlock(std::string_view(bytes));
        const char* const data = given ? block.get() : nullptr;
        const auto size = static_cast<std::uint32_t>(bytes.size());
        FUZZ_CHECK(write(type, data, size, create) == expect(type, data, size, create != 0));
    }

    void SetValue() { CheckWrite(&Session::Name, &Registry::SetValue, &model::Store::SetValue); }
    void SetValueByIndex() { CheckWrite(&Session::Index, &Registry::SetValueByIndex, &model::Store::SetValueByIndex); }

    // Objects

    void SetReadOnly() {
        modelStore->readOnly = in.Byte() < 64;
        FUZZ_CHECK(pair->object.SetNumber(kernel::PropertyReadOnly, modelStore->readOnly ? 1 : 0) == kernel::kDone);
    }

    /// A save must write the tree if it has changed, and nothing otherwise.
    static void CheckSave(ObjectPair& each) {
        const std::uint32_t writes = each.io.WriteCount();
        const ResultCode code = each.object.OwnMethods().Save(each.object.Get(), 1);
        std::string document;
        const ResultCode expected =
            each.modelStore.dirty ? WriteDocument(*each.modelStore.top, document) : kernel::kDone;
        const bool written = each.modelStore.dirty && kernel::IsSuccess(expected);
        FUZZ_CHECK(code == expected && each.io.WriteCount() == writes + (written ? 1 : 0));
        if (!written) return;
        FUZZ_CHECK(each.io.Content() == document);
        each.modelStore.dirty = false;
    }

    /// Replaces the object by a new one that loads its document.
    void SaveAndLoad() {
        const std::uint32_t number = in.Byte();
        const auto* const data = reinterpret_cast<const char*>(&number);
        const ResultCode code = methods.SetValue(object, 0, "saved", kernel::tDWORD, data, sizeof number, 1);
        FUZZ_CHECK(code == modelStore->SetValue(nullptr, "saved", kernel::tDWORD, data, sizeof number, true));
        if (!modelStore->dirty) return;
        CheckSave(*pair);
        auto tree = std::make_unique<Key>();
        if (modelStore->dirty || model::ReadDocument(pair->io.Content(), *tree) != kernel::kDone) return;
        auto next = std::make_unique<ObjectPair>(kernel, pair->io.Content(), pair->locked);
        next->Ready(std::move(tree));
        *std::find_if(pairs.begin(), pairs.end(), [this](const auto& each) { return each.get() == pair; }) =
            std::move(next);
    }

    host::Kernel& kernel;
    fuzz::Input& in;
    Registry methods;
    host::Text hostText;
    std::array<std::unique_ptr<ObjectPair>, 3> pairs;
    ObjectPair* pair = nullptr;   // of the call
    kernel::HostObject* object = nullptr;
    model::Store* modelStore = nullptr;
};

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static host::Kernel kernel;
    if (kernel.LastRegistration() == nullptr) kernel.Start(&ModuleEntry);
    fuzz::Input input(data, size);
    Session(kernel, input).Run();
    FUZZ_CHECK(kernel.LiveBlocks() == 0);
    return 0;
}

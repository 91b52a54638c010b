// Random calls of the whole interface, on three objects and their models: one ready on a document, one on none, and one
// never. After each call the codes, counts and buffers must agree, and a save of every object shows whether the call
// changed it and what its document holds now. The input is a sequence of calls, each followed by its arguments.
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
using model::Answer;
using model::Buffer;
using model::Key;

constexpr char kUntouched = '\xA5';
constexpr std::uint32_t kNotStored = 0xDEADBEEF;

/// Trees beyond this aren't copied: copies of copies grow without an end.
constexpr std::size_t kMostCopied = 400;

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

/// A foreign document, whose elements repeat under one name and whose values do.
constexpr char kDocument[] =
    "<a b='1' c='text' B='2'><b c='12'><a><c c='0x1F'/></a></b><B a='![CDATA['><a>far</a></B><c>near</c><b/></a>";

/// An object of the module, its model, and the document that it saves to.
struct Twin {
    Twin(host::Kernel& kernel, const std::string& document, bool synchronised)
        : io(kernel, document), object(kernel), locked(synchronised) {
        FUZZ_CHECK(object.SetIoObject(io.Get()) == kernel::kDone);
        FUZZ_CHECK(object.SetNumber(kernel::PropertySynchronised, synchronised ? 1 : 0) == kernel::kDone);
    }

    /// The root's handle is known from here on.
    void Ready(std::unique_ptr<Key> tree) {
        FUZZ_CHECK(object.Ready() == kernel::kDone);
        plain.Ready(std::move(tree));
        FUZZ_CHECK(object.Methods().OpenKey(object.Get(), &plain.top->handle, 0, nullptr, 0) == kernel::kDone);
    }

    host::MemoryIo io;
    host::Object object;
    model::Store plain;
    const bool locked;
};

/// A read that the module answers: the caller's count and buffer, the buffer in a block of just its size.
class ReadCheck {
public:
    ReadCheck(Buffer callersBuffer, bool wantsCount)
        : buffer(callersBuffer),
          bytes(buffer.given ? buffer.size : 0, kUntouched),
          block(fuzz::Exactly(std::string_view(bytes))),
          hasCount(wantsCount) {}

    std::uint32_t* Count() { return hasCount ? &count : nullptr; }
    char* Data() { return buffer.given ? block.get() : nullptr; }

    void Compare(ResultCode code, const Answer& expected) {
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
        for (std::size_t i = 0; i < twins.size(); ++i) {
            twins[i] = std::make_unique<Twin>(kernel, i == 0 ? std::string(kDocument) : std::string(), i == 1);
        }
        auto tree = std::make_unique<Key>();
        FUZZ_CHECK(model::ReadDocument(kDocument, *tree) == kernel::kDone);
        twins[0]->Ready(std::move(tree));
        twins[1]->Ready(std::make_unique<Key>());
    }

    void Run() {
        while (!in.AtEnd()) {
            const CallMember call = AnyCall();
            twin = twins[std::array{0U, 0U, 0U, 1U, 1U, 1U, 1U, 2U}[in.Below(8)]].get();
            object = twin->object.Get();
            plain = &twin->plain;
            (this->*call)();
            for (const auto& each : twins) Settle(*each);
        }
    }

private:
    using CallMember = void (Session::*)();

    /// What stands here more often changes what the others see.
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

    /// A key that callers know, the current root, or no key.
    Key* KnownKey() {
        const std::uint8_t choice = in.Byte();
        if (choice < 96) return nullptr;
        if (choice >= 250) return &model::Store::nowhere;
        std::vector<Key*> known;
        if (plain->top != nullptr) Collect(*plain->top, known);
        return known.empty() ? nullptr : known[choice % known.size()];
    }

    /// For calls that look a handle up: also a key of another object, or an address of nothing.
    Key* AnyKey() {
        const std::uint8_t choice = in.Byte();
        if (choice < 200) return KnownKey();
        return choice < 230 ? twins[choice % 2]->plain.top.get() : &model::Store::stranger;
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

    /// Around what the read needs.
    Buffer BufferFor(const Answer& measured) {
        const std::uint32_t needed = measured.count.value_or(0);
        const std::uint32_t sizes[] = {0, needed - std::min(needed, 1U), needed, needed + 1, in.Byte()};
        const std::uint32_t size = sizes[in.Below(std::size(sizes))];
        return {in.Byte() < 200, size};
    }

    bool Mostly() { return in.Byte() < 224; }

    // Keys

    /// Takes what an open method told, and sees that a key has one handle for ever and no other key has it.
    void Learn(const model::Opened& expected, ResultCode code, KeyHandle answer) {
        FUZZ_CHECK(code == expected.code);
        if (expected.key == nullptr) {
            FUZZ_CHECK(answer == kernel::kNoKey);
            return;
        }
        if (expected.key->handle == 0) {
            for (const auto& each : twins) FUZZ_CHECK(each->plain.top == nullptr || !Has(*each->plain.top, answer));
            expected.key->handle = answer;
        }
        FUZZ_CHECK(expected.key->handle == answer && answer != 0);
    }

    static bool Has(const Key& key, KeyHandle handle) {
        return key.handle == handle || std::any_of(key.keys.begin(), key.keys.end(),
                                                   [handle](const auto& child) { return Has(*child, handle); });
    }

    /// `open` takes where the answer goes, which may be nowhere.
    template <class Open>
    void Opens(const model::Opened& expected, Open open) {
        KeyHandle answer = kNotStored;
        if (Mostly()) {
            const ResultCode code = open(&answer);
            Learn(expected, code, answer);
        } else {
            FUZZ_CHECK(open(nullptr) == expected.code);
        }
    }

    void CloseKey() { FUZZ_CHECK(methods.CloseKey(object, Handle(AnyKey())) == kernel::kDone); }

    void OpenKey() {
        Key* const parent = KnownKey();
        const bool create = in.Byte() < 160;
        if (!Mostly()) {
            return Opens(plain->OpenKey(parent, nullptr, create), [&](KeyHandle* answer) {
                return methods.OpenKey(object, answer, Handle(parent), nullptr, create ? 1 : 0);
            });
        }
        const std::string path = Path();
        Opens(plain->OpenKey(parent, &path, create), [&](KeyHandle* answer) {
            return methods.OpenKey(object, answer, Handle(parent), path.c_str(), create ? 7 : 0);
        });
    }

    void OpenKeyByIndex() {
        Key* const parent = KnownKey();
        const std::uint32_t index = Index();
        Opens(plain->OpenKeyByIndex(parent, index),
              [&](KeyHandle* answer) { return methods.OpenKeyByIndex(object, answer, Handle(parent), index); });
    }

    /// Some steps on end, which may stop in the midst of the siblings.
    void OpenNextKey() {
        Key* key = AnyKey();
        for (std::size_t steps = 1 + in.Below(4); steps > 0; --steps) {
            const model::Opened next = plain->OpenNextKey(key);
            Opens(next, [&](KeyHandle* answer) { return methods.OpenNextKey(object, answer, Handle(key)); });
            if (next.key == nullptr || next.key->handle == 0) return;
            key = next.key;
        }
    }

    void GetKeyName() {
        const bool full = in.Coin();
        Key* const key = full ? AnyKey() : KnownKey();
        const Buffer buffer = BufferFor(plain->GetKeyName(key, {false, 0}, full));
        ReadCheck read(buffer, Mostly());
        const ResultCode code =
            methods.GetKeyName(object, read.Count(), Handle(key), read.Data(), buffer.size, full ? 1 : 0);
        read.Compare(code, plain->GetKeyName(key, buffer, full));
    }

    void GetKeyNameByIndex() {
        Key* const parent = KnownKey();
        const std::uint32_t index = Index();
        const bool full = in.Coin();
        const Buffer buffer = BufferFor(plain->GetKeyNameByIndex(parent, index, {false, 0}, full));
        ReadCheck read(buffer, Mostly());
        const ResultCode code = methods.GetKeyNameByIndex(object, read.Count(), Handle(parent), index, read.Data(),
                                                          buffer.size, full ? 1 : 0);
        read.Compare(code, plain->GetKeyNameByIndex(parent, index, buffer, full));
    }

    template <class Call, class Expect>
    void Counts(Call call, Expect expect) {
        Key* const key = KnownKey();
        ReadCheck read({false, 0}, Mostly());
        const ResultCode code = (methods.*call)(object, read.Count(), Handle(key));
        read.Compare(code, (plain->*expect)(key));
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
        FUZZ_CHECK(code == (plain->*expect)(key, argument));
    }
    void DeleteKey() { Deletes(&Session::Path, &Registry::DeleteKey, &model::Store::DeleteKey); }
    void DeleteKeyByInd() { Deletes(&Session::Index, &Registry::DeleteKeyByInd, &model::Store::DeleteKeyByInd); }
    void DeleteValue() { Deletes(&Session::Name, &Registry::DeleteValue, &model::Store::DeleteValue); }
    void DeleteValueByInd() { Deletes(&Session::Index, &Registry::DeleteValueByInd, &model::Store::DeleteValueByInd); }

    void Clean() { FUZZ_CHECK(methods.Clean(object) == plain->Clean()); }

    void SetRootKey() {
        Key* const key = AnyKey();
        FUZZ_CHECK(methods.SetRootKey(object, Handle(key)) == plain->SetRootKey(key));
    }

    void SetRootStr() {
        if (!Mostly()) {
            FUZZ_CHECK(methods.SetRootStr(object, nullptr) == plain->SetRootStr(nullptr));
            return;
        }
        const std::string path = Path();
        FUZZ_CHECK(methods.SetRootStr(object, path.c_str()) == plain->SetRootStr(&path));
    }

    void GetRootPoint() {
        const Buffer buffer = BufferFor(plain->GetRootPoint({false, 0}));
        ReadCheck read(buffer, true);
        const ResultCode code =
            twin->object.GetProperty(kernel::PropertyRootPoint, read.Count(), read.Data(), buffer.size);
        read.Compare(code, plain->GetRootPoint(buffer));
    }

    /// Between two objects, or within one that has no lock to wait for.
    [[nodiscard]] bool MayCopyTo(const Twin& destination) const {
        const auto size = [](const Twin& each) { return each.plain.top != nullptr ? Size(*each.plain.top) : 0; };
        return !(&destination == twin && twin->locked) && size(*twin) + size(destination) <= kMostCopied;
    }

    void CopyKey() {
        Key* const key = KnownKey();
        Twin& destination = *twins[in.Below(twins.size())];
        if (!MayCopyTo(destination)) return;
        model::Store* const source = std::exchange(plain, &destination.plain);
        Key* const target = KnownKey();
        plain = source;
        const ResultCode code = methods.CopyKey(object, Handle(key), destination.object.Get(), Handle(target));
        FUZZ_CHECK(code == plain->CopyKey(key, destination.plain, target));
    }

    void CopyKeyByName() {
        const std::string path = Path();
        Twin& destination = *twins[in.Below(twins.size())];
        if (!MayCopyTo(destination)) return;
        const ResultCode code = methods.CopyKeyByName(object, path.c_str(), destination.object.Get());
        FUZZ_CHECK(code == plain->CopyKeyByName(path, destination.plain));
    }

    // Values

    template <class Argument, class Call, class Expect>
    void Reads(Argument (Session::*draw)(), Call call, Expect expect) {
        Key* const key = KnownKey();
        const Argument argument = (this->*draw)();
        const auto read = [&](std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size) {
            return (methods.*call)(object, count, Handle(key), Passed(argument), type, buffer, size);
        };
        const auto ask = [&](std::optional<TypeCode>& type, Buffer buffer, std::optional<std::string>& text) {
            return (plain->*expect)(key, argument, type, buffer, text);
        };
        std::optional<TypeCode> type = Type();
        if (!Mostly()) type.reset();
        if (type.has_value() && !Mostly()) type = 0;
        TypeCode stored = type.value_or(0);
        TypeCode* const typeAddress = type.has_value() ? &stored : nullptr;
        std::optional<TypeCode> measuredType = type;
        std::optional<std::string> text;
        if (type == TypeCode{kernel::tSTRING_OBJ}) {
            ReadCheck check({false, 0}, Mostly());
            const ResultCode code = read(check.Count(), typeAddress, hostText.Get(), 0);
            check.Compare(code, ask(type, Buffer{true, 0}, text));
            if (text.has_value()) FUZZ_CHECK(Units(hostText) == *text);
        } else {
            const Buffer buffer = BufferFor(ask(measuredType, Buffer{false, 0}, text));
            ReadCheck check(buffer, Mostly());
            const ResultCode code = read(check.Count(), typeAddress, check.Data(), buffer.size);
            check.Compare(code, ask(type, buffer, text));
        }
        FUZZ_CHECK(stored == type.value_or(0));
    }

    static std::string Units(const host::Text& text) {
        return {reinterpret_cast<const char*>(text.View().data()), text.View().size() * sizeof(char16_t)};
    }

    void GetValue() { Reads(&Session::Name, &Registry::GetValue, &model::Store::GetValue); }
    void GetValueByIndex() { Reads(&Session::Index, &Registry::GetValueByIndex, &model::Store::GetValueByIndex); }

    void GetValueNameByIndex() {
        Key* const key = KnownKey();
        const std::uint32_t index = Index();
        const Buffer buffer = BufferFor(plain->GetValueNameByIndex(key, index, {false, 0}));
        ReadCheck read(buffer, Mostly());
        const ResultCode code =
            methods.GetValueNameByIndex(object, read.Count(), Handle(key), index, read.Data(), buffer.size);
        read.Compare(code, plain->GetValueNameByIndex(key, index, buffer));
    }

    /// What a caller writes: bytes in a block of just their number, a string of the host, or nothing at all.
    template <class Argument, class Call, class Expected>
    void Writes(Argument (Session::*draw)(), Call call, Expected expected) {
        Key* const key = KnownKey();
        const Argument argument = (this->*draw)();
        const auto write = [&](TypeCode type, const void* data, std::uint32_t size, std::uint32_t create) {
            return (methods.*call)(object, Handle(key), Passed(argument), type, data, size, create);
        };
        const auto expect = [&](TypeCode type, const char* data, std::uint32_t size, bool create) {
            return (plain->*expected)(key, argument, type, data, size, create);
        };
        const TypeCode type = Type();
        const bool given = Mostly();
        std::string bytes = in.Coin() ? in.Text(20) : Chosen(kTexts);
        if (in.Coin()) bytes += '\0';
        const std::uint32_t create = in.Byte() < 200 ? 1 : 0;
        if (type == kernel::tSTRING_OBJ && given) {
            host::Text text(kernel);
            const std::u16string units(bytes.begin(), bytes.end());
            if (Mostly()) FUZZ_CHECK(text.Set(units) == kernel::kDone);
            const std::string data = Units(text);
            const ResultCode code = write(type, text.Get(), 12U, create);
            FUZZ_CHECK(code == expect(type, data.data(), static_cast<std::uint32_t>(data.size()), create != 0));
            return;
        }
        const auto block = fuzz::Exactly(std::string_view(bytes));
        const char* const data = given ? block.get() : nullptr;
        const auto size = static_cast<std::uint32_t>(bytes.size());
        FUZZ_CHECK(write(type, data, size, create) == expect(type, data, size, create != 0));
    }

    void SetValue() { Writes(&Session::Name, &Registry::SetValue, &model::Store::SetValue); }
    void SetValueByIndex() { Writes(&Session::Index, &Registry::SetValueByIndex, &model::Store::SetValueByIndex); }

    // Objects

    void SetReadOnly() {
        plain->readOnly = in.Byte() < 64;
        FUZZ_CHECK(twin->object.SetNumber(kernel::PropertyReadOnly, plain->readOnly ? 1 : 0) == kernel::kDone);
    }

    /// A save writes if the tree has changed, and then just the tree.
    static void Settle(Twin& each) {
        const std::uint32_t writes = each.io.WriteCount();
        const ResultCode code = each.object.OwnMethods().Save(each.object.Get(), 1);
        std::string document;
        const ResultCode expected = each.plain.dirty ? WriteDocument(*each.plain.top, document) : kernel::kDone;
        const bool written = each.plain.dirty && kernel::IsSuccess(expected);
        FUZZ_CHECK(code == expected && each.io.WriteCount() == writes + (written ? 1 : 0));
        if (!written) return;
        FUZZ_CHECK(each.io.Content() == document);
        each.plain.dirty = false;
    }

    /// The object goes, and another one comes up from its document.
    void SaveAndLoad() {
        const std::uint32_t number = in.Byte();
        const auto* const data = reinterpret_cast<const char*>(&number);
        const ResultCode code = methods.SetValue(object, 0, "saved", kernel::tDWORD, data, sizeof number, 1);
        FUZZ_CHECK(code == plain->SetValue(nullptr, "saved", kernel::tDWORD, data, sizeof number, true));
        if (!plain->dirty) return;
        Settle(*twin);
        auto tree = std::make_unique<Key>();
        if (plain->dirty || model::ReadDocument(twin->io.Content(), *tree) != kernel::kDone) return;
        auto next = std::make_unique<Twin>(kernel, twin->io.Content(), twin->locked);
        next->Ready(std::move(tree));
        *std::find_if(twins.begin(), twins.end(), [this](const auto& each) { return each.get() == twin; }) =
            std::move(next);
    }

    host::Kernel& kernel;
    fuzz::Input& in;
    Registry methods;
    host::Text hostText;
    std::array<std::unique_ptr<Twin>, 3> twins;
    Twin* twin = nullptr;   // of the call
    kernel::HostObject* object = nullptr;
    model::Store* plain = nullptr;
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

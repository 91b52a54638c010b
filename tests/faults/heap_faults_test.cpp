#include "object/registration.h"
#include "support/small_stack.h"
#include "support/store.h"
#include "support/temporary_folder.h"

#include <component/kernel/properties.h>
#include <host/io_object.h>
#include <host/text.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <new>
#include <utility>

namespace {

/// Counts down with each request of the ordinary heap while it is above 0; the one that brings it to 0 fails, and with
/// `failsPersistently` all behind it.
std::size_t requestsUntilFailure = 0;
bool failsPersistently = false;
bool requestFailed = false;
/// Requests above it fail too, as those of a full memory.
std::size_t largestRequest = SIZE_MAX;

bool MustFail(std::size_t size) {
    if (requestsUntilFailure != 0 && --requestsUntilFailure == 0) {
        requestFailed = true;
        if (failsPersistently) requestsUntilFailure = 1;
        return true;
    }
    return size > largestRequest;
}

void* Take(std::size_t size) {
    void* block = MustFail(size) ? nullptr : std::malloc(size != 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

// Out of line: seen inlined, it looks like the wrong way to give back what `operator new` gave.
[[gnu::noinline]] void GiveBack(void* block) { std::free(block); }

}   // namespace

void* operator new(std::size_t size) { return Take(size); }
void* operator new[](std::size_t size) { return Take(size); }
// Who asks without an exception isn't counted, and yet must be given what `operator delete` takes back.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size != 0 ? size : 1); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size != 0 ? size : 1); }
void operator delete(void* block) noexcept { GiveBack(block); }
void operator delete[](void* block) noexcept { GiveBack(block); }
void operator delete(void* block, std::size_t) noexcept { GiveBack(block); }
void operator delete[](void* block, std::size_t) noexcept { GiveBack(block); }

// The linker leads the module's calls of `realloc` to the first function, and the second name to the C library.
extern "C" {
void* __real_realloc(void* block, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size) { return MustFail(size) ? nullptr : __real_realloc(block, size); }
}

namespace test {
namespace {

using namespace std::string_view_literals;

constexpr char kDocument[] =
    "<arbor><key name='home'><key name='below'/><tDWORD name='a name too long for a string to hold inline'>1</tDWORD>"
    "</key></arbor>";
constexpr char kForeign[] = "<r a='1'><x>text</x></r>";
constexpr ResultCode kBrokenAttributes = kBadDocument;   // what the reader makes of an attribute that had no memory

struct HeapFault {
    const char* label;
    bool ofHost;
    host::FailureMode mode;
};
constexpr HeapFault kFaults[] = {
    {"a request", false, host::FailureMode::Once},
    {"all requests from", false, host::FailureMode::Persistent},
    {"a block", true, host::FailureMode::Once},
    {"all blocks from", true, host::FailureMode::Persistent},
};

class HeapFaultsTest : public testing::Test {
protected:
    HeapFaultsTest() { kernel.Start(&ModuleEntry); }
    ~HeapFaultsTest() override { EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport(); }

    /// Runs `work` with the `nth` request of a heap failing, and gives whether it got as far as that.
    template <class Work>
    bool FailsUnder(const HeapFault& fault, std::size_t nth, Work work) {
        if (fault.ofHost) {
            kernel.FailAllocation(nth, fault.mode);
        } else {
            requestFailed = false;
            failsPersistently = fault.mode == host::FailureMode::Persistent;
            requestsUntilFailure = nth;
        }
        work();
        requestsUntilFailure = 0;
        const bool failed = fault.ofHost ? kernel.AllocationFailed() : requestFailed;
        kernel.FailAllocation(0);
        return failed;
    }

    testing_support::TemporaryFolder folder;
    host::Kernel kernel;
};

struct Call {
    const char* label;
    std::function<ResultCode(Store&)> run;
    bool changes = true;   // the tree, but not if it fails
};

TEST_F(HeapFaultsTest, NoExceptionLeavesAMethodAndNothingIsHalfDone) {
    host::Text text(kernel);
    const Call calls[] = {
        {"a new key", [](Store& s) { return s.Make("new/key") != kNoKey ? kDone : s.code; }},
        {"a new value", [](Store& s) { return s.SetNumber(0, "new", tDWORD, 1U); }},
        {"a value after the last",
         [](Store& s) { return s.methods.SetValueByIndex(s.object.Get(), 0, 4, tCHAR, "x", 1, 1); }},
        {"a longer text", [](Store& s) { return s.SetText(0, "text", "a longer text than before"); }},
        {"a number to a text", [](Store& s) { return s.SetNumber(0, "text", tDWORD, 123U); }},
        {"wide text to a text", [](Store& s) { return s.SetText(0, "text", "N\0E\0W\0"sv, tWSTRING); }},
        {"a text to a number", [](Store& s) { return s.SetText(0, "number", "77"); }},
        {"a text to a block", [](Store& s) { return s.SetText(0, "block", "0AFF"); }},
        {"wide text", [](Store& s) { return s.SetText(0, "wide", "N\0E\0W\0"sv, tWSTRING); }},
        {"a read as wide text", [](Store& s) { return s.Bytes(0, "text", tWSTRING), s.code; }, false},
        {"a read into a string of the host",
         [&text](Store& s) {
             TypeCode type = tSTRING_OBJ;
             return s.methods.GetValue(s.object.Get(), nullptr, 0, "wide", &type, text.Get(), 0);
         },
         false},
        {"the next key",
         [](Store& s) {
             KeyHandle next = 0;
             return s.methods.OpenNextKey(s.object.Get(), &next, s.Open("home/below"));
         },
         false},
        {"a full name",
         [](Store& s) { return s.methods.GetKeyName(s.object.Get(), nullptr, s.Open("home/below"), nullptr, 0, 1); },
         false},
        {"a root by its handle", [](Store& s) { return s.methods.SetRootKey(s.object.Get(), s.Open("home")); }, false},
        {"a save", [](Store& s) { return s.Save(); }, false},
    };
    for (const Call& call : calls) {
        for (const HeapFault& fault : kFaults) {
            bool failed = true;
            for (std::size_t nth = 1; failed; ++nth) {
                SCOPED_TRACE(testing::Message() << call.label << ", " << fault.label << ' ' << nth);
                folder.Write(u"a.xml", kDocument);
                Store s(kernel);
                ASSERT_EQ(s.object.SetName(folder.Path(u"a.xml")), kDone);
                ASSERT_EQ(s.object.Ready(), kDone);
                s.SetText(0, "text", "old");
                s.SetText(0, "wide", "O\0L\0D\0"sv, tWSTRING);
                s.SetNumber(0, "number", tDWORD, 8080U);
                s.SetText(0, "block", "old", tBINARY);
                ASSERT_EQ(s.Save(), kDone);
                const std::string saved = folder.Read(u"a.xml");
                if (!call.changes) s.Make("change");
                ResultCode code = kDone;
                failed = FailsUnder(fault, nth, [&] { code = call.run(s); });
                if (!failed) continue;
                EXPECT_EQ(code, kOutOfMemory);
                EXPECT_EQ(folder.Read(u"a.xml"), saved);
                if (!call.changes) continue;
                folder.Write(u"a.xml", "not saved");
                EXPECT_EQ(s.Save(), kDone);
                EXPECT_EQ(folder.Read(u"a.xml"), "not saved") << "the tree counts as unchanged";
                s.SetNumber(s.Open("home"), "change", tDWORD, 1U);
                s.methods.DeleteValue(s.object.Get(), s.Open("home"), "change");
                EXPECT_EQ(s.Save(), kDone);
                EXPECT_EQ(folder.Read(u"a.xml"), saved) << "and is unchanged";
            }
        }
    }
}

/// Counts the keys that are opened through the own table of any object that it was given, and not closed.
class OpenKeyCount {
public:
    explicit OpenKeyCount(std::initializer_list<HostObject*> objects) : counted(objects) {
        own = counted.front()->MethodFace;
        std::copy_n(own, kRegistryMethods, table);
        table[static_cast<std::size_t>(Method::OpenKey)] = reinterpret_cast<void*>(&OpenKey);
        table[static_cast<std::size_t>(Method::CloseKey)] = reinterpret_cast<void*>(&CloseKey);
        for (HostObject* object : counted) object->MethodFace = table;
        open = 0;
    }
    ~OpenKeyCount() {
        for (HostObject* object : counted) object->MethodFace = own;
    }
    OpenKeyCount(const OpenKeyCount&) = delete;
    OpenKeyCount& operator=(const OpenKeyCount&) = delete;

    [[nodiscard]] static int Open() { return open; }

private:
    static ResultCode OpenKey(HostObject* object, KeyHandle* key, KeyHandle parent, const char* path,
                              std::uint32_t create) {
        const ResultCode code = Registry(own).OpenKey(object, key, parent, path, create);
        if (IsSuccess(code)) ++open;
        return code;
    }
    static ResultCode CloseKey(HostObject* object, KeyHandle key) {
        --open;
        return Registry(own).CloseKey(object, key);
    }

    static inline MethodTable own = nullptr;
    static inline int open = 0;
    std::vector<HostObject*> counted;
    void* table[kRegistryMethods];
};

TEST_F(HeapFaultsTest, ACopyClosesEachKeyThatItOpened) {
    for (const HeapFault& fault : kFaults) {
        bool failed = true;
        for (std::size_t nth = 1; failed; ++nth) {
            SCOPED_TRACE(testing::Message() << fault.label << ' ' << nth);
            Store source(kernel), target(kernel);
            ASSERT_EQ(source.object.Ready(), kDone);
            ASSERT_EQ(target.object.Ready(), kDone);
            const KeyHandle deepest = source.Make("1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16/17");
            source.SetText(deepest, std::string(300, 'n').c_str(), std::string(300, 't'));
            const OpenKeyCount keys{source.object.Get(), target.object.Get()};
            ResultCode code = kDone;
            failed = FailsUnder(fault, nth,
                                [&] { code = source.methods.CopyKey(source.object.Get(), 0, target.object.Get(), 0); });
            EXPECT_EQ(code, failed ? kOutOfMemory : kDone);
            EXPECT_EQ(keys.Open(), 0);
        }
    }
}

// A search takes memory, and a step that goes on from an earlier one makes none: so it costs the same among any number.
TEST_F(HeapFaultsTest, OnlyTheFirstOfManyStepsSearches) {
    Store s(kernel);
    ASSERT_EQ(s.object.Ready(), kDone);
    for (const char* path : {"a", "b/1", "b/2", "b/3", "c/1", "c/2", "d"}) ASSERT_NE(s.Make(path), kNoKey);
    const auto searches = [&](const char* from, const char* to) {
        const KeyHandle start = s.Open(from);
        const KeyHandle end = s.Open(to);
        KeyHandle next = kNoKey;
        const bool failed =
            FailsUnder(kFaults[0], 1, [&] { s.code = s.methods.OpenNextKey(s.object.Get(), &next, start); });
        EXPECT_EQ(next, failed ? kNoKey : end);
        EXPECT_EQ(s.code, failed ? kOutOfMemory : end != kNoKey ? kDone : kNoKeyThere);
        return failed;
    };
    EXPECT_TRUE(searches("a", "b"));
    EXPECT_EQ(s.methods.OpenNextKey(s.object.Get(), nullptr, s.Open("a")), kDone);
    for (const auto& [from, to] : {std::pair{"b/1", "b/2"},
                                   {"b/2", "b/3"},
                                   {"b/3", "none"},
                                   {"b", "c"},
                                   {"c/1", "c/2"},
                                   {"c", "d"},
                                   {"d", "none"}}) {
        EXPECT_FALSE(searches(from, to)) << from;
    }
    EXPECT_TRUE(searches("d", "none")) << "a walk that is over is forgotten";
    EXPECT_EQ(s.methods.OpenNextKey(s.object.Get(), nullptr, s.Open("b")), kDone);
    EXPECT_EQ(s.methods.DeleteKey(s.object.Get(), 0, "a"), kDone);
    EXPECT_TRUE(searches("c", "d")) << "what is remembered might be gone";
}

TEST_F(HeapFaultsTest, ALoadWithoutMemorySaysSo) {
    struct Source {
        const char* document;
        bool isFile;
    };
    for (const Source& source : {Source{kDocument, false}, {kDocument, true}, {kForeign, false}}) {
        host::MemoryIo io(kernel, source.document);
        folder.Write(u"a.xml", source.document);
        for (const HeapFault& fault : kFaults) {
            bool failed = true;
            for (std::size_t nth = 1; failed; ++nth) {
                SCOPED_TRACE(testing::Message() << fault.label << ' ' << nth << ' ' << source.document);
                Store s(kernel);
                ASSERT_EQ(source.isFile ? s.object.SetName(folder.Path(u"a.xml")) : s.object.SetIoObject(io.Get()),
                          kDone);
                ASSERT_EQ(s.object.SetNumber(PropertySaveOnClose, 1), kDone);
                ResultCode code = kDone;
                failed = FailsUnder(fault, nth, [&] { code = s.object.Ready(); });
                if (!failed) continue;
                const bool isTold = code == kOutOfMemory || code == kBrokenAttributes || code == kNotInitialised;
                EXPECT_TRUE(isTold) << std::hex << code;
                EXPECT_EQ(s.object.Number(PropertySaveOnClose), 0U);
                EXPECT_EQ(folder.Read(u"a.xml"), source.document);
            }
        }
    }
}

// Each line is indented by its level: no memory holds the document of a million.
TEST_F(HeapFaultsTest, AMillionLevelsAreNoDocumentAndStayATree) {
    folder.Write(u"a.xml", kDocument);
    std::string path = "k";
    for (int level = 1; level < 1'000'000; ++level) path += "/k";
    testing_support::RunOnSmallStack([&] {
        Store s(kernel);
        EXPECT_EQ(s.object.SetName(folder.Path(u"a.xml")), kDone);
        EXPECT_EQ(s.object.Ready(), kDone);
        const KeyHandle deepest = s.Make(path.c_str());
        largestRequest = std::size_t{64} << 20;
        EXPECT_EQ(s.Save(), kOutOfMemory);
        EXPECT_EQ(s.Open(path.c_str()), deepest);
    });
    EXPECT_EQ(folder.Read(u"a.xml"), kDocument);
}

}   // namespace
}   // namespace test

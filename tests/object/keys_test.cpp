#include "store_test.h"

#include <component/kernel/properties.h>

namespace test {
namespace {

using KeysTest = StoreTest;

TEST_F(KeysTest, OpenKeyFindsMakesAndRefuses) {
    Store& s = MakeStore();
    struct Row {
        const char* label;
        const char* path;
        std::uint32_t create;
        ResultCode code;
        bool answered;
        bool dirty;
    };
    const Row rows[] = {
        {"nothing there", "a", 0, kNoSuchEntry, false, false},
        {"made", "a", 1, kKeyCreated, true, true},
        {"there already", "A", 1, kDone, true, false},
        {"made below, of which the code is silent", "a/b", 1, kDone, true, false},
        {"found", "a\\b", 0, kDone, true, false},
        {"both new", "c/d", 1, kKeyCreated, true, true},
        {"the current root", nullptr, 0, kDone, true, false},
        {"the parent itself", "", 1, kDone, true, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        KeyHandle key = 1;
        EXPECT_EQ(s.methods.OpenKey(s.object.Get(), &key, 0, row.path, row.create), row.code);
        EXPECT_EQ(key != kNoKey, row.answered);
        EXPECT_EQ(TakeDirty(kernel, s), row.dirty);
    }
    EXPECT_EQ(s.Open(nullptr), s.Open(""));
    EXPECT_EQ(s.Open("a", kNoKey), kNoKey);
    EXPECT_EQ(s.code, kNoKeyThere);
    EXPECT_EQ(s.object.SetNumber(PropertyReadOnly, 1), kDone);
    EXPECT_EQ(s.Make("new"), kNoKey);
    EXPECT_EQ(s.code, kReadOnlyObject);
    EXPECT_EQ(s.Make("a/b"), s.Open("a/b"));
    EXPECT_EQ(s.code, kDone);
    EXPECT_EQ(s.methods.OpenKey(s.object.Get(), nullptr, 0, "a", 0), kDone);
}

TEST_F(KeysTest, KeysAreListedInOrderOfCreation) {
    Store& s = MakeStore();
    const KeyHandle a = s.Make("a");
    const KeyHandle b = s.Make("b");
    const KeyHandle below = s.Make("b/below");
    EXPECT_EQ(s.KeyCount(), 2U);
    EXPECT_EQ(s.KeyCount(kNoKey), 0U);
    EXPECT_EQ(s.code, kNoKeyThere);
    const auto byIndex = [&](KeyHandle parent, std::uint32_t index) {
        KeyHandle key = 1;
        s.code = s.methods.OpenKeyByIndex(s.object.Get(), &key, parent, index);
        return key;
    };
    EXPECT_EQ(byIndex(0, 1), b);
    EXPECT_EQ(byIndex(0, 2), kNoKey);
    EXPECT_EQ(s.code, kNoSuchEntry);
    EXPECT_EQ(byIndex(kNoKey, 0), kNoKey);
    EXPECT_EQ(s.code, kNoSuchEntry);
    const auto next = [&](KeyHandle key) {
        KeyHandle answer = 1;
        s.code = s.methods.OpenNextKey(s.object.Get(), &answer, key);
        return answer;
    };
    EXPECT_EQ(next(a), b);
    for (const KeyHandle last : {b, below, KeyHandle{0}, s.Open(nullptr), kNoKey}) {
        EXPECT_EQ(next(last), kNoKey);
        EXPECT_EQ(s.code, kNoKeyThere);
    }
    EXPECT_EQ(s.methods.SetRootStr(s.object.Get(), "a"), kDone);
    EXPECT_EQ(next(a), kNoKey) << "the root's siblings lie outside of it";
    EXPECT_EQ(s.methods.CloseKey(s.object.Get(), kNoKey), kDone);
}

TEST_F(KeysTest, NamesCountWithTheirTerminatorAndFullOnesWithout) {
    Store& s = MakeStore();
    const KeyHandle b = s.Make("alpha/b");
    const KeyHandle top = s.Open(nullptr);
    struct Row {
        const char* label;
        KeyHandle key;
        std::uint32_t size;
        bool buffer;
        std::uint32_t full;
        ResultCode code;
        std::uint32_t count;
        const char* text;
    };
    const Row rows[] = {
        {"own name", b, 2, true, 0, kDone, 2, "b"},
        {"own name, too short", b, 1, true, 0, kBufferTooSmall, 2, ""},
        {"measured", b, 0, false, 0, kDone, 2, ""},
        {"no buffer but a size", b, 5, false, 0, kInvalidArgument, 2, ""},
        {"the root has none", top, 4, true, 0, kDone, 1, ""},
        {"full", b, 8, true, 1, kDone, 7, "alpha\\b"},
        {"full, too short", b, 7, true, 1, kBufferTooSmall, 7, ""},
        {"full, measured", b, 0, false, 1, kDone, 7, ""},
        {"no key", kNoKey, 8, true, 1, kNoKeyThere, 99, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        char buffer[16] = {};
        std::uint32_t count = 99;
        EXPECT_EQ(
            s.methods.GetKeyName(s.object.Get(), &count, row.key, row.buffer ? buffer : nullptr, row.size, row.full),
            row.code);
        EXPECT_EQ(count, row.count);
        EXPECT_STREQ(buffer, row.text);
    }
    char buffer[16] = {};
    EXPECT_EQ(s.methods.GetKeyNameByIndex(s.object.Get(), nullptr, 0, 0, buffer, sizeof buffer, 1), kDone);
    EXPECT_STREQ(buffer, "alpha");
    EXPECT_EQ(s.methods.GetKeyNameByIndex(s.object.Get(), nullptr, 0, 1, buffer, sizeof buffer, 0), kNoSuchEntry);
    s.Make("other");
    EXPECT_EQ(s.methods.SetRootStr(s.object.Get(), "other"), kDone);
    EXPECT_EQ(s.methods.GetKeyName(s.object.Get(), nullptr, b, buffer, sizeof buffer, 1), kUnspecified);
    EXPECT_EQ(s.methods.SetRootStr(s.object.Get(), "alpha"), kDone);
    EXPECT_EQ(s.Name(b, true), "alpha\\b") << "the root's own name is the first part";
}

TEST_F(KeysTest, DeletingTakesAllBelow) {
    Store& s = MakeStore();
    HostObject* object = s.object.Get();
    s.Make("a/b/c");
    s.Make("d");
    s.SetText(s.Open("a/b"), "text", "below");
    TakeDirty(kernel, s);
    EXPECT_EQ(s.methods.DeleteKey(object, 0, "a/x"), kNoSuchEntry);
    EXPECT_EQ(s.methods.DeleteKey(object, 0, ""), kInvalidArgument);
    EXPECT_EQ(s.methods.DeleteKey(object, kNoKey, "a"), kNoKeyThere);
    EXPECT_EQ(s.methods.DeleteKeyByInd(object, 0, 2), kNoSuchEntry);
    EXPECT_FALSE(TakeDirty(kernel, s));
    EXPECT_EQ(s.methods.SetRootStr(object, "a/b/c"), kDone);
    EXPECT_EQ(s.methods.SetRootKey(object, 0), kDone);
    EXPECT_EQ(s.methods.SetRootStr(object, "a/b"), kDone);
    const KeyHandle inside = s.Open(nullptr);
    EXPECT_EQ(s.methods.SetRootKey(object, 0), kDone);
    const KeyHandle top = s.Open(nullptr);
    EXPECT_EQ(s.methods.SetRootKey(object, inside), kDone);
    EXPECT_EQ(s.methods.DeleteKeyByInd(object, top, 0), kDone);
    EXPECT_EQ(s.Open(nullptr), top) << "the current root went with the key above it";
    EXPECT_TRUE(TakeDirty(kernel, s));
    EXPECT_EQ(s.methods.DeleteKey(object, 0, "D"), kDone);
    EXPECT_EQ(s.KeyCount(), 0U);
    TakeDirty(kernel, s);
    EXPECT_EQ(s.methods.Clean(object), kDone);
    EXPECT_TRUE(TakeDirty(kernel, s));
    EXPECT_EQ(s.object.SetNumber(PropertyReadOnly, 1), kDone);
    EXPECT_EQ(s.methods.DeleteKey(object, kNoKey, "/"), kReadOnlyObject);
    EXPECT_EQ(s.methods.DeleteKeyByInd(object, 0, 9), kReadOnlyObject);
    EXPECT_EQ(s.methods.Clean(object), kReadOnlyObject);
}

TEST_F(KeysTest, TheCurrentRootMovesByHandleAndByPath) {
    Store& s = MakeStore();
    Store other(kernel);
    EXPECT_EQ(other.object.Ready(), kDone);
    HostObject* object = s.object.Get();
    const KeyHandle b = s.Make("a/b");
    const KeyHandle foreign = other.Make("a");
    EXPECT_EQ(s.methods.SetRootKey(object, foreign), kNoSuchEntry);
    EXPECT_EQ(s.methods.SetRootKey(object, b), kDone);
    EXPECT_EQ(s.Open(nullptr), b);
    EXPECT_EQ(s.methods.SetRootStr(object, "a"), kDone) << "paths start at the top";
    EXPECT_EQ(s.Open("b"), b);
    EXPECT_EQ(s.methods.SetRootStr(object, "b"), kNoSuchEntry);
    EXPECT_EQ(s.methods.SetRootStr(object, nullptr), kInvalidArgument);
    EXPECT_EQ(s.Open("b"), b);
    EXPECT_EQ(s.methods.SetRootStr(object, ""), kDone);
    EXPECT_EQ(s.Open("a/b"), b);
}

TEST_F(KeysTest, CopyingMergesThroughTheInterface) {
    Store& s = MakeStore();
    Store to(kernel);
    EXPECT_EQ(to.object.Ready(), kDone);
    const KeyHandle source = s.Make("source");
    const std::string longName(600, 'n');
    s.SetText(source, longName.c_str(), std::string(5000, 't'));
    s.SetNumber(source, "number", tDWORD, 7U);
    s.SetText(source, "empty", "");
    s.Make("source/deep/deeper");
    s.SetText(s.Open("source/deep"), "blob", "\x01\x02", tBINARY);
    const KeyHandle target = to.Make("target");
    to.SetText(target, "number", "old");
    to.SetText(target, "kept", "kept");
    TakeDirty(kernel, s);
    EXPECT_EQ(s.methods.CopyKey(s.object.Get(), source, to.object.Get(), target), kDone);
    EXPECT_TRUE(TakeDirty(kernel, s)) << "the copy marks its source";
    EXPECT_EQ(to.Text(target, longName.c_str()).size(), 5000U);
    EXPECT_EQ(to.Bytes(target, "number").c_str(), std::string("7")) << "an old value keeps its type";
    EXPECT_EQ(to.Text(target, "kept"), "kept");
    EXPECT_EQ(to.ValueCount(target), 4U);
    EXPECT_EQ(to.Bytes(to.Open("target/deep"), "blob"), "\x01\x02");
    EXPECT_NE(to.Open("target/deep/deeper"), kNoKey);
    EXPECT_EQ(s.methods.CopyKeyByName(s.object.Get(), "source", to.object.Get()), kDone);
    EXPECT_NE(to.Open("deep/deeper"), kNoKey);
    EXPECT_EQ(s.methods.CopyKeyByName(s.object.Get(), "missing", to.object.Get()), kNoSuchEntry);
    EXPECT_EQ(s.methods.CopyKeyByName(s.object.Get(), nullptr, to.object.Get()), kInvalidArgument);
    EXPECT_EQ(s.methods.CopyKey(s.object.Get(), source, s.object.Get(), s.Open("source/deep")), kInvalidArgument);
    EXPECT_EQ(s.methods.CopyKey(s.object.Get(), s.Open("source/deep"), s.object.Get(), source), kDone);
    EXPECT_NE(s.Open("source/deeper"), kNoKey);
    EXPECT_EQ(to.object.SetNumber(PropertyReadOnly, 1), kDone);
    EXPECT_EQ(s.methods.CopyKey(s.object.Get(), source, to.object.Get(), target), kReadOnlyObject);
}

// Each method leaves its one line, to the letter.
TEST_F(KeysTest, TraceLines) {
    Store& s = MakeStore();
    HostObject* object = s.object.Get();
    const Registry& r = s.methods;
    kernel.SetTraceLevel(600);
    const auto line = [&](ResultCode) {
        const std::vector<host::TraceLine> lines = kernel.DrainTraceLines();
        return lines.size() == 1 && lines[0].level == 600 ? lines[0].text.substr(0, lines[0].text.find("0x8")) : "(?)";
    };
    static_cast<void>(kernel.DrainTraceLines());
    EXPECT_EQ(line(r.OpenKey(object, nullptr, 0, "a", 0)), "arbor\tOpening key ?\\a: ");
    EXPECT_EQ(line(r.OpenKeyByIndex(object, nullptr, 0, 7)), "arbor\tArbor::OpenKeyByIndex 7: ");
    EXPECT_EQ(line(r.OpenNextKey(object, nullptr, 0)), "arbor\tArbor::OpenNextKey : ");
    EXPECT_EQ(line(r.CloseKey(object, 0xAB)).rfind("arbor\tClosing key ab: ", 0), 0U);
    EXPECT_EQ(line(r.GetKeyName(object, nullptr, kNoKey, nullptr, 0, 0)), "arbor\tGetting key name -1: ");
    EXPECT_EQ(line(r.GetKeyNameByIndex(object, nullptr, 0, 3, nullptr, 0, 0)), "arbor\tGetting key name by index 3: ");
    EXPECT_EQ(line(r.GetKeyCount(object, nullptr, kNoKey)), "arbor\tArbor::GetKeyCount : ");
    EXPECT_EQ(line(r.DeleteKey(object, 0, "a")), "arbor\tArbor::DeleteKey a: ");
    EXPECT_EQ(line(r.DeleteKeyByInd(object, 0, 1)), "arbor\tArbor::DeleteKeyByInd 1 : ");
    EXPECT_EQ(line(r.SetRootKey(object, 0x40)), "arbor\tArbor::SetRootKey : ");
    EXPECT_EQ(line(r.SetRootStr(object, "a")), "arbor\tArbor::SetRootStr : ");
    EXPECT_EQ(line(r.GetValue(object, nullptr, 0, "v", nullptr, nullptr, 0)), "arbor\tGetting value ?\\v: ");
    EXPECT_EQ(line(r.GetValueByIndex(object, nullptr, 0, 1, nullptr, nullptr, 0)), "arbor\tGetting value by index 1: ");
    EXPECT_EQ(line(r.GetValueNameByIndex(object, nullptr, kNoKey, 1, nullptr, 0)),
              "arbor\tArbor::GetValueNameByIndex : ");
    EXPECT_EQ(line(r.GetValueCount(object, nullptr, kNoKey)), "arbor\tArbor::GetValueCount : ");
    const auto* data = reinterpret_cast<const void*>(std::uintptr_t{0xBEEF});
    EXPECT_EQ(line(r.SetValue(object, 0, "v", tDWORD, data, 4, 0)), "arbor\tArbor::SetValue v (0xbeef:4): ");
    EXPECT_EQ(line(r.SetValue(object, kNoKey, "v", tDWORD, data, 4, 0)), "(?)") << "the one road without a line";
    EXPECT_EQ(line(r.SetValueByIndex(object, kNoKey, 2, tDWORD, data, 4, 0)),
              "arbor\tArbor::SetValueByIndex 2 (0xbeef:4): ");
    EXPECT_EQ(line(r.DeleteValue(object, 0, "v")), "arbor\tArbor::DeleteValue v: ");
    EXPECT_EQ(line(r.DeleteValueByInd(object, 0, 5)), "arbor\tArbor::DeleteValueByInd 5: ");
    s.object.SetNumber(PropertyReadOnly, 1);
    EXPECT_EQ(line(r.Clean(object)), "arbor\tArbor::Clean : ");
}

}   // namespace
}   // namespace test

#include "tree/key.h"

#include "tree/key_tree.h"
#include "tree/name_batch.h"

#include <host/kernel.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace arbor::module {
namespace {

std::string NameOf(const Key* key) { return key != nullptr ? std::string(key->Name().View()) : "(none)"; }

class KeyTest : public testing::Test {
protected:
    KeyTest() : kernel({.blocks = host::BlockTracking::Each}) { EXPECT_EQ(tree.emplace().Start(kernel.Root()), kDone); }
    ~KeyTest() override {
        tree.reset();
        EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport();
    }

    Key& Root() { return *tree->top; }

    /// The names of all keys and values below `key`, as a caller would list them.
    static std::string Outline(const Key& key) {
        std::string text;
        for (const Key& child : key.Children()) text += NameOf(&child) + "{" + Outline(child) + "}";
        for (const ValueEntry& entry : key.Values()) text += std::string(entry.name.View()) + ";";
        return text;
    }

    host::Kernel kernel;
    std::optional<KeyTree> tree;
};

struct PathCase {
    const char* label;
    const char* path;
    const char* found;
    const char* parent;   // "-": no name was looked up
};
constexpr PathCase kPaths[] = {
    {"case of letters is ignored", "NETWORK/proxy", "Proxy", "Network"},
    {"both separators", "Network/Proxy\\Port", "Port", "Proxy"},
    {"nothing is the key itself", "", "", "-"},
    {"a leading separator ends the walk at once", "/Network", "", "-"},
    {"a trailing separator", "Network/", "Network", ""},
    {"an empty component ends the walk there", "Network//Proxy", "Network", ""},
    {"a missing last key", "Network/Other", "(none)", "Network"},
    {"a missing first key", "Other/Proxy", "(none)", ""},
    {"even at the start", "\\Network/Proxy", "(none)", ""},
    {"before a slash the backslash is a letter", "Odd\\Name/Below", "Below", "Odd\\Name"},
    {"more names than are hashed at a time", "1/22/3/44/5/66/7/88", "88", "7"},
};

TEST_F(KeyTest, FindPathFollowsTheRulesOfPaths) {
    ASSERT_NE(Root().OpenPath("Network/Proxy/Port", false, nullptr), nullptr);
    ASSERT_NE(Root().OpenPath("Odd\\Name/Below", false, nullptr), nullptr);
    ASSERT_NE(Root().OpenPath("1/22/3/44/5/66/7/88", false, nullptr), nullptr);
    for (const PathCase& row : kPaths) {
        SCOPED_TRACE(row.label);
        Key* parent = nullptr;
        EXPECT_EQ(NameOf(Root().FindPath(row.path, &parent)), row.found);
        EXPECT_EQ(parent != nullptr ? NameOf(parent) : "-", row.parent);
    }
    EXPECT_EQ(Root().FindPathRange("Odd\\Name/Below", nullptr), nullptr);
}

TEST_F(KeyTest, OpenPathTellsOfTheFirstKeyAlone) {
    std::uint32_t created = 0;
    Key* b = Root().OpenPath("a/b", false, &created);
    EXPECT_EQ(created, 1U);
    created = 7;
    EXPECT_EQ(Root().OpenPath("A\\B", false, &created), b);
    ASSERT_NE(Root().OpenPath("a/c", false, &created), nullptr);
    EXPECT_EQ(created, 7U);
    EXPECT_EQ(Root().OpenPath("/x", false, &created), &Root());
    EXPECT_EQ(Outline(Root()), "a{b{}c{}}");
}

TEST_F(KeyTest, ANewKeyOfATakenNameStandsInTheListAlone) {
    std::uint32_t created = 0;
    Key* first = Root().OpenPath("x", true, &created);
    Key* second = Root().OpenPath("X/below", true, &created);
    EXPECT_EQ(Outline(Root()), "x{}X{below{}}");
    EXPECT_EQ(Root().FindPath("x", nullptr), first);
    // Removing by name goes by the index; the other one can then be reached by its place only.
    EXPECT_EQ(Root().RemovePath("x"), kDone);
    EXPECT_EQ(Root().FindPath("x", nullptr), nullptr);
    EXPECT_EQ(Root().ChildByIndex(0)->FindPath("below", nullptr), second);
}

TEST_F(KeyTest, GetPathMeasuresAndRefuses) {
    const Key* b = Root().OpenPath("a/b", false, nullptr);
    Root().OpenPath("other/deep", false, nullptr);
    char text[8] = "???????";
    std::uint32_t length = 0;
    EXPECT_EQ(Root().GetPath(b, nullptr, 0, length, '\\'), kDone);
    EXPECT_EQ(length, 3U);
    length = 0;
    EXPECT_EQ(Root().GetPath(b, text, 3, length, '\\'), kBufferTooSmall);
    EXPECT_EQ(length, 3U);
    EXPECT_STREQ(text, "???????");
    length = 0;
    EXPECT_EQ(Root().GetPath(b, text, 4, length, '\\'), kDone);
    EXPECT_STREQ(text, "a\\b");
    length = 1;   // behind a text that has begun each name has a separator, the empty one too
    EXPECT_EQ(Root().GetPath(b, text, 7, length, '/'), kDone);
    EXPECT_STREQ(text, "a//a/b");
    EXPECT_EQ(length, 6U);
    length = 0;
    EXPECT_EQ(Root().FindPath("other", nullptr)->GetPath(b, nullptr, 0, length, '\\'), kUnspecified);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(Root().GetPath(nullptr, text, 8, length, '\\'), kInvalidArgument);
}

TEST_F(KeyTest, ParentAndNextAreFoundBelowTheKeyThatIsAsked) {
    const Key* b = Root().OpenPath("a/b", false, nullptr);
    const Key* c = Root().OpenPath("a/c", false, nullptr);
    const Key* a = Root().FindPath("a", nullptr);
    const Key* parent = nullptr;
    EXPECT_EQ(Root().ParentOf(c, parent), kDone);
    EXPECT_EQ(parent, a);
    EXPECT_EQ(a->ParentOf(a, parent), kDone);
    EXPECT_EQ(parent, a);
    EXPECT_EQ(b->ParentOf(c, parent), kUnspecified);
    EXPECT_EQ(parent, nullptr);
    EXPECT_EQ(a->NextChild(*b), c);
    EXPECT_EQ(a->NextChild(*c), nullptr);
}

TEST_F(KeyTest, PlacesFollowEveryChangeOfTheList) {
    std::mt19937 random(20261122);
    std::vector<std::string> model;
    for (int step = 0; step < 4000; ++step) {
        const auto place = static_cast<std::uint32_t>(random() % (model.size() + 2));
        if (random() % 4 == 0 && model.size() < 60) {
            model.push_back("k" + std::to_string(step));
            ASSERT_NE(Root().OpenPath(model.back(), false, nullptr), nullptr);
        } else if (random() % 8 == 0) {
            EXPECT_EQ(Root().RemoveChildAt(place), place < model.size() ? kDone : kNoSuchEntry);
            if (place < model.size()) model.erase(model.begin() + place);
        } else {
            ASSERT_EQ(NameOf(Root().ChildByIndex(place)), place < model.size() ? model[place] : "(none)") << step;
        }
    }
    EXPECT_EQ(Root().ChildCount(), model.size());
}

TEST_F(KeyTest, RemovePathNeverRemovesTheKeyItself) {
    Root().OpenPath("a/b", false, nullptr);
    EXPECT_EQ(Root().RemovePath(""), kInvalidArgument);
    EXPECT_EQ(Root().RemovePath("/a"), kInvalidArgument);
    EXPECT_EQ(Root().RemovePath("a/x"), kNoSuchEntry);
    EXPECT_EQ(Outline(Root()), "a{b{}}");
    EXPECT_EQ(Root().RemovePath("a/b"), kDone);
    EXPECT_EQ(Outline(Root()), "a{}");
    Root().RemoveChild(nullptr, false);
    EXPECT_EQ(Outline(Root()), "a{}");
    Key orphan(nullptr, "a"), child(nullptr, "b");   // without a host nothing was taken, and nothing is given back
    orphan.RemoveChild(&child, false);
}

TEST_F(KeyTest, EveryFailedAllocationLeavesTheTreeWhole) {
    const std::uint32_t number = 42;
    const std::vector<std::function<ResultCode(Key&)>> works = {
        [](Key& key) { return key.OpenPath("A/long name/c", false, nullptr) != nullptr ? kDone : kOutOfMemory; },
        [](Key& key) { return key.OpenPath("a/below", true, nullptr) != nullptr ? kDone : kOutOfMemory; },
        [&](Key& key) { return key.AddNewValue("number", tDWORD, &number, sizeof number); },
        [&](Key& key) { return key.AddValueAt(1, tBINARY, &number, sizeof number); },
        [](Key& key) { return key.AddValueFromText("text", tSTRING, "some text"); },
    };
    for (std::size_t i = 0; i < works.size(); ++i) {
        for (std::size_t failAt = 1;; ++failAt) {
            SCOPED_TRACE("work " + std::to_string(i) + ", allocation " + std::to_string(failAt));
            Key& home = *Root().OpenPath("home", false, nullptr);
            home.AddValue("old", tVOID, nullptr, 0);
            home.OpenPath("A", false, nullptr);
            const std::string before = Outline(home);
            kernel.FailAllocation(failAt);
            const ResultCode code = works[i](home);
            const bool failed = kernel.AllocationFailed();
            kernel.FailAllocation(0);
            if (failed) {
                EXPECT_EQ(code, kOutOfMemory);
                EXPECT_EQ(Outline(home), before);
                EXPECT_EQ(home.FindPath("A", nullptr), home.ChildByIndex(0));
                EXPECT_NE(home.FindValue("old"), nullptr);
            }
            Root().Clear();
            if (!failed) break;
        }
    }
}

// Values

TEST_F(KeyTest, ValuesAreAddedOnceByNameAndTwiceByDocuments) {
    const std::uint32_t one = 1;
    EXPECT_EQ(Root().AddNewValue("Port", tDWORD, &one, sizeof one), kDone);
    EXPECT_EQ(Root().AddNewValue("PORT", tDWORD, &one, sizeof one), kAlreadyExists);
    EXPECT_EQ(Root().AddNewValue(nullptr, tDWORD, &one, sizeof one), kInvalidArgument);
    EXPECT_EQ(Root().AddValue(nullptr, tDWORD, &one, sizeof one), kInvalidArgument);
    EXPECT_EQ(Root().AddNewValue("Bad", tSTRING_OBJ, &one, sizeof one), kOutOfMemory);
    EXPECT_EQ(Root().AddNewValue("Short", tDWORD, &one, 3), kInvalidArgument);
    EXPECT_EQ(Root().AddNewValue("Void", tVOID, nullptr, 0), kDone);
    const Value* first = Root().FindValue("port");
    EXPECT_EQ(Root().AddValueFromText("port", tSTRING, "second"), kDone);
    EXPECT_EQ(Root().FindValue("Port"), first);
    EXPECT_EQ(Outline(Root()), "Port;Void;port;");
    EXPECT_EQ(Root().RemoveValue("PORT"), kDone);
    EXPECT_EQ(Root().RemoveValue("Port"), kNoSuchEntry);
    EXPECT_EQ(Root().RemoveValueAt(2), kNoSuchEntry);
    EXPECT_EQ(Root().RemoveValueAt(1), kDone);
    EXPECT_EQ(Outline(Root()), "Void;");
}

/// Also the record of an earlier entry of that name. An add that fails before its entry is named erases none.
TEST_F(KeyTest, AFailedAddErasesTheIndexRecordOfItsName) {
    const std::uint32_t one = 1;
    for (const char* name : {"port", ""}) {
        SCOPED_TRACE(testing::Message() << '"' << name << '"');
        EXPECT_EQ(Root().AddValue(name, tDWORD, &one, sizeof one), kDone);
        EXPECT_EQ(Root().AddValue(name, tSTRING_OBJ, &one, sizeof one), kOutOfMemory);
        EXPECT_EQ(Root().AddValue(nullptr, tDWORD, &one, sizeof one), kInvalidArgument);
        EXPECT_NE(Root().FindValue(name), nullptr);
        EXPECT_EQ(Root().AddValue(name, tDWORD, &one, 3), kInvalidArgument);
        EXPECT_EQ(Root().FindValue(name), nullptr);
        EXPECT_EQ(Root().RemoveValueAt(0), kDone);
    }
}

TEST_F(KeyTest, AddValueAtTakesThePlaceBehindTheLast) {
    const char byte = 'x';
    EXPECT_EQ(Root().AddValueAt(1, tCHAR, &byte, 1), kInvalidArgument);
    EXPECT_EQ(Root().AddValueAt(0, tCHAR, &byte, 1), kDone);
    EXPECT_EQ(Root().AddValueAt(0, tCHAR, &byte, 1), kAlreadyExists);
    EXPECT_STREQ(Root().ValueNameAt(0), "noname0");
    EXPECT_EQ(Root().ValueNameAt(1), nullptr);
    EXPECT_EQ(Root().ValueAt(1), nullptr);
}

TEST_F(KeyTest, TheMarkerLeadsToTheTextOfTheChild) {
    constexpr char kMarker[] = "![CDATA[";
    const auto add = [](Key& key, const char* name, const char* text) {
        ASSERT_EQ(key.AddValueFromText(name, tSTRING, text), kDone);
    };
    add(Root(), "text", kMarker);
    const Value* marker = Root().FindValue("text");
    ASSERT_NE(marker, nullptr);
    Key& child = *Root().OpenPath("text", false, nullptr);
    EXPECT_EQ(Root().FindValue("text"), marker);
    add(child, "noname", kMarker);
    EXPECT_EQ(Root().FindValue("text"), child.FindValue("noname"));
    Key& grandchild = *child.OpenPath("noname", false, nullptr);
    add(grandchild, "noname", "the long text");
    EXPECT_EQ(Root().FindValue("TEXT"), grandchild.FindValue("noname"));
    add(Root(), "", kMarker);   // an empty name finds the key itself
    EXPECT_EQ(Root().FindValue("")->GetType(), static_cast<TypeCode>(tSTRING));
}

// Names

TEST(NameTest, HashesAndCompares) {
    EXPECT_EQ(NameHash(""), 0U);
    EXPECT_EQ(NameHash("Network"), NameHash("nETWORK"));
    EXPECT_NE(NameHash("ab"), NameHash("ba"));
    EXPECT_TRUE(NameEquals("aZ[`", "Az[`"));
    EXPECT_FALSE(NameEquals("Aab", "aAc"));
    EXPECT_FALSE(NameEquals("[", "{"));
    EXPECT_FALSE(NameEquals("\xC4", "\xE4"));
    // One step of the chain, by hand: a byte from 0x80 up enters as a negative number.
    std::uint32_t x = 0x9E3779B9U - 0x3D;
    x = (x ^ (x >> 16)) * 0x21F0AAADU;
    x = (x ^ (x >> 15)) * 0x735A2D97U;
    EXPECT_EQ(NameHash("\xC3"), x ^ (x >> 15));
    // Side by side each hashes as it does alone, whatever its length and theirs.
    constexpr std::string_view kNames[] = {"Network", "\xFFx", "proxies", "", "eth0", "a long name of its own"};
    for (std::size_t count = 1; count <= NameBatch::kCapacity; ++count) {
        NameBatch names;
        for (std::size_t i = 0; i < count; ++i) names.Add(kNames[i]);
        names.Hash();
        for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(names[i].hash, NameHash(kNames[i])) << count;
    }
}

TEST(KeyTreeTest, NextSiblingReturnsWhatAWalkFinds) {
    host::Kernel kernel;
    {
        std::array<KeyTree, 3> trees;
        for (KeyTree& tree : trees) ASSERT_EQ(tree.Start(kernel.Root()), kDone);
        std::mt19937 random(20261123);
        std::vector<const Key*> known;   // not all of them still live
        Key* next = nullptr;
        for (int round = 0; round < 40'000; ++round) {
            KeyTree& tree = trees[random() % trees.size()];
            const std::string path{static_cast<char>('a' + random() % 6), '/', static_cast<char>('a' + random() % 6)};
            const std::string_view place = std::string_view(path).substr(0, random() % 2 == 0 ? 1 : 3);
            const std::uint32_t act = random() % 64;
            if (act < 6) known.push_back(tree.current->OpenPath(place, false, nullptr));
            if (act == 6 && IsSuccess(tree.PrepareRemoval(tree.top->FindPath(place, nullptr)))) {
                static_cast<void>(tree.top->RemovePath(place));
            }
            if (act == 7) static_cast<void>(tree.MoveCurrentTo(random() % 2 == 0 ? "" : path.substr(0, 1).c_str()));
            if (act == 8 && random() % 16 == 0) tree.ClearCurrent();
            if (act < 9 || known.empty()) continue;
            const bool goesOn = next != nullptr && act < 48;
            const Key* const key = goesOn ? next : known[random() % known.size()];
            const Key* parent = nullptr;
            const Key* follower = nullptr;
            static_cast<void>(tree.current->ParentOf(key, parent));
            if (parent != nullptr && parent != key) follower = parent->NextChild(*key);
            ASSERT_EQ(tree.NextSibling(key, next), follower != nullptr ? kDone : kNoKeyThere) << round;
            ASSERT_EQ(next, follower) << round;
        }
    }
    EXPECT_EQ(kernel.LiveBlocks(), 0U);
}

TEST(KeyTreeTest, MovesItsCurrentRoot) {
    host::Kernel kernel;
    {
        KeyTree tree;
        EXPECT_EQ(tree.MoveCurrentTo("a"), kNotInitialised);
        EXPECT_EQ(tree.Start(kernel.Root()), kDone);
        EXPECT_EQ(tree.Start(kernel.Root()), kNotInitialised);
        Key* b = tree.top->OpenPath("a/b", false, nullptr);
        EXPECT_EQ(tree.MoveCurrentTo("a/x"), kNoSuchEntry);
        EXPECT_EQ(tree.MoveCurrentTo(static_cast<const char*>(nullptr)), kInvalidArgument);
        EXPECT_EQ(tree.MoveCurrentTo("a/b"), kDone);
        EXPECT_EQ(tree.current, b);
        EXPECT_EQ(tree.PrepareRemoval(tree.top->FindPath("a", nullptr)), kDone);
        EXPECT_EQ(tree.current, tree.top);
        EXPECT_EQ(tree.MoveCurrentTo(reinterpret_cast<KeyHandle>(b)), kDone);
        EXPECT_EQ(tree.current, b);
        EXPECT_EQ(tree.MoveCurrentTo(KeyHandle{0x40}), kNoSuchEntry);
        EXPECT_EQ(tree.current, b);
    }
    EXPECT_EQ(kernel.LiveBlocks(), 0U);
}

}   // namespace
}   // namespace arbor::module

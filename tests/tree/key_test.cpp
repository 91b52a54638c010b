#include "tree/key.h"

#include "tree/key_tree.h"
#include "tree/name_batch.h"

#include <host/kernel.h>

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

namespace arbor::module {
namespace {

class KeyTest : public testing::Test {
protected:
    KeyTest() : kernel({.blocks = host::BlockTracking::Each}) { EXPECT_EQ(tree.emplace().Start(kernel.Root()), kDone); }
    ~KeyTest() override {
        tree.reset();
        EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport();
    }

    Key& Root() { return *tree->top; }

    host::Kernel kernel;
    std::optional<KeyTree> tree;
};

TEST_F(KeyTest, GetPathAppendsToText) {
    const Key* b = Root().OpenPath("a/b", false, nullptr);
    char text[8] = "???????";
    std::uint32_t length = 1;   // after other text each name has a separator, the empty one too
    EXPECT_EQ(Root().GetPath(b, text, 7, length, '/'), kDone);
    EXPECT_EQ(std::string_view(text + 1), "//a/b");
    EXPECT_EQ(length, 6U);
    EXPECT_EQ(Root().GetPath(nullptr, text, 8, length, '\\'), kInvalidArgument);
}

TEST_F(KeyTest, ChildByIndexFollowsEveryChangeOfTheList) {
    std::mt19937 random(20261122);
    std::vector<std::string> model;
    for (int step = 0; step < 4000; ++step) {
        const auto index = static_cast<std::uint32_t>(random() % (model.size() + 2));
        if (random() % 4 == 0 && model.size() < 60) {
            model.push_back("k" + std::to_string(step));
            ASSERT_NE(Root().OpenPath(model.back(), false, nullptr), nullptr);
        } else if (random() % 8 == 0) {
            EXPECT_EQ(Root().RemoveChildAt(index), index < model.size() ? kDone : kNoSuchEntry);
            if (index < model.size()) model.erase(model.begin() + index);
        } else {
            const Key* const child = Root().ChildByIndex(index);
            ASSERT_EQ(child != nullptr, index < model.size()) << step;
            ASSERT_TRUE(child == nullptr || child->Name().View() == model[index]) << step;
        }
    }
    EXPECT_EQ(Root().ChildCount(), model.size());
}

TEST_F(KeyTest, RemoveChildIgnoresNoKeyAndNoHost) {
    Root().OpenPath("a", false, nullptr);
    Root().RemoveChild(nullptr, false);
    EXPECT_EQ(Root().ChildCount(), 1U);
    Key orphan(nullptr, "a"), child(nullptr, "b");   // without a host nothing was allocated, and nothing is freed
    orphan.RemoveChild(&child, false);
}

/// Even the record of an earlier entry of that name. An add that fails before its entry is named erases none.
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

// Names

TEST(NameTest, HashesAndCompares) {
    EXPECT_EQ(NameHash(""), 0U);
    EXPECT_EQ(NameHash("Network"), NameHash("nETWORK"));
    EXPECT_NE(NameHash("ab"), NameHash("ba"));
    EXPECT_TRUE(NameEquals("aZ[`", "Az[`"));
    EXPECT_FALSE(NameEquals("Aab", "aAc"));
    EXPECT_FALSE(NameEquals("[", "{"));
    EXPECT_FALSE(NameEquals("\xC4", "\xE4"));
    // One step of the hash, computed here: a byte from 0x80 up is added as a negative number.
    std::uint32_t x = 0x9E3779B9U - 0x3D;
    x = (x ^ (x >> 16)) * 0x21F0AAADU;
    x = (x ^ (x >> 15)) * 0x735A2D97U;
    EXPECT_EQ(NameHash("\xC3"), x ^ (x >> 15));
    // In a batch each name has the hash that it has alone, whatever the lengths of the others.
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
        std::array<std::optional<KeyTree>, 3> trees;
        for (std::optional<KeyTree>& tree : trees) ASSERT_EQ(tree.emplace().Start(kernel.Root()), kDone);
        std::mt19937 random(20261123);
        std::vector<const Key*> known;   // some are removed by now
        Key* next = nullptr;
        for (int round = 0; round < 40'000; ++round) {
            std::optional<KeyTree>& owner = trees[random() % trees.size()];
            const std::string path{static_cast<char>('a' + random() % 6), '/', static_cast<char>('a' + random() % 6)};
            const std::string_view target = std::string_view(path).substr(0, random() % 2 == 0 ? 1 : 3);
            const std::uint32_t action = random() % 64;
            if (action == 9 && random() % 4 == 0) {
                ASSERT_EQ(owner.emplace().Start(kernel.Root()), kDone);
            }
            KeyTree& tree = *owner;
            if (action < 6) known.push_back(tree.current->OpenPath(target, false, nullptr));
            if (action == 6 && IsSuccess(tree.PrepareRemoval(tree.top->FindPath(target, nullptr)))) {
                static_cast<void>(tree.top->RemovePath(target));
            }
            if (action == 7) static_cast<void>(tree.MoveCurrentTo(random() % 2 == 0 ? "" : path.substr(0, 1).c_str()));
            if (action == 8 && random() % 4 == 0) tree.ClearCurrent();
            if (action < 10 || known.empty()) continue;
            const bool continues = next != nullptr && action < 48;
            const Key* const key = continues ? next : known[random() % known.size()];
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

TEST(KeyTreeTest, StartsOnce) {
    host::Kernel kernel;
    KeyTree tree;
    EXPECT_EQ(tree.MoveCurrentTo("a"), kNotInitialised);
    EXPECT_EQ(tree.Start(kernel.Root()), kDone);
    EXPECT_EQ(tree.Start(kernel.Root()), kNotInitialised);
}

}   // namespace
}   // namespace arbor::module

#include "tree/key.h"

#include "tree/key_tree.h"

#include <host/kernel.h>

#include <gtest/gtest.h>

#include <string>

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
    const Key* b = Root().OpenPath("a/b", nullptr);
    char text[8] = "???????";
    std::uint32_t length = 1;   // after other text each name has a separator, the empty one too
    EXPECT_EQ(Root().GetPath(b, text, 7, length, '/'), kDone);
    EXPECT_EQ(std::string_view(text + 1), "//a/b");
    EXPECT_EQ(length, 6U);
    EXPECT_EQ(Root().GetPath(nullptr, text, 8, length, '\\'), kInvalidArgument);
}

TEST_F(KeyTest, RemoveChildIgnoresNoKeyAndNoHost) {
    Root().OpenPath("a", nullptr);
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
    // The steps of the hash, computed here: a byte from 0x80 up is added as a negative number.
    std::uint32_t hash = 0;
    for (const int byte : {-0x3D, static_cast<int>('z')}) {
        std::uint32_t x = hash + 0x9E3779B9U + static_cast<std::uint32_t>(byte);
        x = (x ^ (x >> 16)) * 0x21F0AAADU;
        x = (x ^ (x >> 15)) * 0x735A2D97U;
        hash = x ^ (x >> 15);
        EXPECT_EQ(NameHash(byte < 0 ? "\xC3" : "\xC3Z"), hash);
    }
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

#include "support/temporary_folder.h"

#include <host/kernel.h>
#include <host/object.h>
#include <host/system.h>

#include <algorithm>
#include <fstream>
#include <new>

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// A module of a few lines: it notes what is done to its object, and holds a block from its construction to its end.
struct FakeObject {
    kernel::MethodTable MethodFace;
    kernel::MethodTable SystemFace;
    kernel::HostWord hostWord;
    void* block;

    kernel::HostObject* Header() { return reinterpret_cast<kernel::HostObject*>(this); }
};
constexpr std::size_t kDataArea = sizeof(FakeObject) - 3 * sizeof(kernel::HostWord);

std::vector<std::string> calls;
kernel::ResultCode constructionAnswer = kernel::kDone;

FakeObject& Of(kernel::HostObject* object) { return *reinterpret_cast<FakeObject*>(object); }

kernel::ResultCode OwnClean(kernel::HostObject*) {
    calls.emplace_back("own Clean");
    return kernel::kDone;
}

kernel::ResultCode ForwardedClean(kernel::HostObject* object) {
    calls.emplace_back("registered Clean");
    return kernel::Registry(object).Clean(object);
}

void* ownMethods[kernel::kRegistryMethods];
void* methods[kernel::kRegistryMethods];
void* placeholders[kernel::kSystemSlots];

kernel::ResultCode ObjectNew(kernel::HostObject* object, std::uint32_t construct) {
    calls.emplace_back(construct != 0 ? "construct" : "destroy");
    if (construct == 0) {
        kernel::HostFree(object, Of(object).block);
        return kernel::kDone;
    }
    const auto* bytes = reinterpret_cast<const unsigned char*>(object);
    EXPECT_TRUE(std::all_of(bytes, bytes + sizeof(FakeObject), [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(object) % 16, 0U);
    Of(object).MethodFace = ownMethods;
    Of(object).SystemFace = placeholders;
    return constructionAnswer;
}

kernel::ResultCode ObjectReady(kernel::HostObject* object) {
    calls.emplace_back("ready");
    return kernel::HostAlloc(object, &Of(object).block, 8);
}

kernel::ResultCode ObjectClosing(kernel::HostObject*) {
    calls.emplace_back("closing");
    return kernel::kDone;
}

int FakeEntry(void* first, std::uint32_t reason, void* third) {
    if (reason != kernel::kHostStartReason) return 1;
    static void* internal[kernel::kInternalSlots];
    internal[kernel::kObjectNewSlot] = reinterpret_cast<void*>(&ObjectNew);
    internal[kernel::kObjectReadySlot] = reinterpret_cast<void*>(&ObjectReady);
    internal[kernel::kObjectClosingSlot] = reinterpret_cast<void*>(&ObjectClosing);
    const auto clean = static_cast<std::size_t>(kernel::Method::Clean);
    ownMethods[clean] = reinterpret_cast<void*>(&OwnClean);
    methods[clean] = reinterpret_cast<void*>(&ForwardedClean);
    static const kernel::PropertyRow property = {kernel::PropertyInterfaceVersion, 1, 4, 4, 0, 0};
    auto* root = static_cast<kernel::HostObject*>(first);
    const auto call = kernel::SlotOf<kernel::RegisterInterfaceCall>(root->MethodFace, kernel::kRegisterInterfaceSlot);
    auto* code = static_cast<kernel::ResultCode*>(third);
    *code = call(root, kernel::kRegistryInterface, kernel::kRegistryModule, 0, 1, 0x55, internal, std::size(internal),
                 methods, std::size(methods), &property, 1, kDataArea, 0);
    return kernel::IsSuccess(*code) ? 1 : 0;
}

class KernelTest : public testing::Test {
protected:
    KernelTest() {
        calls.clear();
        constructionAnswer = kernel::kDone;
    }
    void TearDown() override { EXPECT_EQ(host.LiveBlocks(), 0U) << host.LeakReport(); }

    host::Kernel host;
};

/// What starting or loading says when it fails; empty if it didn't.
template <class Work>
std::string Refusal(Work work) {
    try {
        work();
        return {};
    } catch (const host::ModuleError& error) {
        return error.what();
    }
}

TEST_F(KernelTest, AnObjectGoesThroughItsWholeLifeInOrder) {
    host.Start(FakeEntry);
    {
        host::Object object(host);
        EXPECT_EQ(object.Ready(), kernel::kDone);
        EXPECT_EQ(host.LiveBlocks(), 1U);
        EXPECT_EQ(object.Methods().Clean(object.Get()), kernel::kDone);
        EXPECT_EQ(object.OwnMethods().Clean(object.Get()), kernel::kDone);
    }
    EXPECT_THAT(calls,
                ElementsAre("construct", "ready", "registered Clean", "own Clean", "own Clean", "closing", "destroy"));
}

TEST_F(KernelTest, ModulesThatDoNotStartSayWhy) {
    EXPECT_THAT(Refusal([&] { host::Object object(host); }), HasSubstr("no module has registered"));
    EXPECT_THAT(Refusal([&] { host.Start([](void*, std::uint32_t, void*) { return 1; }); }), HasSubstr("unexpected"));
    EXPECT_THAT(
        Refusal([&] { host.Start([](void*, std::uint32_t, void* code) { return *static_cast<int*>(code) = 0; }); }),
        HasSubstr("its entry point returned 0"));
    EXPECT_THAT(Refusal([&] {
                    host.Start([](void*, std::uint32_t, void* code) {
                        *static_cast<int*>(code) = 0;
                        return 1;
                    });
                }),
                HasSubstr("registered no interface"));
    host.SetRegistrationResult(kernel::kAccessDenied);
    EXPECT_THAT(Refusal([&] { host.Start(FakeEntry); }), HasSubstr("0x80000045: access denied"));
    EXPECT_EQ(host.LastRegistration(), nullptr);
    host.SetRegistrationResult(kernel::kKeyCreated);
    host.Start(FakeEntry);
    ASSERT_NE(host.LastRegistration(), nullptr);
    EXPECT_EQ(host.LastRegistration()->constants[2], 0x55U);

    constructionAnswer = kernel::kUnexpected;
    EXPECT_THAT(Refusal([&] { host::Object object(host); }), HasSubstr("0x80000040"));
}

TEST_F(KernelTest, FilesThatAreNoModulesAreRefused) {
    const testing_support::TemporaryFolder folder;
    const std::filesystem::path path = folder.Native(u"no_module.txt");
    EXPECT_THAT(Refusal([&] { host.LoadModule(path); }), HasSubstr(path.filename().string()));
    std::ofstream(path) << "plain text";
    EXPECT_THAT(Refusal([&] { host.LoadModule(path); }), HasSubstr(path.filename().string()));
}

TEST(DocumentNameTest, IsAbsoluteAndHasADrive) {
    const std::u16string name = host::DocumentName("./../store.xml");
    EXPECT_EQ(name.substr(1, 2), u":\\");
    EXPECT_EQ(name.substr(name.size() - 10), u"\\store.xml");
    EXPECT_EQ(name.find(u".."), std::u16string::npos);
    EXPECT_EQ(name.find(u'/'), std::u16string::npos);
}

}   // namespace

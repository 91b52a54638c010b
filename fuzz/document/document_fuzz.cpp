// Any bytes as a document. A load gives the code and the tree of the plain reader. Whatever it leaves in the tree, a
// save writes by the format's rules, and what was written loads to the tree that those rules promise; from then on
// nothing changes.
#include "document/profile_format.h"
#include "document/text_buffer.h"
#include "fuzz.h"
#include "model/document.h"
#include "model/store.h"
#include "tree/key_tree.h"

#include <host/kernel.h>

namespace {

using arbor::module::KeyTree;
using kernel::ResultCode;

/// The value's bytes as the model holds them.
model::Value PlainValue(const arbor::module::Value& value) {
    std::uint32_t size = 0;
    FUZZ_CHECK(value.Get(nullptr, 0, &size) == kernel::kDone);
    std::string bytes(size, '\0');
    FUZZ_CHECK(value.Get(bytes.data(), size, &size) == kernel::kDone);
    const std::size_t end = value.GetType() == kernel::tSTRING ? 1 : value.GetType() == kernel::tWSTRING ? 2 : 0;
    if (!bytes.empty()) bytes.resize(bytes.size() - end);
    return {value.GetType(), bytes};
}

void Take(const arbor::module::Key& key, model::Key& plain) {
    for (const arbor::module::Key& child : key.Children()) Take(child, plain.AddKey(child.Name().View()));
    for (const arbor::module::ValueEntry& entry : key.Values())
        plain.AddValue(entry.name.View(), PlainValue(*entry.value));
}

std::unique_ptr<model::Key> Plain(const KeyTree& tree) {
    auto plain = std::make_unique<model::Key>();
    Take(*tree.top, *plain);
    return plain;
}

ResultCode Load(KeyTree& tree, std::string_view document) {
    const auto block = fuzz::Exactly(document);
    return arbor::module::LoadDocument(tree, block.get(), static_cast<std::uint32_t>(document.size()));
}

/// Saves the tree, loads that into another one, and says whether there is more to see.
bool Reload(host::Kernel& kernel, const model::Key& plain, const KeyTree& tree, std::unique_ptr<model::Key>& reloaded) {
    std::string expected;
    const ResultCode writable = model::WriteDocument(plain, expected);
    arbor::module::TextBuffer saved;
    FUZZ_CHECK(arbor::module::SaveDocument(tree, saved) == writable);
    if (kernel::IsFailure(writable)) return false;
    const std::string_view document = saved.View();
    FUZZ_CHECK(document == expected);
    KeyTree again;
    FUZZ_CHECK(again.Start(kernel.Root()) == kernel::kDone);
    const bool tooDeep = model::Depth(plain) > arbor::module::kMaxDepth;
    FUZZ_CHECK(Load(again, document) == (tooDeep ? kernel::kMediaError : kernel::kDone));
    if (tooDeep) return false;
    reloaded = Plain(again);
    FUZZ_CHECK(model::Same(*reloaded, *model::ComesBack(plain)));
    arbor::module::TextBuffer settled;
    FUZZ_CHECK(arbor::module::SaveDocument(again, settled) == kernel::kDone);
    std::string unchanged;
    FUZZ_CHECK(model::WriteDocument(*model::ComesBack(*reloaded), unchanged) == kernel::kDone);
    FUZZ_CHECK(settled.View() == unchanged);
    return true;
}

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static host::Kernel kernel;
    {
        KeyTree tree;
        FUZZ_CHECK(tree.Start(kernel.Root()) == kernel::kDone);
        const std::string_view document(reinterpret_cast<const char*>(data), size);
        model::Key expected;
        const ResultCode code = model::ReadDocument(document, expected);
        FUZZ_CHECK(Load(tree, document) == code);
        FUZZ_CHECK(model::Same(*Plain(tree), expected));   // after a failure too
        std::unique_ptr<model::Key> reloaded;
        static_cast<void>(Reload(kernel, *Plain(tree), tree, reloaded));
    }
    FUZZ_CHECK(kernel.LiveBlocks() == 0);
    return 0;
}

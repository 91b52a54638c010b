// Any bytes as a document. A load gives the code and the tree of the plain reader, and a save writes that tree by the
// format's rules. What was saved loads in the same way. After a second save nothing changes.
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

/// Loads the document and saves it again. Returns the saved document; an empty text if the tree has none.
std::string Convert(host::Kernel& kernel, std::string_view document, ResultCode& code) {
    KeyTree tree;
    FUZZ_CHECK(tree.Start(kernel.Root()) == kernel::kDone);
    model::Key expected;
    code = model::ReadDocument(document, expected);
    FUZZ_CHECK(Load(tree, document) == code);
    const std::unique_ptr<model::Key> loaded = Plain(tree);
    FUZZ_CHECK(model::Same(*loaded, expected));   // after a failure too
    std::string written;
    const ResultCode writable = model::WriteDocument(*loaded, written);
    arbor::module::TextBuffer saved;
    FUZZ_CHECK(arbor::module::SaveDocument(tree, saved) == writable);
    if (kernel::IsFailure(writable)) return {};
    FUZZ_CHECK(saved.View() == written);
    return written;
}

}   // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static host::Kernel kernel;
    ResultCode code = kernel::kDone;
    const std::string saved = Convert(kernel, {reinterpret_cast<const char*>(data), size}, code);
    if (!saved.empty()) {
        const std::string reloaded = Convert(kernel, saved, code);
        FUZZ_CHECK(code == kernel::kDone || code == kernel::kMediaError);   // too deep
        FUZZ_CHECK(Convert(kernel, reloaded, code) == reloaded);
    }
    FUZZ_CHECK(kernel.LiveBlocks() == 0);
    return 0;
}

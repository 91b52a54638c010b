// Loads any bytes as a document. The code and the tree must be those of the model's reader, and a save must write the
// document of the model's writer. That document is loaded and saved in the same way; a third save changes nothing.
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
model::Value ModelOf(const arbor::module::Value& value) {
    std::uint32_t size = 0;
    FUZZ_CHECK(value.Get(nullptr, 0, &size) == kernel::kDone);
    std::string bytes(size, '\0');
    FUZZ_CHECK(value.Get(bytes.data(), size, &size) == kernel::kDone);
    const std::size_t end = value.GetType() == kernel::tSTRING ? 1 : value.GetType() == kernel::tWSTRING ? 2 : 0;
    if (!bytes.empty()) bytes.resize(bytes.size() - end);
    return {value.GetType(), bytes};
}

void CopyToModel(const arbor::module::Key& key, model::Key& copy) {
    for (const arbor::module::Key& child : key.Children()) CopyToModel(child, copy.AddKey(child.Name().View()));
    for (const arbor::module::ValueEntry& entry : key.Values()) copy.AddValue(entry.name.View(), ModelOf(*entry.value));
}

std::unique_ptr<model::Key> ModelOf(const KeyTree& tree) {
    auto copy = std::make_unique<model::Key>();
    CopyToModel(*tree.top, *copy);
    return copy;
}

ResultCode Load(KeyTree& tree, std::string_view document) {
    const auto block = fuzz::CopyToBlock(document);
    return arbor::module::LoadDocument(tree, block.get(), static_cast<std::uint32_t>(document.size()));
}

/// Loads the document and saves it again. Returns the saved document; an empty text if the tree has none.
std::string LoadAndSave(host::Kernel& kernel, std::string_view document, ResultCode& code) {
    KeyTree tree;
    FUZZ_CHECK(tree.Start(kernel.Root()) == kernel::kDone);
    model::Key expected;
    code = model::ReadDocument(document, expected);
    FUZZ_CHECK(Load(tree, document) == code);
    const std::unique_ptr<model::Key> loaded = ModelOf(tree);
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
    const std::string saved = LoadAndSave(kernel, {reinterpret_cast<const char*>(data), size}, code);
    if (!saved.empty()) {
        const std::string reloaded = LoadAndSave(kernel, saved, code);
        FUZZ_CHECK(code == kernel::kDone || code == kernel::kMediaError);   // nested too deeply
        FUZZ_CHECK(LoadAndSave(kernel, reloaded, code) == reloaded);
    }
    FUZZ_CHECK(kernel.LiveBlocks() == 0);
    return 0;
}

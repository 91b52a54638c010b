// libxml2 with an index.

#include "indexed_tree.h"
#include "peer.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <stdexcept>

namespace bench {
namespace {

std::string_view View(const xmlChar* text) {
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

/// The content of a text node, or nothing for null. An element has at most one: the parser joins text and entities.
std::string_view ContentOf(const xmlNode* text) { return text != nullptr ? View(text->content) : std::string_view(); }
std::string_view NameOf(const xmlNode& node) { return ContentOf(node.properties->children); }

class Libxml2 : public Peer {
public:
    Libxml2() { xmlInitParser(); }

    void Load(const std::string& file) override {
        constexpr int kOptions = XML_PARSE_NOBLANKS | XML_PARSE_HUGE | XML_PARSE_NOENT;
        document.reset(xmlReadFile(file.c_str(), nullptr, kOptions));
        if (!document) throw std::runtime_error("libxml2 can't load the document");
        tree = std::make_unique<Tree>();
        Index(*xmlDocGetRootElement(document.get()), tree->Root());
    }
    void Free() override {
        tree.reset();
        document.reset();
    }

    std::size_t Get(const Entry& entry, char* buffer) override { return Tree::Copy(*Find(entry), buffer); }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        Tree::Value& value = *Find(entry);
        const auto* bytes = reinterpret_cast<const xmlChar*>(text.data());
        // Sets the text node, which stores the text as it is; for an element the text would be parsed.
        xmlNodeSetContentLen(value.text->children, bytes, static_cast<int>(text.size()));
        Tree::SetDatum(value, ContentOf(value.text->children));
    }

    ContentDigest Enumerate() override { return tree->Enumerate(); }

    void Save(std::string& text) override {
        xmlChar* bytes = nullptr;
        int size = 0;
        xmlDocDumpFormatMemory(document.get(), &bytes, &size, 1);
        if (bytes == nullptr) throw std::runtime_error("libxml2 can't save the document");
        text.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
        xmlFree(bytes);
    }

private:
    using Tree = IndexedTree<xmlNode*>;
    struct FreeDocument {
        void operator()(xmlDoc* owned) const { xmlFreeDoc(owned); }
    };

    Tree::Value* Find(const Entry& entry) { return Tree::FindValue(*tree->Find(entry.path), entry.name); }

    void Index(const xmlNode& node, Tree::Key& key) {
        for (xmlNode* child = node.children; child != nullptr; child = child->next) {
            if (View(child->name) == "key") {
                Index(*child, tree->AddKey(key, NameOf(*child)));
            } else if (child->type == XML_ELEMENT_NODE) {
                tree->AddValue(key, NameOf(*child), KindOf(View(child->name)), ContentOf(child->children), child);
            }
        }
    }

    std::unique_ptr<xmlDoc, FreeDocument> document;
    std::unique_ptr<Tree> tree;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    return bench::RunPeer(argumentCount, arguments,
                          {{"libxml2+index", [] { return std::make_unique<bench::Libxml2>(); }}});
}

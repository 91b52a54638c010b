// libxml2 with an index.

#include "indexed_tree.h"
#include "peer.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <stdexcept>

namespace bench {
namespace {

const xmlChar* Bytes(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

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
        xmlNode* const root = xmlDocGetRootElement(document.get());
        tree = std::make_unique<Tree>(root);
        Index(*root, tree->Root());
    }
    void Free() override {
        tree.reset();
        document.reset();
    }

    std::size_t Get(const Entry& entry, char* buffer) override {
        return Tree::Copy(*Tree::FindValue(*tree->Find(entry.path), entry.name), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        Tree::Key& key = *tree->Find(entry.path);
        Tree::Value* value = Tree::FindValue(key, entry.name);
        xmlNode& node = value != nullptr ? *value->text : AppendValue(*key.node, entry);
        // Sets the text node, which stores the text as it is; for an element the text would be parsed.
        xmlNodeSetContentLen(node.children, Bytes(text.data()), static_cast<int>(text.size()));
        if (value != nullptr) return Tree::SetDatum(*value, ContentOf(node.children));
        Tree::AddValue(key, NameOf(node), entry.kind, ContentOf(node.children), &node);
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

    /// Appends an element with an empty text node.
    static xmlNode& AppendValue(xmlNode& key, const Entry& entry) {
        const std::string element(ElementOf(entry.kind));
        xmlNode* const node = xmlNewChild(&key, nullptr, Bytes(element.c_str()), nullptr);
        xmlNewProp(node, Bytes("name"), Bytes(entry.name.c_str()));
        xmlAddChild(node, xmlNewText(Bytes("")));
        return *node;
    }

    void Index(const xmlNode& node, Tree::Key& key) {
        for (xmlNode* child = node.children; child != nullptr; child = child->next) {
            if (View(child->name) == "key") {
                Index(*child, tree->AddKey(key, NameOf(*child), child));
            } else if (child->type == XML_ELEMENT_NODE) {
                Tree::AddValue(key, NameOf(*child), KindOf(View(child->name)), ContentOf(child->children), child);
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

// RapidXML: the bare document, and with an index.

#include "indexed_tree.h"
#include "peer.h"

#include <rapidxml/rapidxml.hpp>

// The library's printer calls its functions before it declares them, so they are declared here.
namespace rapidxml::internal {
template <class Out, class Char>
Out print_children(Out out, const xml_node<Char>* node, int flags, int indent);
template <class Out, class Char>
Out print_element_node(Out out, const xml_node<Char>* node, int flags, int indent);
template <class Out, class Char>
Out print_data_node(Out out, const xml_node<Char>* node, int flags, int indent);
template <class Out, class Char>
Out print_cdata_node(Out out, const xml_node<Char>* node, int flags, int indent);
template <class Out, class Char>
Out print_declaration_node(Out out, const xml_node<Char>* node, int flags, int indent);
template <class Out, class Char>
Out print_comment_node(Out out, const xml_node<Char>* node, int flags, int indent);
template <class Out, class Char>
Out print_doctype_node(Out out, const xml_node<Char>* node, int flags, int indent);
template <class Out, class Char>
Out print_pi_node(Out out, const xml_node<Char>* node, int flags, int indent);
}   // namespace rapidxml::internal

#include <rapidxml/rapidxml_print.hpp>

#include <iterator>

namespace bench {
namespace {

using Node = rapidxml::xml_node<char>;

std::string_view NameOf(const Node& node) {
    const rapidxml::xml_attribute<char>& name = *node.first_attribute();
    return {name.value(), name.value_size()};
}
std::string_view ElementNameOf(const Node& node) { return {node.name(), node.name_size()}; }
std::string_view TextOf(const Node& node) { return {node.value(), node.value_size()}; }

class Rapidxml : public Peer {
public:
    void Load(const std::string& file) override {
        text = ReadFile(file);
        document = std::make_unique<rapidxml::xml_document<char>>();
        document->parse<rapidxml::parse_no_data_nodes>(text.data());
    }
    void Free() override {
        document.reset();
        text = std::string();
    }

    std::size_t Get(const Entry& entry, char* buffer) override {
        return CopyTyped(entry.kind, TextOf(*FindChild(FindKey(entry), false, entry.name)), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view value) override {
        Node& key = FindKey(entry);
        Node* node = FindChild(key, false, entry.name);
        Replace(node != nullptr ? *node : AppendValue(key, entry), value);
    }

    ContentDigest Enumerate() override {
        Enumeration content;
        Walk(Root(), content);
        return content.Digest();
    }

    void Save(std::string& output) override { rapidxml::print(std::back_inserter(output), *document); }

protected:
    [[nodiscard]] Node& Root() const { return *document->first_node(); }

    /// Overwrites the old text if it is long enough; else allocates from the document's pool, which frees nothing.
    void Replace(Node& node, std::string_view value) {
        char* target = node.value();
        if (value.size() > node.value_size()) target = document->allocate_string(nullptr, value.size());
        std::memcpy(target, value.data(), value.size());
        node.value(target, value.size());
    }

    /// The document refers to the element's name and has a copy of the value's.
    Node& AppendValue(Node& key, const Entry& entry) {
        const std::string_view element = ElementOf(entry.kind);
        Node* const node = document->allocate_node(rapidxml::node_element, element.data(), nullptr, element.size());
        const char* const name = document->allocate_string(entry.name.data(), entry.name.size());
        node->append_attribute(document->allocate_attribute("name", name, 4, entry.name.size()));
        key.append_node(node);
        return *node;
    }

private:
    [[nodiscard]] static Node* FindChild(const Node& node, bool key, std::string_view name) {
        for (Node* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
            if ((ElementNameOf(*child) == "key") == key && NameOf(*child) == name) return child;
        }
        return nullptr;
    }
    [[nodiscard]] Node& FindKey(const Entry& entry) const {
        Node* node = &Root();
        std::string_view path = entry.path;
        while (!path.empty()) node = FindChild(*node, true, CutName(path));
        return *node;
    }

    static void Walk(const Node& node, Enumeration& content) {
        for (const Node* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
            if (ElementNameOf(*child) == "key") {
                content.AddKey(NameOf(*child));
                Walk(*child, content);
            } else {
                const Kind kind = KindOf(ElementNameOf(*child));
                content.AddValue(NameOf(*child), CopyTyped(kind, TextOf(*child), content.ValueBuffer()));
            }
        }
    }

    std::string text;
    std::unique_ptr<rapidxml::xml_document<char>> document;
};

class IndexedRapidxml : public Rapidxml {
public:
    void Load(const std::string& file) override {
        Rapidxml::Load(file);
        tree = std::make_unique<Tree>(&Root());
        if (ElementNameOf(Root()) == "arbor") return Index(Root(), tree->Root());
        IndexForeign(Root(), tree->AddKey(tree->Root(), ElementNameOf(Root()), &Root()));
    }
    void Free() override {
        tree.reset();
        Rapidxml::Free();
    }

    std::size_t Get(const Entry& entry, char* buffer) override {
        return Tree::Copy(*Tree::FindValue(*tree->Find(entry.path), entry.name), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view content) override {
        Tree::Key& key = *tree->Find(entry.path);
        Tree::Value* value = Tree::FindValue(key, entry.name);
        Node& node = value != nullptr ? *value->text : AppendValue(*key.node, entry);
        Replace(node, content);
        if (value != nullptr) return Tree::SetDatum(*value, TextOf(node));
        Tree::AddValue(key, NameOf(node), entry.kind, TextOf(node), &node);
    }

    ContentDigest Enumerate() override { return tree->Enumerate(); }
    [[nodiscard]] bool MapsForeign() const override { return true; }

private:
    using Tree = IndexedTree<Node*>;

    void Index(const Node& node, Tree::Key& key) {
        for (Node* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
            if (ElementNameOf(*child) == "key") {
                Index(*child, tree->AddKey(key, NameOf(*child), child));
            } else {
                Tree::AddValue(key, NameOf(*child), KindOf(ElementNameOf(*child)), TextOf(*child), child);
            }
        }
    }

    /// The attributes and the text of an element are the values of its key.
    void IndexForeign(Node& node, Tree::Key& key) {
        for (auto* attribute = node.first_attribute(); attribute != nullptr; attribute = attribute->next_attribute()) {
            const std::string_view value(attribute->value(), attribute->value_size());
            Tree::AddValue(key, {attribute->name(), attribute->name_size()}, Kind::String, value, &node);
        }
        for (Node* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
            IndexForeign(*child, tree->AddKey(key, ElementNameOf(*child), child));
        }
        if (node.value_size() != 0) Tree::AddValue(key, kForeignText, Kind::String, TextOf(node), &node);
    }

    std::unique_ptr<Tree> tree;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    return bench::RunPeer(argumentCount, arguments,
                          {{"rapidxml", [] { return std::make_unique<bench::Rapidxml>(); }},
                           {"rapidxml+index", [] { return std::make_unique<bench::IndexedRapidxml>(); }}});
}

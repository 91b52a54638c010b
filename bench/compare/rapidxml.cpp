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
        return CopyTyped(entry.kind, TextOf(*Find(entry)), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view value) override { Replace(*Find(entry), value); }

    ContentDigest Enumerate() override {
        ContentDigest digest;
        Walk(Root(), digest);
        return digest;
    }

    void Save(std::string& output) override { rapidxml::print(std::back_inserter(output), *document); }

protected:
    [[nodiscard]] const Node& Root() const { return *document->first_node(); }

    /// Overwrites the old text if it is long enough; else allocates from the document's pool, which frees nothing.
    void Replace(Node& node, std::string_view value) {
        char* target = node.value();
        if (value.size() > node.value_size()) target = document->allocate_string(nullptr, value.size());
        std::memcpy(target, value.data(), value.size());
        node.value(target, value.size());
    }

private:
    [[nodiscard]] static Node* FindChild(const Node& node, bool key, std::string_view name) {
        for (Node* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
            if ((ElementNameOf(*child) == "key") == key && NameOf(*child) == name) return child;
        }
        return nullptr;
    }
    [[nodiscard]] Node* Find(const Entry& entry) const {
        const Node* node = &Root();
        std::string_view path = entry.path;
        while (!path.empty()) node = FindChild(*node, true, CutName(path));
        return FindChild(*node, false, entry.name);
    }

    static void Walk(const Node& node, ContentDigest& digest) {
        char buffer[kMaxValueBytes];
        for (const Node* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
            if (ElementNameOf(*child) == "key") {
                digest.AddKey(NameOf(*child));
                Walk(*child, digest);
            } else {
                const Kind kind = KindOf(ElementNameOf(*child));
                digest.AddValue(NameOf(*child), {buffer, CopyTyped(kind, TextOf(*child), buffer)});
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
        tree = std::make_unique<Tree>();
        Index(Root(), tree->Root());
    }
    void Free() override {
        tree.reset();
        Rapidxml::Free();
    }

    std::size_t Get(const Entry& entry, char* buffer) override { return Tree::Copy(*Find(entry), buffer); }
    void Set(const Entry& entry, std::string_view, std::string_view value) override {
        Tree::Value& found = *Find(entry);
        Replace(*found.text, value);
        Tree::SetDatum(found, TextOf(*found.text));
    }

    ContentDigest Enumerate() override { return tree->Enumerate(); }

private:
    using Tree = IndexedTree<Node*>;

    Tree::Value* Find(const Entry& entry) { return Tree::FindValue(*tree->Find(entry.path), entry.name); }

    void Index(const Node& node, Tree::Key& key) {
        for (Node* child = node.first_node(); child != nullptr; child = child->next_sibling()) {
            if (ElementNameOf(*child) == "key") {
                Index(*child, tree->AddKey(key, NameOf(*child)));
            } else {
                tree->AddValue(key, NameOf(*child), KindOf(ElementNameOf(*child)), TextOf(*child), child);
            }
        }
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

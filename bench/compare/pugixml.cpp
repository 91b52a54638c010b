// pugixml: the bare document, and with an index.

#include "indexed_tree.h"
#include "peer.h"

#include <pugixml.hpp>

#include <stdexcept>

namespace bench {
namespace {

class Pugixml : public Peer {
public:
    void Load(const std::string& file) override {
        if (!document.load_file(file.c_str())) throw std::runtime_error("pugixml can't load the document");
    }
    void Free() override { document.reset(); }

    std::size_t Get(const Entry& entry, char* buffer) override {
        const pugi::xml_node value = FindKey(entry).find_child_by_attribute("name", entry.name.c_str());
        return CopyTyped(entry.kind, value.child_value(), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        const pugi::xml_node key = FindKey(entry);
        pugi::xml_node value = key.find_child_by_attribute("name", entry.name.c_str());
        if (value.empty()) value = AppendValue(key, entry);
        value.text().set(std::string(text).c_str());
    }

    ContentDigest Enumerate() override {
        Enumeration content;
        Walk(document.document_element(), content);
        return content.Digest();
    }

    void Save(std::string& text) override {
        struct Writer : pugi::xml_writer {
            explicit Writer(std::string& target) : output(target) {}
            void write(const void* data, std::size_t size) override {
                output.append(static_cast<const char*>(data), size);
            }
            std::string& output;
        } writer(text);
        document.save(writer, "    ", pugi::format_indent | pugi::format_no_declaration);
    }

protected:
    static pugi::xml_node AppendValue(pugi::xml_node key, const Entry& entry) {
        pugi::xml_node value = key.append_child(std::string(ElementOf(entry.kind)).c_str());
        value.append_attribute("name").set_value(entry.name.c_str());
        return value;
    }

    pugi::xml_document document;

private:
    [[nodiscard]] pugi::xml_node FindKey(const Entry& entry) const {
        pugi::xml_node node = document.child("arbor");
        std::string_view path = entry.path;
        std::string name;   // the library needs terminated names
        while (!path.empty()) {
            name = CutName(path);
            node = node.find_child_by_attribute("key", "name", name.c_str());
        }
        return node;
    }

    static void Walk(pugi::xml_node node, Enumeration& content) {
        for (const pugi::xml_node child : node) {
            const std::string_view name = child.first_attribute().value();
            const std::string_view element = child.name();
            if (element == "key") {
                content.AddKey(name);
                Walk(child, content);
            } else {
                content.AddValue(name, CopyTyped(KindOf(element), child.child_value(), content.ValueBuffer()));
            }
        }
    }
};

class IndexedPugixml : public Pugixml {
public:
    void Load(const std::string& file) override {
        Pugixml::Load(file);
        const pugi::xml_node root = document.document_element();
        tree = std::make_unique<Tree>(root);
        if (std::string_view(root.name()) == "arbor") return Index(root, tree->Root());
        IndexForeign(root, tree->AddKey(tree->Root(), root.name(), root));
    }
    void Free() override {
        tree.reset();
        Pugixml::Free();
    }

    std::size_t Get(const Entry& entry, char* buffer) override {
        return Tree::Copy(*Tree::FindValue(*tree->Find(entry.path), entry.name), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        Tree::Key& key = *tree->Find(entry.path);
        Tree::Value* value = Tree::FindValue(key, entry.name);
        pugi::xml_node node = value != nullptr ? value->text : AppendValue(key.node, entry);
        node.text().set(std::string(text).c_str());
        if (value != nullptr) return Tree::SetDatum(*value, node.child_value());
        Tree::AddValue(key, node.first_attribute().value(), entry.kind, node.child_value(), node);
    }

    ContentDigest Enumerate() override { return tree->Enumerate(); }
    [[nodiscard]] bool MapsForeign() const override { return true; }

private:
    using Tree = IndexedTree<pugi::xml_node>;

    void Index(pugi::xml_node node, Tree::Key& key) {
        for (const pugi::xml_node child : node) {
            const std::string_view name = child.first_attribute().value();
            const std::string_view element = child.name();
            if (element == "key") {
                Index(child, tree->AddKey(key, name, child));
            } else {
                Tree::AddValue(key, name, KindOf(element), child.child_value(), child);
            }
        }
    }

    /// The attributes and the text of an element are the values of its key.
    void IndexForeign(pugi::xml_node node, Tree::Key& key) {
        for (const pugi::xml_attribute attribute : node.attributes()) {
            Tree::AddValue(key, attribute.name(), Kind::String, attribute.value(), node);
        }
        for (const pugi::xml_node child : node) {
            if (child.type() == pugi::node_element) {
                IndexForeign(child, tree->AddKey(key, child.name(), child));
            } else {
                Tree::AddValue(key, kForeignText, Kind::String, child.value(), node);
            }
        }
    }

    std::unique_ptr<Tree> tree;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    return bench::RunPeer(argumentCount, arguments,
                          {{"pugixml", [] { return std::make_unique<bench::Pugixml>(); }},
                           {"pugixml+index", [] { return std::make_unique<bench::IndexedPugixml>(); }}});
}

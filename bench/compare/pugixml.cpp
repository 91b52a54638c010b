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
        return CopyTyped(entry.kind, Find(entry).child_value(), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        Find(entry).text().set(std::string(text).c_str());
    }

    ContentDigest Enumerate() override {
        ContentDigest digest;
        Walk(document.child("arbor"), digest);
        return digest;
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
    pugi::xml_document document;

private:
    [[nodiscard]] pugi::xml_node Find(const Entry& entry) const {
        pugi::xml_node node = document.child("arbor");
        std::string_view path = entry.path;
        std::string name;   // the library needs terminated names
        while (!path.empty()) {
            name = CutName(path);
            node = node.find_child_by_attribute("key", "name", name.c_str());
        }
        return node.find_child_by_attribute("name", entry.name.c_str());
    }

    static void Walk(pugi::xml_node node, ContentDigest& digest) {
        char buffer[kMaxValueBytes];
        for (const pugi::xml_node child : node) {
            const std::string_view name = child.first_attribute().value();
            const std::string_view element = child.name();
            if (element == "key") {
                digest.AddKey(name);
                Walk(child, digest);
            } else {
                digest.AddValue(name, {buffer, CopyTyped(KindOf(element), child.child_value(), buffer)});
            }
        }
    }
};

class IndexedPugixml : public Pugixml {
public:
    void Load(const std::string& file) override {
        Pugixml::Load(file);
        tree = std::make_unique<Tree>();
        Index(document.child("arbor"), tree->Root());
    }
    void Free() override {
        tree.reset();
        Pugixml::Free();
    }

    std::size_t Get(const Entry& entry, char* buffer) override { return Tree::Copy(*Find(entry), buffer); }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        Tree::Value& value = *Find(entry);
        value.text.text().set(std::string(text).c_str());
        Tree::SetDatum(value, value.text.child_value());
    }

    ContentDigest Enumerate() override { return tree->Enumerate(); }

private:
    using Tree = IndexedTree<pugi::xml_node>;

    Tree::Value* Find(const Entry& entry) { return Tree::FindValue(*tree->Find(entry.path), entry.name); }

    void Index(pugi::xml_node node, Tree::Key& key) {
        for (const pugi::xml_node child : node) {
            const std::string_view name = child.first_attribute().value();
            const std::string_view element = child.name();
            if (element == "key") {
                Index(child, tree->AddKey(key, name));
            } else {
                tree->AddValue(key, name, KindOf(element), child.child_value(), child);
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

// tinyxml2 with an index.

#include "indexed_tree.h"
#include "peer.h"

#include <tinyxml2.h>

#include <stdexcept>

namespace bench {
namespace {

using Element = tinyxml2::XMLElement;

std::string_view NameOf(const Element& element) { return element.FirstAttribute()->Value(); }
std::string_view TextOf(const Element& element) {
    const char* text = element.GetText();
    return text != nullptr ? text : "";
}

class Tinyxml2 : public Peer {
public:
    void Load(const std::string& file) override {
        document = std::make_unique<tinyxml2::XMLDocument>();
        if (document->LoadFile(file.c_str()) != tinyxml2::XML_SUCCESS) throw std::runtime_error("tinyxml2 can't load");
        tree = std::make_unique<Tree>(document->RootElement());
        Index(*document->RootElement(), tree->Root());
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
        Element& element = value != nullptr ? *value->text : AppendValue(*key.node, entry);
        element.SetText(std::string(text).c_str());
        if (value != nullptr) return Tree::SetDatum(*value, TextOf(element));
        Tree::AddValue(key, NameOf(element), entry.kind, TextOf(element), &element);
    }

    ContentDigest Enumerate() override { return tree->Enumerate(); }

    void Save(std::string& text) override {
        tinyxml2::XMLPrinter printer;
        document->Print(&printer);
        text.append(printer.CStr(), static_cast<std::size_t>(printer.CStrSize()) - 1);
    }

private:
    using Tree = IndexedTree<Element*>;

    static Element& AppendValue(Element& key, const Entry& entry) {
        Element& element = *key.InsertNewChildElement(std::string(ElementOf(entry.kind)).c_str());
        element.SetAttribute("name", entry.name.c_str());
        return element;
    }

    void Index(Element& element, Tree::Key& key) {
        for (Element* child = element.FirstChildElement(); child != nullptr; child = child->NextSiblingElement()) {
            const std::string_view name = child->Name();
            if (name == "key") {
                Index(*child, tree->AddKey(key, NameOf(*child), child));
            } else {
                Tree::AddValue(key, NameOf(*child), KindOf(name), TextOf(*child), child);
            }
        }
    }

    std::unique_ptr<tinyxml2::XMLDocument> document;
    std::unique_ptr<Tree> tree;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    return bench::RunPeer(argumentCount, arguments,
                          {{"tinyxml2+index", [] { return std::make_unique<bench::Tinyxml2>(); }}});
}

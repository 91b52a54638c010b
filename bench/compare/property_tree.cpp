// Boost.PropertyTree, which finds children by name itself and stores all values as text.

#include "peer.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <sstream>

namespace bench {
namespace {

using boost::property_tree::ptree;

/// The library's XML tree has the names as attributes. Load converts it to a tree whose children have these names, as a
/// user would. A digit for the kind precedes each value's text.
class PropertyTree : public Peer {
public:
    void Load(const std::string& file) override {
        ptree document;
        read_xml(file, document, boost::property_tree::xml_parser::trim_whitespace);
        tree = std::make_unique<ptree>();
        ToNamedTree(document.get_child("arbor"), *tree);
    }
    void Free() override { tree.reset(); }

    std::size_t Get(const Entry& entry, char* buffer) override {
        const std::string_view typed = FindKey(entry).find(entry.name)->second.data();
        return CopyTyped(static_cast<Kind>(typed.front() - '0'), typed.substr(1), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        ptree& key = FindKey(entry);
        const auto found = key.find(entry.name);
        if (found != key.not_found()) {
            found->second.data().replace(1, std::string::npos, text);
        } else {
            key.push_back({entry.name, ptree(TypedText(entry.kind, text))});
        }
    }

    ContentDigest Enumerate() override {
        Enumeration content;
        Walk(*tree, content);
        return content.Digest();
    }

    void Save(std::string& text) override {
        ptree document;
        ToXmlTree(*tree, document.put_child("arbor", ptree()));
        std::ostringstream stream;
        write_xml(stream, document, boost::property_tree::xml_writer_settings<std::string>(' ', 4));
        text += stream.str();
    }

private:
    static std::string TypedText(Kind kind, std::string_view text) {
        return std::to_string(static_cast<unsigned>(kind)).append(text);
    }

    ptree& FindKey(const Entry& entry) {
        return entry.path.empty() ? *tree : tree->get_child(ptree::path_type(entry.path, '/'));
    }

    static void ToNamedTree(const ptree& elements, ptree& key) {
        for (const auto& [element, content] : elements) {
            if (element == "<xmlattr>") continue;
            const auto& name = content.get_child("<xmlattr>.name").data();
            ptree& child = key.push_back({name, ptree()})->second;
            if (element == "key") {
                ToNamedTree(content, child);
            } else {
                child.data() = TypedText(KindOf(element), content.data());
            }
        }
    }

    static void ToXmlTree(const ptree& key, ptree& elements) {
        for (const auto& [name, content] : key) {
            const bool isKey = content.data().empty();
            const std::string element =
                isKey ? "key" : std::string(ElementOf(static_cast<Kind>(content.data().front() - '0')));
            ptree& child = elements.push_back({element, ptree()})->second;
            child.put("<xmlattr>.name", name);
            if (isKey) {
                ToXmlTree(content, child);
            } else {
                child.data() = content.data().substr(1);
            }
        }
    }

    static void Walk(const ptree& key, Enumeration& content) {
        for (const auto& [name, child] : key) {
            if (child.data().empty()) {
                content.AddKey(name);
                Walk(child, content);
            } else {
                const std::string_view typed = child.data();
                const Kind kind = static_cast<Kind>(typed.front() - '0');
                content.AddValue(name, CopyTyped(kind, typed.substr(1), content.ValueBuffer()));
            }
        }
    }

    std::unique_ptr<ptree> tree;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    return bench::RunPeer(argumentCount, arguments,
                          {{"ptree", [] { return std::make_unique<bench::PropertyTree>(); }}});
}

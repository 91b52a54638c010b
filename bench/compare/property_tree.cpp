// Boost.PropertyTree, which finds names by itself and keeps all values as texts.

#include "peer.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <sstream>

namespace bench {
namespace {

using boost::property_tree::ptree;

/// The tree is the XML's own, where names are attributes; a user would turn it into one that is keyed by names. The
/// type stands in front of a value's text.
class PropertyTree : public Peer {
public:
    void Load(const std::string& file) override {
        ptree document;
        read_xml(file, document, boost::property_tree::xml_parser::trim_whitespace);
        tree = std::make_unique<ptree>();
        Take(document.get_child("arbor"), *tree);
    }
    void Free() override { tree.reset(); }

    std::size_t Get(const Entry& entry, char* buffer) override {
        const std::string_view held = Find(entry).data();
        return CopyTyped(static_cast<Kind>(held.front() - '0'), held.substr(1), buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        Find(entry).data().replace(1, std::string::npos, text);
    }

    Census Enumerate() override {
        Census census;
        Walk(*tree, census);
        return census;
    }

    void Save(std::string& text) override {
        ptree document;
        Give(*tree, document.put_child("arbor", ptree()));
        std::ostringstream stream;
        write_xml(stream, document, boost::property_tree::xml_writer_settings<std::string>(' ', 4));
        text += stream.str();
    }

private:
    ptree& Find(const Entry& entry) {
        ptree& key = entry.path.empty() ? *tree : tree->get_child(ptree::path_type(entry.path, '/'));
        return key.find(entry.name)->second;
    }

    static void Take(const ptree& elements, ptree& key) {
        for (const auto& [element, content] : elements) {
            if (element == "<xmlattr>") continue;
            const auto& name = content.get_child("<xmlattr>.name").data();
            ptree& made = key.push_back({name, ptree()})->second;
            if (element == "key") {
                Take(content, made);
            } else {
                made.data() = std::to_string(static_cast<unsigned>(KindOf(element))) + content.data();
            }
        }
    }

    static void Give(const ptree& key, ptree& elements) {
        for (const auto& [name, content] : key) {
            const bool isKey = content.data().empty();
            const std::string element =
                isKey ? "key" : std::string(ElementOf(static_cast<Kind>(content.data().front() - '0')));
            ptree& made = elements.push_back({element, ptree()})->second;
            made.put("<xmlattr>.name", name);
            if (isKey) {
                Give(content, made);
            } else {
                made.data() = content.data().substr(1);
            }
        }
    }

    static void Walk(const ptree& key, Census& census) {
        char buffer[kLongestValue];
        for (const auto& [name, content] : key) {
            if (content.data().empty()) {
                census.AddKey(name);
                Walk(content, census);
            } else {
                const std::string_view held = content.data();
                const Kind kind = static_cast<Kind>(held.front() - '0');
                census.AddValue(name, {buffer, CopyTyped(kind, held.substr(1), buffer)});
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

#include "document/profile_format.h"
#include "document/xml_writer.h"
#include "tree/key_tree.h"
#include "tree/type_catalogue.h"

#include <component/kernel/value_types.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace arbor {

namespace {

/// Writes one body: a walk down the tree with a stack of its own, keys before values.
class BodyWriter {
public:
    BodyWriter(XmlWriter& xmlWriter, int firstIndent) : writer(xmlWriter), indent(firstIndent) {}

    ResultCode Write(const Key& root) {
        const Key* key = &root;
        auto child = key->Children().begin();
        for (;;) {
            if (child != key->Children().end()) {
                OpenKey(*child);
                above.push_back(key);
                key = &*child;
                child = key->Children().begin();
                continue;
            }
            if (const ResultCode code = WriteValues(*key); IsFailure(code)) return code;
            if (above.empty()) return kDone;
            CloseKey();
            child = std::next(above.back()->Children().iterator_to(*key));
            key = above.back();
            above.pop_back();
        }
    }

private:
    void OpenKey(const Key& key) {
        writer.WriteIndent(indent, ' ');
        writer.OpenTag(kKeyElement);
        writer.WriteAttribute(kNameAttribute, key.Name().text, static_cast<std::int32_t>(key.Name().length));
        writer.CloseTag();
        writer.WriteLineEnd();
        indent += kIndentStep;
    }

    void CloseKey() {
        indent -= kIndentStep;
        writer.WriteIndent(indent, ' ');
        writer.WriteEndTag(kKeyElement);
        writer.WriteLineEnd();
    }

    ResultCode WriteValues(const Key& key) {
        for (const ValueEntry& entry : key.Values()) {
            if (const ResultCode code = TakeText(*entry.value); IsFailure(code)) return code;
            const TypeCode type = entry.value->GetType();
            // Wide text goes out as UTF-8, which the text type reads back; its own text form would be hexadecimal.
            const char* element = TypeNameFromCode(type == tWSTRING ? static_cast<TypeCode>(tSTRING) : type);
            writer.WriteElementLine(indent, element, kNameAttribute, entry.name.View(), text.c_str());
        }
        return kDone;
    }

    /// The value's text form into `text`, up to its first 0 byte.
    ResultCode TakeText(const Value& value) {
        // A block's text has no terminator and asks for room for one: zeroes stand behind whatever is written.
        std::fill_n(text.begin(), used, '\0');
        std::uint32_t size = 0;
        ResultCode code = value.ToText(text.data(), Room(), &size);
        if (code == kBufferTooSmall && size > Room()) {
            text.assign(std::size_t{size} + 1, '\0');
            code = value.ToText(text.data(), Room(), &size);
        }
        used = IsSuccess(code) ? size : 0;
        return code;
    }

    [[nodiscard]] std::uint32_t Room() const { return static_cast<std::uint32_t>(text.size()) - 1; }

    XmlWriter& writer;
    int indent;
    std::vector<const Key*> above;
    std::string text = std::string(256, '\0');   // of one value at a time; the last byte is never written
    std::uint32_t used = 0;
};

}   // namespace

ResultCode WriteBody(const Key& root, XmlWriter& writer, int indent) { return BodyWriter(writer, indent).Write(root); }

ResultCode KeyTree::SaveDocument(std::string& output) const {
    if (top == nullptr) return kNotInitialised;
    try {
        XmlWriter writer(output);
        writer.OpenTag(kRootElement);
        writer.CloseTag();
        writer.WriteLineEnd();
        if (const ResultCode code = WriteBody(*top, writer, kIndentStep); IsFailure(code)) return code;
        writer.WriteEndTag(kRootElement);
        writer.WriteLineEnd();
        return kDone;
    } catch (const std::exception&) {
        return kOutOfMemory;   // also for a text beyond what a string can hold
    }
}

}   // namespace arbor

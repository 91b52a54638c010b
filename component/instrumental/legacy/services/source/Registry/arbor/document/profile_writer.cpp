#include "document/profile_format.h"
#include "document/text_buffer.h"
#include "document/xml_writer.h"
#include "tree/key_tree.h"
#include "tree/type_catalogue.h"

#include <component/kernel/value_types.h>

#include <algorithm>
#include <cstring>
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
            std::string_view text;
            if (const ResultCode code = TakeText(*entry.value, text); IsFailure(code)) return code;
            const TypeCode type = entry.value->GetType();
            // Wide text goes out as UTF-8, which the text type reads back; its own text form would be hexadecimal.
            const std::string_view element = TypeNameFromCode(type == tWSTRING ? static_cast<TypeCode>(tSTRING) : type);
            writer.WriteElementLine(indent, element, kNameAttribute, entry.name.View(), text);
        }
        return kDone;
    }

    /// The value's text form, up to its first 0 byte; it lasts until the next one is taken.
    ResultCode TakeText(const Value& value, std::string_view& taken) {
        // A type may write less than it asks for: what the value before used is zeroed again, the rest still is.
        std::memset(usualText, 0, usedBytes);
        char* text = usualText;
        std::uint32_t size = 0;
        ResultCode code = value.ToText(text, sizeof usualText, &size);
        usedBytes = std::min<std::size_t>(size, sizeof usualText);
        if (code == kBufferTooSmall && size != 0) {
            longText.assign(size, '\0');
            text = longText.data();
            code = value.ToText(text, size, &size);
        }
        taken = {text, strnlen(text, size)};
        return code;
    }

    XmlWriter& writer;
    int indent;
    std::vector<const Key*> above;
    char usualText[256] = {};
    std::size_t usedBytes = 0;   // of `usualText`, by the value before
    std::string longText;
};

}   // namespace

ResultCode WriteBody(const Key& root, XmlWriter& writer, int indent) { return BodyWriter(writer, indent).Write(root); }

ResultCode KeyTree::SaveDocument(TextBuffer& output) const {
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
        return kOutOfMemory;   // also for a text beyond what one write stores
    }
}

}   // namespace arbor

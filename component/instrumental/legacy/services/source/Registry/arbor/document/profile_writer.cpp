// Writing a document: the tree as native XML.

#include "document/profile_format.h"
#include "document/text_buffer.h"
#include "document/xml_writer.h"
#include "tree/key.h"
#include "tree/key_tree.h"
#include "tree/value/type_catalogue.h"

#include <component/kernel/value_types.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace arbor::module {

namespace {

/// Writes the body of a key by a walk with an explicit stack.
class BodyWriter {
public:
    BodyWriter(XmlWriter& xmlWriter, int firstIndent) : writer(xmlWriter), indent(firstIndent) {}

    ResultCode Write(const Key& root) {
        const Key* key = &root;
        auto child = key->Children().begin();
        for (;;) {
            if (child != key->Children().end()) {
                OpenKey(*child);
                ancestors.push_back(key);
                key = &*child;
                child = key->Children().begin();
                continue;
            }
            if (const ResultCode code = WriteValues(*key); IsFailure(code)) return code;
            if (ancestors.empty()) return kDone;
            CloseKey();
            child = std::next(ancestors.back()->Children().iterator_to(*key));
            key = ancestors.back();
            ancestors.pop_back();
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
            if (const ResultCode code = TextOf(*entry.value, text); IsFailure(code)) return code;
            const TypeCode type = entry.value->GetType();
            // A wide text is written as UTF-8 under tSTRING: a tWSTRING element would be read as hexadecimal.
            const std::string_view element = TypeNameFromCode(type == tWSTRING ? static_cast<TypeCode>(tSTRING) : type);
            writer.WriteElementLine(indent, element, kNameAttribute, entry.name.View(), text);
        }
        return kDone;
    }

    /// Sets `result` to the value's text form up to its first 0 byte. It is valid until the next call.
    ResultCode TextOf(const Value& value, std::string_view& result) {
        // A type may write fewer bytes than it reports, so the buffer must hold zeros: clear what the last value used.
        std::memset(shortText, 0, usedBytes);
        char* text = shortText;
        std::uint32_t size = 0;
        ResultCode code = value.ToText(text, sizeof shortText, &size);
        usedBytes = std::min<std::size_t>(size, sizeof shortText);
        if (code == kBufferTooSmall && size != 0) {
            longText.assign(size, '\0');
            text = longText.data();
            code = value.ToText(text, size, &size);
        }
        result = {text, strnlen(text, size)};
        return code;
    }

    XmlWriter& writer;
    int indent;
    std::vector<const Key*> ancestors;   // of the key being written
    char shortText[256] = {};
    std::size_t usedBytes = 0;   // of `shortText`, by the last value
    std::string longText;
};

}   // namespace

ResultCode WriteBody(const Key& root, XmlWriter& writer, int indent) { return BodyWriter(writer, indent).Write(root); }

ResultCode SaveDocument(const KeyTree& tree, TextBuffer& output) {
    if (tree.top == nullptr) return kNotInitialised;
    try {
        XmlWriter writer(output);
        writer.OpenTag(kRootElement);
        writer.CloseTag();
        writer.WriteLineEnd();
        if (const ResultCode code = WriteBody(*tree.top, writer, kIndentStep); IsFailure(code)) return code;
        writer.WriteEndTag(kRootElement);
        writer.WriteLineEnd();
        return kDone;
    } catch (const std::exception&) {
        return kOutOfMemory;   // also for a document beyond `TextBuffer::kMaxBytes`
    }
}

}   // namespace arbor::module

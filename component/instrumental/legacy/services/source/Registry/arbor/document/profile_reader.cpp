// Reading a document: each element becomes a key or a value of the tree as it is read.

#include "document/profile_format.h"
#include "document/xml_entities.h"
#include "document/xml_reader.h"
#include "tree/key_tree.h"
#include "tree/value/type_catalogue.h"

#include <component/kernel/value_types.h>

#include <new>
#include <string>
#include <vector>

namespace arbor::module {

namespace {

/// Maps every failure of the reader to the one code that callers get for a syntax error.
ResultCode ToResultCode(std::int32_t result) { return result < 0 ? kBadDocument : kDone; }

/// Stack of the open elements and the key of each; with no element open, the current key is the root.
class OpenElements {
public:
    explicit OpenElements(Key& rootKey) : root(&rootKey) {}

    [[nodiscard]] Key& Current() const { return levels.empty() ? *root : *levels.back().key; }
    [[nodiscard]] bool IsEmpty() const { return levels.empty(); }

    ResultCode Enter(Key& key, const XmlElement& element) {
        if (levels.size() >= kMaxDepth) return kMediaError;
        levels.push_back({&key, element});
        return kDone;
    }

    /// Skips the rest of the innermost element and its end tag.
    ResultCode Leave(XmlReader& reader) {
        const XmlElement element = levels.back().element;
        levels.pop_back();
        return ToResultCode(reader.CloseElement(element));
    }

private:
    struct Level {
        Key* key;
        XmlElement element;
    };

    Key* root;
    std::vector<Level> levels;
};

/// Reads a document in the store's own format: the root element is `kRootElement`.
class NativeReader {
public:
    NativeReader(Key& root, XmlReader& xmlReader) : reader(xmlReader), openElements(root) {}

    ResultCode Read() {
        for (;;) {
            if (const ResultCode code = ReadSimpleValues(); IsFailure(code)) return code;
            XmlElement element;
            const std::int32_t result = reader.NextStartTag(element, 0, nullptr);
            if (result < 0) return kBadDocument;
            if (result == XmlNotFound && openElements.IsEmpty()) return kDone;
            // Without a start tag the input has the key's end tag or stray text. `Leave` skips the rest of the key in
            // both cases.
            const ResultCode code = result == XmlNotFound         ? openElements.Leave(reader)
                                    : element.NameIs(kKeyElement) ? ReadKey(element)
                                                                  : ReadValue(element);
            if (IsFailure(code)) return code;
        }
    }

private:
    /// Fast path: values in the layout that a save writes.
    ResultCode ReadSimpleValues() {
        for (;;) {
            const XmlReader before = reader;
            XmlSimpleElement element;
            if (!reader.TryReadSimpleElement(kNameOpening, element)) return kDone;
            const TypeCode type = TypeCodeFromName(element.name.View());
            if (type == 0) {
                reader = before;   // not the name of a type: a key element, or an error that `ReadValue` reports
                return kDone;
            }
            text.assign(element.hasReferences ? std::string_view() : element.text.View());
            if (element.hasReferences) {
                DecodeEntities(element.text.data, static_cast<std::int32_t>(element.text.length), text);
            }
            const ResultCode code =
                openElements.Current().AddValueFromText(element.attributeValue.View(), type, text.c_str());
            if (IsFailure(code)) return code;
        }
    }

    ResultCode ReadKey(const XmlElement& element) {
        if (const ResultCode code = ReadName(element); IsFailure(code)) return code;
        // The name is a path: it may create several levels, and reuses keys that exist.
        Key* key = openElements.Current().OpenPath(name.c_str(), false, nullptr);
        if (key == nullptr) return kOutOfMemory;
        return element.HasContent() ? openElements.Enter(*key, element) : ToResultCode(reader.CloseElement(element));
    }

    ResultCode ReadValue(const XmlElement& element) {
        const TypeCode type = TypeCodeFromName(element.name.View());
        if (type == 0) return kInvalidArgument;
        if (const ResultCode code = ReadName(element); IsFailure(code)) return code;
        if (!element.HasContent()) return kBadDocument;
        reader.ReadText(text, true);
        const ResultCode code = openElements.Current().AddValueFromText(name.c_str(), type, text.c_str());
        return IsSuccess(code) ? ToResultCode(reader.CloseElement(element)) : code;
    }

    ResultCode ReadName(const XmlElement& element) {
        const std::int32_t code = XmlReader::ReadAttribute(element, kNameAttribute, name);
        if (code < 0) return kBadDocument;
        return code == XmlDone ? kDone : kInvalidArgument;
    }

    XmlReader& reader;
    OpenElements openElements;
    std::string name;   // of the element read last
    std::string text;
};

/// Reads any other XML: an element becomes a key, its attributes and text become tSTRING values.
class ForeignReader {
public:
    ForeignReader(Key& root, XmlReader& xmlReader) : reader(xmlReader), openElements(root) {}

    ResultCode Read() {
        for (;;) {
            XmlElement element;
            const std::int32_t result = reader.NextStartTag(element, ReportText, nullptr);
            if (result < 0) return kBadDocument;
            ResultCode code = kDone;
            if (result == XmlDone) {
                code = ReadElement(element);
            } else {
                if (result != XmlNotFound) code = ReadText();
                if (IsSuccess(code) && openElements.IsEmpty()) return kDone;
                if (IsSuccess(code)) code = openElements.Leave(reader);
            }
            if (IsFailure(code)) return code;
        }
    }

private:
    ResultCode ReadText() {
        if (!reader.ReadText(text, true)) return kDone;
        return openElements.Current().AddValueFromText(kUnnamedValueName, tSTRING, text.c_str());
    }

    ResultCode ReadElement(const XmlElement& element) {
        if (reader.ReadAttributes(element, attributes) < 0) return kBadDocument;
        // Each element makes a new key, even if a sibling has its name.
        Key* key = openElements.Current().OpenPath(element.name.View(), true, nullptr);
        if (key == nullptr) return kOutOfMemory;
        for (const XmlAttribute& attribute : attributes) {
            const ResultCode code = key->AddValueFromText(attribute.name.c_str(), tSTRING, attribute.value.c_str());
            if (IsFailure(code)) return code;
        }
        return element.HasContent() ? openElements.Enter(*key, element) : ToResultCode(reader.CloseElement(element));
    }

    XmlReader& reader;
    OpenElements openElements;
    XmlAttributeList attributes;
    std::string text;
};

}   // namespace

ResultCode ReadChildren(Key& root, XmlReader& reader) { return NativeReader(root, reader).Read(); }

ResultCode ReadForeign(Key& root, XmlReader& reader) { return ForeignReader(root, reader).Read(); }

ResultCode LoadDocument(KeyTree& tree, const char* data, std::uint32_t sizeBytes) {
    if (tree.top == nullptr) return kNotInitialised;
    try {
        XmlReader reader(data, sizeBytes, false);
        XmlElement root;
        if (reader.NextStartTag(root, 0, nullptr) < 0) return kBadDocument;
        if (!root.HasContent()) return kInvalidArgument;
        if (!root.NameIs(kRootElement)) {
            // The root element becomes a key too. `ReadForeign` has closed it when it succeeds.
            XmlReader fromStart(data, sizeBytes, false);
            return ReadForeign(*tree.top, fromStart);
        }
        const ResultCode code = ReadChildren(*tree.top, reader);
        return IsSuccess(code) ? ToResultCode(reader.CloseElement(root)) : code;
    } catch (const std::exception&) {
        return kOutOfMemory;
    }
}

}   // namespace arbor::module

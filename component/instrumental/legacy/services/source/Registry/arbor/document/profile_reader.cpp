// Reads the text of a document: adds each element to the tree as a key or a value as soon as it is read.
//
// Both formats have a fast path for the usual elements. In a document of the store, keys and values in the layout of a
// save are read without a list of attributes. In a foreign document, an element with text and no markup is read to its
// end at once, and a text without references becomes a value without being copied first. Gain: -4 % of LOAD's
// instructions for the keys, -14 % of those of LOAD of foreign XML.

#include "document/profile_format.h"
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

    /// Leaves the innermost element, which was read to its end.
    void Pop() { levels.pop_back(); }

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

/// Adds a value with a text of the document to `key`. `buffer` is for the decoded text.
ResultCode AddValue(Key& key, const HashedName& name, TypeCode type, const RawText& text, std::string& buffer) {
    if (type == tSTRING && text.isPlain) return key.AddValue(name, type, text.bytes.data, text.bytes.length);
    buffer.clear();
    text.AppendDecoded(buffer);
    return key.AddValueFromText(name, type, buffer.c_str());
}

/// Reads a document in the store's own format: the root element is `kRootElement`.
class NativeReader {
public:
    NativeReader(Key& root, XmlReader& xmlReader) : reader(xmlReader), openElements(root) {}

    ResultCode Read() {
        for (;;) {
            if (const ResultCode code = ReadSimpleElements(); IsFailure(code)) return code;
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
    /// Fast path: keys and values in the layout that a save writes.
    ResultCode ReadSimpleElements() {
        for (;;) {
            XmlSimpleTag tag;
            if (!reader.PeekSimpleTag(kNameOpening, tag)) return kDone;
            ResultCode code = kDone;
            if (tag.element.NameIs(kKeyElement)) {
                reader.SkipTag(tag.element);
                code = EnterKey(tag.attributeValue.View(), tag.element);
            } else {
                const TypeCode type = TypeCodeFromName(tag.element.name.View());
                RawText raw;
                // Anything else is a value with markup, or an error that `ReadValue` reports.
                if (type == 0 || !reader.TryReadSimpleText(tag.element, raw)) return kDone;
                code = AddValue(openElements.Current(), MakeHashedName(tag.attributeValue.View()), type, raw, text);
            }
            if (IsFailure(code)) return code;
        }
    }

    ResultCode ReadKey(const XmlElement& element) {
        if (const ResultCode code = ReadName(element); IsFailure(code)) return code;
        return EnterKey(name.c_str(), element);
    }

    /// `path` is the key's name: it may create several levels, and reuses keys that exist.
    ResultCode EnterKey(std::string_view path, const XmlElement& element) {
        Key* key = openElements.Current().OpenPath(path, nullptr);
        if (key == nullptr) return kOutOfMemory;
        return element.HasContent() ? openElements.Enter(*key, element) : ToResultCode(reader.CloseElement(element));
    }

    ResultCode ReadValue(const XmlElement& element) {
        const TypeCode type = TypeCodeFromName(element.name.View());
        if (type == 0) return kInvalidArgument;
        if (const ResultCode code = ReadName(element); IsFailure(code)) return code;
        if (!element.HasContent()) return kBadDocument;
        reader.ReadText(text, true);
        const ResultCode code =
            openElements.Current().AddValueFromText(MakeHashedName(name.c_str()), type, text.c_str());
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
        return openElements.Current().AddValueFromText(kUnnamedName, tSTRING, text.c_str());
    }

    ResultCode ReadElement(const XmlElement& element) {
        if (reader.ReadAttributes(element, attributes) < 0) return kBadDocument;
        // Each element makes a new key, even if a sibling has its name.
        Key* key = openElements.Current().AddKey(MakeHashedName(element.name.View()));
        if (key == nullptr) return kOutOfMemory;
        for (const XmlAttribute& attribute : attributes) {
            const ResultCode code = AddValue(*key, MakeHashedName(attribute.name), tSTRING, attribute.value, text);
            if (IsFailure(code)) return code;
        }
        if (!element.HasContent()) return kDone;
        const ResultCode code = openElements.Enter(*key, element);
        return IsSuccess(code) ? ReadSimpleText(*key, element) : code;
    }

    /// Fast path: an element with text and no markup.
    ResultCode ReadSimpleText(Key& key, const XmlElement& element) {
        RawText content;
        if (!reader.TryReadSimpleText(element, content)) return kDone;
        openElements.Pop();
        content.SkipSpace();
        return content.bytes.length != 0 ? AddValue(key, kUnnamedName, tSTRING, content, text) : kDone;
    }

    static constexpr HashedName kUnnamedName = MakeHashedName(kUnnamedValueName);

    XmlReader& reader;
    OpenElements openElements;
    std::vector<XmlAttribute> attributes;
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

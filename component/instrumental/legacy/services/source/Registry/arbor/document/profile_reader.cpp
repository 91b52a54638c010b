#include "document/profile_format.h"
#include "document/xml_reader.h"
#include "tree/key_tree.h"
#include "tree/type_catalogue.h"

#include <component/kernel/value_types.h>

#include <new>
#include <string>
#include <vector>

namespace arbor {

namespace {

constexpr char kUnnamedValue[] = "noname";

/// Every syntax failure of the reader is this one code outside.
ResultCode FromReader(std::int32_t result) { return result < 0 ? kBadDocument : kDone; }

/// The elements that are open, with the key that each stands for. The root key stands below them all.
class OpenElements {
public:
    explicit OpenElements(Key& rootKey) : root(&rootKey) {}

    [[nodiscard]] Key& Current() const { return levels.empty() ? *root : *levels.back().key; }
    [[nodiscard]] bool IsEmpty() const { return levels.empty(); }

    ResultCode Enter(Key& key, const XmlElement& element) {
        if (levels.size() >= kDeepestLevel) return kMediaError;
        levels.push_back({&key, element});
        return kDone;
    }

    /// Skips what is left of the innermost element, and closes it.
    ResultCode Leave(XmlReader& reader) {
        const XmlElement element = levels.back().element;
        levels.pop_back();
        return FromReader(reader.CloseElement(element));
    }

private:
    struct Level {
        Key* key;
        XmlElement element;
    };

    Key* root;
    std::vector<Level> levels;
};

class ChildrenReader {
public:
    ChildrenReader(Key& root, XmlReader& xmlReader) : reader(xmlReader), open(root) {}

    ResultCode Read() {
        for (;;) {
            if (const ResultCode code = ReadPlainValues(); IsFailure(code)) return code;
            XmlElement element;
            const std::int32_t tag = reader.NextStartTag(element, 0, nullptr);
            if (tag < 0) return kBadDocument;
            if (tag == XmlNone && open.IsEmpty()) return kDone;
            // Stray text ends a key's elements: what follows up to its end tag is skipped.
            const ResultCode code = tag == XmlNone                ? open.Leave(reader)
                                    : element.NameIs(kKeyElement) ? ReadKey(element)
                                                                  : ReadValue(element);
            if (IsFailure(code)) return code;
        }
    }

private:
    /// Values as a save writes them and most people leave them, in one look at each.
    ResultCode ReadPlainValues() {
        XmlPlainElement element;
        while (reader.PeekPlainElement(kNameOpening, element)) {
            const BegunName valueName(element.value.View());
            const TypeCode type = TypeCodeFromName(element.name.View());
            if (type == 0) break;
            text.clear();
            DecodeEntities(element.text.data, static_cast<std::int32_t>(element.text.length), text);
            const ResultCode code = open.Current().AddValueFromText(valueName, type, text.c_str());
            if (IsFailure(code)) return code;
            reader.TakePlainElement(element);
        }
        return kDone;
    }

    ResultCode ReadKey(const XmlElement& element) {
        if (const ResultCode code = ReadName(element); IsFailure(code)) return code;
        // The name is a path: it can open a chain of keys, and enters a key that is there already.
        Key* key = open.Current().OpenPath(name.c_str(), false, nullptr);
        if (key == nullptr) return kOutOfMemory;
        return element.HasContent() ? open.Enter(*key, element) : FromReader(reader.CloseElement(element));
    }

    ResultCode ReadValue(const XmlElement& element) {
        const TypeCode type = TypeCodeFromName(element.name.View());
        if (type == 0) return kInvalidArgument;
        if (const ResultCode code = ReadName(element); IsFailure(code)) return code;
        if (!element.HasContent()) return kBadDocument;
        reader.ReadText(text, true);
        const ResultCode code = open.Current().AddValueFromText(BegunName(name.c_str()), type, text.c_str());
        return IsSuccess(code) ? FromReader(reader.CloseElement(element)) : code;
    }

    ResultCode ReadName(const XmlElement& element) {
        const std::int32_t code = XmlReader::ReadAttribute(element, kNameAttribute, name);
        if (code < 0) return kBadDocument;
        return code == XmlDone ? kDone : kInvalidArgument;
    }

    XmlReader& reader;
    OpenElements open;
    std::string name;   // of the element that was read last
    std::string text;
};

class ForeignReader {
public:
    ForeignReader(Key& root, XmlReader& xmlReader) : reader(xmlReader), open(root) {}

    ResultCode Read() {
        for (;;) {
            XmlElement element;
            const std::int32_t tag = reader.NextStartTag(element, ReportText, nullptr);
            if (tag < 0) return kBadDocument;
            ResultCode code = kDone;
            if (tag == 0) {
                code = ReadElement(element);
            } else {
                if (tag != XmlNone) code = ReadText();
                if (IsSuccess(code) && open.IsEmpty()) return kDone;
                if (IsSuccess(code)) code = open.Leave(reader);
            }
            if (IsFailure(code)) return code;
        }
    }

private:
    ResultCode ReadText() {
        if (!reader.ReadText(text, true)) return kDone;
        return open.Current().AddValueFromText(BegunName(kUnnamedValue), tSTRING, text.c_str());
    }

    ResultCode ReadElement(const XmlElement& element) {
        if (reader.ReadAttributes(element, attributes) < 0) return kBadDocument;
        // A new key for each element, also where a sibling has its name.
        Key* key = open.Current().OpenPath(element.name.View(), true, nullptr);
        if (key == nullptr) return kOutOfMemory;
        for (const XmlAttribute& attribute : attributes) {
            const ResultCode code =
                key->AddValueFromText(BegunName(attribute.name.c_str()), tSTRING, attribute.value.c_str());
            if (IsFailure(code)) return code;
        }
        return element.HasContent() ? open.Enter(*key, element) : FromReader(reader.CloseElement(element));
    }

    XmlReader& reader;
    OpenElements open;
    XmlAttributeList attributes;
    std::string text;
};

}   // namespace

ResultCode ReadChildren(Key& root, XmlReader& reader) { return ChildrenReader(root, reader).Read(); }

ResultCode ReadForeign(Key& root, XmlReader& reader) { return ForeignReader(root, reader).Read(); }

ResultCode KeyTree::LoadDocument(const char* data, std::uint32_t sizeBytes) {
    if (top == nullptr) return kNotInitialised;
    try {
        XmlReader reader(data, sizeBytes, false);
        XmlElement root;
        if (reader.NextStartTag(root, 0, nullptr) < 0) return kBadDocument;
        if (!root.HasContent()) return kInvalidArgument;
        ResultCode code = kDone;
        if (root.NameIs(kRootElement)) {
            code = ReadChildren(*top, reader);
        } else {
            XmlReader whole(data, sizeBytes, false);
            code = ReadForeign(*top, whole);
        }
        return IsSuccess(code) ? FromReader(reader.CloseElement(root)) : code;
    } catch (const std::exception&) {
        return kOutOfMemory;
    }
}

}   // namespace arbor

// Reads with the event parser of nlohmann/json, so that neither the size nor the depth of a document needs a JSON tree
// in memory. The members of an object may come in any order: a key's name is known only at the end of its object.

#include "json_document.h"

#include "exact_text.h"
#include "path.h"
#include "text_check.h"
#include "text_location.h"
#include "walk.h"

#include <host/text.h>

#include <optional>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace arborctl {
namespace {

using nlohmann::json;

/// The reason why an event is refused, without its location.
class JsonFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Iterates over a text and stores the address of the byte read last. The parser's events don't have a position.
class PositionReportingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    PositionReportingIterator(const char* start, const char** lastRead) : position(start), last(lastRead) {}

    reference operator*() const { return *position; }
    PositionReportingIterator& operator++() {
        *last = position++;
        return *this;
    }
    bool operator==(const PositionReportingIterator& other) const { return position == other.position; }
    bool operator!=(const PositionReportingIterator& other) const { return position != other.position; }

private:
    const char* position;
    const char** last;
};

/// An open object or array.
struct Level {
    enum Kind {
        Key,      // an object
        Values,   // the array of a key's values
        Keys,     // the array of a key's subkeys
        Value     // an object
    } kind;
    std::string member{};                // the name read last in an object
    std::optional<std::string> name{};   // of a key or value
};

/// Converts the parser's events to a packed tree.
class TreeReader : public json::json_sax_t {
public:
    /// `values` may be null.
    explicit TreeReader(const ExactConverter* values) : exactValues(values) {}

    [[nodiscard]] PackedTree TakeTree() { return std::move(tree); }

    /// The path of the innermost named key or value.
    [[nodiscard]] std::string Path() const {
        std::string path;
        for (const Level& level : levels) {
            if (level.name && &level != levels.data()) path = JoinPath(path, EncodeName(*level.name));
        }
        return path;
    }

    bool null() override { return Scalar(json()); }
    bool boolean(bool scalar) override { return Scalar(scalar); }
    bool number_integer(number_integer_t scalar) override { return Scalar(scalar); }
    bool number_unsigned(number_unsigned_t scalar) override { return Scalar(scalar); }
    bool number_float(number_float_t scalar, const string_t&) override { return Scalar(scalar); }
    bool string(string_t& scalar) override { return Scalar(std::move(scalar)); }
    bool binary(binary_t&) override { return false; }   // no event of JSON

    bool start_object(std::size_t) override {
        if (levels.empty()) {
            levels.push_back({Level::Key});
            tree.EnterKey();
        } else if (levels.back().kind == Level::Values) {
            levels.push_back({Level::Value});
            type.reset();
            value.reset();
            bytes.reset();
        } else if (levels.back().kind == Level::Keys) {
            EnterKey();
        } else {
            throw JsonFault(Quoted(levels.back().member) + " is an object");
        }
        return true;
    }

    bool start_array(std::size_t) override {
        if (levels.empty() || levels.back().kind == Level::Values || levels.back().kind == Level::Keys)
            throw JsonFault("an array is here instead of an object");
        const Level& level = levels.back();
        if (level.kind != Level::Key || (level.member != "values" && level.member != "keys"))
            throw JsonFault(Quoted(level.member) + " is an array");
        levels.push_back({level.member == "values" ? Level::Values : Level::Keys});
        return true;
    }

    bool key(string_t& name) override {
        constexpr std::string_view kMembers[2][4] = {{"name", "values", "keys", ""},
                                                     {"name", "type", "value", "bytes"}};
        const bool isValue = levels.back().kind == Level::Value;
        const auto& members = kMembers[isValue ? 1 : 0];
        if (name.empty() || std::ranges::find(members, name) == std::end(members))
            throw JsonFault(Quoted(name) + " isn't a member of a " + (isValue ? "value" : "key"));
        levels.back().member = std::move(name);
        return true;
    }

    bool end_object() override {
        const Level& level = levels.back();
        if (level.kind == Level::Value) AddValue();
        if (level.kind == Level::Key) LeaveKey(level);
        levels.pop_back();
        return true;
    }

    bool end_array() override {
        levels.pop_back();
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const json::exception& error) override {
        // Without the prefix of the library, "[json.exception...] parse error at line 1, column 2: "; the caller adds
        // the location.
        const std::string_view text = error.what();
        const std::size_t column = text.find(", column ");
        const std::size_t start = text.find(column == text.npos ? "] " : ": ", column == text.npos ? 0 : column);
        constexpr std::size_t kMaxBytes = 200;   // the text quotes the token, which may be long
        const std::string_view reason = start == text.npos ? text : text.substr(start + 2);
        throw JsonFault(std::string(reason.substr(0, kMaxBytes)) + (reason.size() > kMaxBytes ? "..." : ""));
    }

private:
    static std::string Quoted(const std::string& text) { return '"' + text + '"'; }

    void EnterKey() {
        if (++depth > kMaxPathNames)
            throw JsonFault("keys are nested deeper than " + std::to_string(kMaxPathNames) + " levels");
        levels.push_back({Level::Key});
        tree.EnterKey();
    }

    void LeaveKey(const Level& level) {
        if (levels.size() > 1) {   // the root's name isn't used
            if (!level.name) throw JsonFault("a key has no \"name\"");
            tree.NameKey(*level.name);
            --depth;
        }
        tree.LeaveKey();
    }

    void AddValue() {
        const Level& level = levels.back();
        if (!level.name) throw JsonFault("a value has no \"name\"");
        if (!type) throw JsonFault("the value has no \"type\"");
        if (value.has_value() == bytes.has_value()) throw JsonFault("the value needs either \"value\" or \"bytes\"");
        const kernel::ValueTypeRow* const row = kernel::FindType(*type);
        if (row == nullptr) throw JsonFault(Quoted(*type) + " isn't a value type");
        const std::string text = value ? TextOf(*row) : TextOfBytes(*row);
        std::optional<arbor::Datum> datum = FromExactText(row->type, text);
        if (!datum) throw JsonFault(Excerpt(text) + " isn't a " + *type);
        if (exactValues != nullptr && !IsAlwaysKept(row->type)) exactValues->ThrowIfNotKept(*datum, Path());
        tree.AddValue(*level.name, *datum);
    }

    /// Returns the exact text of the member "value".
    [[nodiscard]] std::string TextOf(const kernel::ValueTypeRow& row) const {
        if (value->is_string()) return value->get<std::string>();
        const bool isAllowed =
            value->is_boolean() ? row.type == kernel::tBOOL : value->is_number() && IsNumber(row.type);
        if (!isAllowed) throw JsonFault(Excerpt(value->dump()) + " isn't a " + *type);
        return value->dump();
    }

    /// Returns the text that the member "bytes" has in hexadecimal.
    [[nodiscard]] std::string TextOfBytes(const kernel::ValueTypeRow& row) const {
        if (!IsText(row.type) && row.type != kernel::tWCHAR) throw JsonFault("a " + *type + " has no \"bytes\"");
        const std::optional<arbor::Datum> text = FromExactText(kernel::tBINARY, *bytes);
        if (!text) throw JsonFault("\"bytes\" isn't hexadecimal, two digits a byte");
        return text->bytes;
    }

    bool Scalar(json scalar) {
        if (levels.empty() || levels.back().kind == Level::Values || levels.back().kind == Level::Keys)
            throw JsonFault("an object is expected");
        Level& level = levels.back();
        if (level.member == "value") {
            value = std::move(scalar);
            return true;
        }
        if (!scalar.is_string()) throw JsonFault(Quoted(level.member) + " has a wrong type");
        std::string text = std::move(scalar.get_ref<std::string&>());
        if (level.member == "name") {
            SetName(level, text);
        } else if (level.member == "type") {
            type = std::move(text);
        } else if (level.member == "bytes") {
            bytes = std::move(text);
        } else {
            throw JsonFault(Quoted(level.member) + " isn't an array");
        }
        return true;
    }

    void SetName(Level& level, const std::string& text) {
        try {
            level.name = ParseName(text).name;
        } catch (const std::invalid_argument& error) {
            throw JsonFault(error.what());
        }
        if (level.kind == Level::Value || levels.size() == 1) return;
        if (level.name->empty()) throw JsonFault("the name of a key is empty");
        if (HasSeparator(*level.name))
            throw JsonFault("the name of a key holds a separator: " + EncodeName(*level.name));
    }

    const ExactConverter* exactValues;
    PackedTree tree{};
    std::vector<Level> levels;
    std::size_t depth = 0;               // of the innermost open key; the root has 0
    std::optional<std::string> type{};   // of the open value, as the next two
    std::optional<json> value{};
    std::optional<std::string> bytes{};
};

}   // namespace

void WriteJsonDocument(std::ostream& target, const arbor::Key& top, const std::function<void()>& onKey) {
    JsonDocumentWriter writer(target);
    Walk(
        top,
        [&](const arbor::Key& key, std::size_t depth) {
            onKey();
            writer.EnterKey(depth == 0 ? "" : EncodeName(NameOf(key)));
            ForEachValue(key,
                         [&](const arbor::Value& value) { writer.WriteValue(EncodeName(value.Name()), Read(value)); });
            writer.EndValues();
        },
        [&] { writer.LeaveKey(); });
    writer.EndLine();
}

PackedTree ReadJsonDocument(std::string_view content, const std::string& file, const ExactConverter* values) {
    TreeReader reader(values);
    const char* last = content.data();
    const auto where = [&] {
        const auto offset = static_cast<std::size_t>(last - content.data());
        return file + Suffix(LocationCounter(content).At(offset)) + ": ";
    };
    try {
        static_cast<void>(json::sax_parse(PositionReportingIterator(content.data(), &last),
                                          PositionReportingIterator(content.data() + content.size(), &last), &reader));
        return reader.TakeTree();
    } catch (const JsonFault& fault) {
        const std::string path = reader.Path();
        throw std::runtime_error(where() + (path.empty() ? "" : path + ": ") + fault.what());
    } catch (const StoreError& error) {   // names the path
        throw std::runtime_error(where() + error.what());
    }
}

}   // namespace arborctl

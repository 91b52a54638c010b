// Refuses a value if the text that a save writes for it gives another value.

#include "exactness.h"

#include "exact_text.h"
#include "type_texts.h"
#include "walk.h"

#include <cstring>

namespace arborctl {
namespace {

/// Returns the text in quotes for a message, cut off after 60 bytes.
std::string QuotedExcerpt(const std::string& text) {
    constexpr std::size_t kMaxBytes = 60;
    return text.size() <= kMaxBytes ? Quote(text) : Quote(text.substr(0, kMaxBytes)) + "...";
}

/// A save writes a character above U+FFFF of a wide text as two surrogates.
bool HasSurrogates(const std::string& bytes) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += sizeof(char16_t)) {
        char16_t unit = 0;
        std::memcpy(&unit, bytes.data() + i, sizeof unit);
        if (unit >= 0xD800 && unit <= 0xDFFF) return true;
    }
    return false;
}

bool IsSame(const arbor::Datum& left, const arbor::Datum& right) { return left.bytes == right.bytes; }

}   // namespace

bool IsAlwaysKept(kernel::TypeCode type) {
    switch (type) {
        case kernel::tWSTRING:
        case kernel::tBOOL:
        case kernel::tCHAR:
        case kernel::tWCHAR:
        case kernel::tFUNC_PTR:
        case kernel::tDOUBLE:
            return false;
        default:
            return true;
    }
}

arbor::Datum ExactConverter::Parse(kernel::TypeCode type, const std::string& text, const std::string& where) const {
    std::optional<arbor::Datum> exact = FromExactText(type, text);
    if (exact) {
        ThrowIfNotKept(*exact, where);
        return *std::move(exact);
    }
    if (exactness == Exactness::Exact) RefuseText(type, text, where);
    return valueText.Parse(type, text);
}

void ExactConverter::ThrowIfNotKept(const arbor::Datum& datum, const std::string& where) const {
    if (IsAlwaysKept(datum.type)) return;
    if (datum.type == kernel::tWSTRING) {
        if (exactness == Exactness::Exact && HasSurrogates(datum.bytes))
            Refuse(where + ": a save splits the characters above U+FFFF of a tWSTRING");
        return;
    }
    std::string kept;
    try {
        kept = valueText.Format(datum);
    } catch (const StoreError& error) {
        throw StoreError(error.Code(), where + ": " + TypeName(datum) + ' ' + ToExactText(datum) + " can't be saved");
    }
    if (exactness == Exactness::Lenient || IsSame(valueText.Parse(datum.type, kept), datum)) return;
    Refuse(where + ": " + TypeAndExcerpt(datum) + " would be saved as " + QuotedExcerpt(kept));
}

void ExactConverter::ThrowIfNotKept(const arbor::Key& top, const std::string& path) const {
    PrintedPaths paths(path);
    Walk(top, [&](const arbor::Key& key, std::size_t depth) {
        paths.Enter(key, depth);
        ForEachValue(key, [&](const arbor::Value& value) {
            if (!IsAlwaysKept(value.Type()))
                ThrowIfNotKept(Read(value), JoinPath(paths.Path(), EncodeName(value.Name())));
        });
    });
}

void ExactConverter::Refuse(const std::string& reason) const {
    throw StoreError(kernel::kInvalidArgument, reason + "; " + std::string(hint));
}

void ExactConverter::RefuseText(kernel::TypeCode type, const std::string& text, const std::string& where) const {
    std::string reason =
        where + ": " + QuotedExcerpt(text) + " isn't a " + std::string(kernel::FindType(type)->name) + " (";
    reason.append(TextsOf(type).text).append(")");
    try {
        const std::string stored = valueText.Format(valueText.Parse(type, text));
        reason.append(", and would be stored as ").append(QuotedExcerpt(stored)).append("; ").append(hint);
    } catch (const StoreError&) {
    }   // without --lenient or with it, the store refuses the text
    throw StoreError(kernel::kInvalidArgument, reason);
}

kernel::TypeCode StoredType(const ValueSlot& value, kernel::TypeCode type) {
    const kernel::TypeCode own = value.Type();
    if (own != 0) return own;
    return type != 0 ? type : kernel::tSTRING;
}

std::string TypeAndExcerpt(const arbor::Datum& datum) {
    return TypeName(datum) + ' ' + QuotedExcerpt(ToExactText(datum));
}

arbor::Datum ReadAs(const ValueSlot& value, kernel::TypeCode own, kernel::TypeCode type, const std::string& where) {
    arbor::Result<arbor::Datum> read = value.Read(type);
    if (read) return *std::move(read);
    std::string what = where;
    if (type != 0) {
        const auto name = [](kernel::TypeCode code) { return std::string(kernel::FindType(code)->name); };
        what.append(": this ").append(name(own)).append(" can't be converted to ").append(name(type));
    }
    throw StoreError(read.Code(), what);
}

void StoreText(const ValueSlot& value, kernel::TypeCode type, const std::string& text, const ValueText& valueText,
               Exactness exactness, const std::string& where) {
    const kernel::TypeCode own = value.Type();
    const bool isConverted = exactness == Exactness::Lenient && type != 0 && own != kernel::tWSTRING;
    // The store converts no data that it writes to a tWSTRING: it stores the bytes of another type as UTF-16.
    const kernel::TypeCode target = isConverted ? type : StoredType(value, type);
    ThrowIfFailed(value.Set(ExactConverter(valueText, exactness).Parse(target, text, where)), where);
}

}   // namespace arborctl

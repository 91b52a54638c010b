/// Converts texts to values, and refuses those that a save and a load of the document would change. The store's own
/// conversions also accept texts that aren't of the type, such as "abc" as the tDOUBLE 0, and the document keeps less
/// of some values than memory does, such as six digits of a tDOUBLE.
#pragma once

#include "addressing.h"
#include "value_text.h"

namespace arborctl {

enum class Exactness {
    Exact,
    Lenient,   // the store's own conversions
};

/// Whether the document keeps every value of the type in every bit.
[[nodiscard]] bool IsAlwaysKept(kernel::TypeCode type);

/// Converts texts and checks values by one `Exactness`.
class ExactConverter {
public:
    /// `texts` must outlive this. `onRefusal` ends each message: the option with which such a value is stored.
    ExactConverter(const ValueText& texts, Exactness mode, std::string_view onRefusal = "--lenient stores that")
        : valueText(texts), exactness(mode), hint(onRefusal) {}

    /// Returns the value of `type` with this text. Throws a `StoreError` if the type has none or, unless lenient, if a
    /// save wouldn't keep it. The error begins with `where`, the path of the value.
    [[nodiscard]] arbor::Datum Parse(kernel::TypeCode type, const std::string& text, const std::string& where) const;

    /// Throws a `StoreError` if the document has no text for the value or, unless lenient, if the text is that of
    /// another value.
    void ThrowIfNotKept(const arbor::Datum& datum, const std::string& where) const;
    /// The same for each value below `top`, whose path is `path`.
    void ThrowIfNotKept(const arbor::Key& top, const std::string& path) const;

private:
    /// Ends the message with the hint.
    [[noreturn]] void Refuse(const std::string& reason) const;
    [[noreturn]] void RefuseText(kernel::TypeCode type, const std::string& text, const std::string& where) const;

    const ValueText& valueText;
    Exactness exactness;
    std::string_view hint;
};

/// The type that a value has after it is set: its own type if it exists, else `type`, or tSTRING if that is 0.
[[nodiscard]] kernel::TypeCode StoredType(const ValueSlot& value, kernel::TypeCode type);

/// Returns the type and the text of a value for a message. The text is cut off after 60 bytes.
[[nodiscard]] std::string TypeAndExcerpt(const arbor::Datum& datum);

/// Returns the value converted to `type`, or in its type `own` if that is 0. Throws a `StoreError` that names the
/// types.
[[nodiscard]] arbor::Datum ReadAs(const ValueSlot& value, kernel::TypeCode own, kernel::TypeCode type,
                                  const std::string& where);

/// Stores `text` in `value`, which keeps its type if it exists. A new value gets `type`, or tSTRING if that is 0.
/// Throws a `StoreError` if the text isn't one of the value's type or, unless lenient, if something else would be
/// stored.
void StoreText(const ValueSlot& value, kernel::TypeCode type, const std::string& text, const ValueText& valueText,
               Exactness exactness, const std::string& where);

}   // namespace arborctl

// The commands `set` and `retype`.

#include "setting.h"

#include "addressing.h"
#include "change.h"
#include "commands.h"
#include "exact_text.h"
#include "input.h"
#include "type_texts.h"

namespace arborctl {
namespace {

/// Removes the line end with which a text file ends; it isn't part of a number.
std::string WithoutLineEnd(std::string text) {
    for (const char end : {'\n', '\r'}) {
        if (text.ends_with(end)) text.pop_back();
    }
    return text;
}

void StoreContent(const ValueSlot& value, const SetRequest& request, const std::string& content,
                  const ValueText& valueText) {
    const std::string where = request.path.Text();
    const kernel::TypeCode type = StoredType(value, request.type);
    if (IsBlob(type)) return ThrowIfFailed(value.Set(arbor::Datum{type, content}), where);
    StoreText(value, request.type, IsText(type) ? content : WithoutLineEnd(content), valueText, request.exactness,
              where);
}

/// Returns the value of `type` with the same text, or none.
std::optional<arbor::Datum> ConvertExactly(const arbor::Datum& before, kernel::TypeCode type,
                                           const ExactConverter& exactValues, const std::string& where) {
    const std::string text = ToExactText(before);
    std::optional<arbor::Datum> after = FromExactText(type, text);
    if (!after || ToExactText(*after) != text) return std::nullopt;
    exactValues.ThrowIfNotKept(*after, where);
    return after;
}

/// Returns `before` as a value of `request.type`. Throws a `StoreError` if that isn't possible, or loses something and
/// isn't forced.
arbor::Datum Convert(const ValueSlot& value, const arbor::Datum& before, const RetypeRequest& request,
                     const ValueText& valueText) {
    const std::string where = request.path.Text();
    const ExactConverter exactValues(valueText, request.force ? Exactness::Lenient : Exactness::Exact,
                                     "--force does that");
    if (auto exact = ConvertExactly(before, request.type, exactValues, where)) return *std::move(exact);
    const std::string what = where + ": " + TypeAndExcerpt(before);
    const std::string target(kernel::FindType(request.type)->name);
    const arbor::Result<arbor::Datum> converted = value.Read(request.type);
    if (!converted)
        throw StoreError(converted.Code(),
                         what + " can't become a " + target + " (" + std::string(TextsOf(request.type).text) + ')');
    if (request.force) return *converted;
    throw StoreError(kernel::kInvalidArgument,
                     what + " would become " + TypeAndExcerpt(*converted) + "; --force does that");
}

}   // namespace

int Set(const Session& session, const SetRequest& request) {
    std::optional<Input> input;
    if (request.file) input = ReadInput(*request.file, session.settings.wait);
    const ValueText valueText(session.kernel);
    return ChangeDocument(session, [&](const arbor::Key& root) {
        const ValueSlot value(MakeKey(root, request.path.key), request.path.value);
        if (input)
            StoreContent(value, request, input->content, valueText);
        else
            StoreText(value, request.type, request.text, valueText, request.exactness, request.path.Text());
    });
}

/// The store never changes the type of a value, so the value is removed and created anew, as the last one of its key.
int Retype(const Session& session, const RetypeRequest& request) {
    const ValueText valueText(session.kernel);
    return ChangeDocument(session, [&](const arbor::Key& root) {
        const std::string where = request.path.Text();
        const arbor::Key key = OpenKey(root, request.path.key);
        const ValueSlot value(key, request.path.value);
        const arbor::Datum before = ValueOrThrow(value.Read(0), where);
        if (before.type == request.type) return;
        SetExactly(key, request.path.value, Convert(value, before, request, valueText));
    });
}

}   // namespace arborctl

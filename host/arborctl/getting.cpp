// The command `get`. It reads all values first, so that a missing one leaves no partial output.

#include "getting.h"

#include "addressing.h"
#include "commands.h"
#include "exact_text.h"
#include "json.h"
#include "output.h"
#include "value_text.h"

#include <iostream>

namespace arborctl {
namespace {

/// Returns the value, or none if it is missing and has a replacement.
std::optional<arbor::Datum> ReadOne(const Document& document, const ValuePath& path, const GetRequest& request) {
    const std::string where = path.Text();
    const std::optional<arbor::Key> key = FindKey(document.Root(), path.key);
    const std::optional<ValueSlot> value = key ? std::optional(ValueSlot(*key, path.value)) : std::nullopt;
    const kernel::TypeCode own = value ? value->Type() : 0;
    if (own == 0 && request.fallback) return std::nullopt;
    if (own == 0) {
        const bool isKey = key && FindChild(*key, path.value);
        throw StoreError(kernel::kNoSuchEntry, where + (isKey ? " is a key, not a value; \"tree\" shows it" : ""));
    }
    return ReadAs(*value, own, request.as, where);
}

/// Returns the bytes of a blob, and the text of any other value.
std::string RawBytes(const arbor::Datum& datum, const ValueText& valueText) {
    if (IsBlob(datum.type)) return datum.bytes;
    return IsText(datum.type) ? ToExactText(datum) : valueText.Format(datum);
}

void PrintJson(JsonWriter& json, const std::optional<arbor::Datum>& datum, const GetRequest& request) {
    json.BeginObject();
    if (datum)
        json.TypeAndValue(*datum);
    else
        json.Member("default", *request.fallback);
    json.EndObject();
}

}   // namespace

int Get(const Session& session, const GetRequest& request) {
    const Document document = session.Load();
    std::vector<std::optional<arbor::Datum>> read;
    for (const ValuePath& path : request.values) read.push_back(ReadOne(document, path, request));
    if (session.json) {
        JsonWriter json(std::cout);
        if (read.size() > 1) json.BeginArray();
        for (const auto& datum : read) PrintJson(json, datum, request);
        if (read.size() > 1) json.EndArray();
        json.EndLine();
        return kExitDone;
    }
    const ValueText valueText(session.kernel);
    OmittedValues omitted;
    for (std::size_t i = 0; i < read.size(); ++i) {
        omitted.CallOrReport(request.values[i].Text(), [&] {
            const std::optional<arbor::Datum>& datum = read[i];
            if (!datum)
                std::cout << *request.fallback;
            else
                std::cout << (request.raw ? RawBytes(*datum, valueText) : valueText.Format(*datum));
            if (!request.raw) std::cout << '\n';
        });
    }
    return omitted.ExitCode(kExitDone);
}

}   // namespace arborctl

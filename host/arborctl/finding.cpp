// The command `find`.

#include "finding.h"

#include "addressing.h"
#include "commands.h"
#include "flat_text.h"
#include "json.h"
#include "output.h"
#include "value_text.h"
#include "walk.h"

#include <iostream>

namespace arborctl {
namespace {

/// True also without a pattern.
bool MatchesIfSet(const std::optional<Pattern>& pattern, const std::string& text) {
    return !pattern || pattern->Matches(text);
}

bool KeyMatches(const FindRequest& request, const std::string& keyName) {
    return request.type == 0 && !request.text && MatchesIfSet(request.name, keyName) &&
           MatchesIfSet(request.anywhere, keyName);
}

/// Throws a `StoreError` if the result depends on the text and the value has none.
bool ValueMatches(const FindRequest& request, const std::string& name, const arbor::Datum& datum,
                  const ValueText& valueText) {
    if ((request.type != 0 && datum.type != request.type) || !MatchesIfSet(request.name, name)) return false;
    const bool nameSuffices = !request.anywhere || request.anywhere->Matches(name);
    if (nameSuffices && !request.text) return true;
    const std::string text = valueText.Format(datum);
    return (nameSuffices || request.anywhere->Matches(text)) && MatchesIfSet(request.text, text);
}

/// Prints the keys and values that match: as JSON, as flat text or as lines for people.
class FoundEntries {
public:
    FoundEntries(const Session& owner, const ValueText& texts) : session(owner), valueText(texts), json(std::cout) {
        if (session.json) json.BeginArray();
    }

    void PrintKey(const std::string& path) {
        isEmpty = false;
        if (session.json)
            json.BeginObject().Member("path", path).EndObject();
        else
            std::cout << (session.flat ? FlatKey(path) : path + '/') << '\n';
    }
    /// Throws a `StoreError` if the value has no text.
    void PrintValue(const std::string& path, const std::string& name, const arbor::Datum& datum) {
        if (session.json)
            json.BeginObject().Member("path", path).Member("name", name).TypeAndValue(datum).EndObject();
        else
            std::cout << (session.flat ? FlatValue(path, name, datum)
                                       : JoinPath(path, name) + ": " + valueText.FormatLine(datum))
                      << '\n';
        isEmpty = false;
    }
    /// Ends the output and returns the exit code.
    int End() {
        if (session.json) json.EndArray().EndLine();
        return isEmpty ? kExitRefused : kExitDone;
    }

private:
    const Session& session;
    const ValueText& valueText;
    JsonWriter json;
    bool isEmpty = true;
};

}   // namespace

int Find(const Session& session, const FindRequest& request) {
    const Document document = session.Load();
    const ValueText valueText(session.kernel);
    OmittedValues omitted;
    PrintedPaths paths;
    FoundEntries found(session, valueText);
    Progress::Stage stage = session.progress.Begin("searching", session.settings.document);
    Walk(document.Root(), [&](const arbor::Key& key, std::size_t depth) {
        stage.CountKey();
        paths.Enter(key, depth);
        const std::string& path = paths.Path();
        if (depth > 0 && KeyMatches(request, NameOf(key))) found.PrintKey(path);
        ForEachNamedValue(key, [&](const std::string& name, const arbor::Value& value) {
            const arbor::Datum datum = Read(value);
            omitted.CallOrReport(JoinPath(path, name), [&] {
                if (ValueMatches(request, value.Name(), datum, valueText)) found.PrintValue(path, name, datum);
            });
        });
    });
    return omitted.ExitCode(found.End());
}

}   // namespace arborctl

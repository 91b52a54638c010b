// The command `check`: reports whether the document can be loaded and what a save would drop or change.

#include "commands.h"
#include "document_scan.h"
#include "json.h"
#include "text_location.h"
#include "walk.h"

#include <host/text.h>

#include <fstream>
#include <iostream>
#include <limits>

namespace arborctl {
namespace {

constexpr std::size_t kMaxPrintedFindings = 20;

constexpr const char* kKindNames[] = {"dropped", "changed", "save-fails", "reload-fails"};   // by `FindingKind`

struct Counts {
    std::size_t keys = 0;
    std::size_t values = 0;
};

Counts CountEntries(const Session& session, const Document& document) {
    Counts counts;
    Progress::Stage stage = session.progress.Begin("reading", session.settings.document);
    Walk(document.Root(), [&](const arbor::Key& key, std::size_t depth) {
        stage.CountKey();
        counts.keys += depth > 0 ? 1 : 0;
        ForEachValue(key, [&](const arbor::Value&) { ++counts.values; });
    });
    return counts;
}

/// The report as text: faults and findings on standard error, the result on standard output. The functions are called
/// in the order of `JsonReport`: either `ReportLoadFailure`, or `BeginFindings`, each finding, and `ReportCounts`.
class TextReport {
public:
    explicit TextReport(std::string document) : file(std::move(document)) {}

    void ReportLoadFailure(kernel::ResultCode code, const std::optional<TextLocation>& location,
                           const std::string& reason) const {
        std::cerr << file << (location ? Suffix(*location) : "") << ": " << LoadState(code);
        if (!reason.empty()) std::cerr << ": " << reason;
        std::cerr << '\n';
    }
    void BeginFindings(bool isForeign) { foreign = isForeign; }
    void ReportFinding(const Finding& finding, const TextLocation& location) {
        if (++found > kMaxPrintedFindings) return;
        std::cerr << file << Suffix(location) << ": warning: " << finding.text << '\n';
    }
    void ReportCounts(const Counts& counts) const {
        if (found > kMaxPrintedFindings) {
            std::cerr << file << ": warning: and " << found - kMaxPrintedFindings << " more\n";
        }
        std::cout << "loads as a " << (foreign ? "foreign" : "native")
                  << " document: " << host::Counted(counts.keys, "key") << ", " << host::Counted(counts.values, "value")
                  << '\n';
    }

private:
    std::string file;
    bool foreign = false;
    std::size_t found = 0;
};

/// The report as one JSON object on standard output.
class JsonReport {
public:
    explicit JsonReport(const std::string& file) : json(std::cout) { json.BeginObject().Member("file", file); }

    void ReportLoadFailure(kernel::ResultCode code, const std::optional<TextLocation>& location,
                           const std::string& reason) {
        WriteState(code);
        if (location) json.Member("line", location->line).Member("column", location->column);
        if (!reason.empty()) json.Member("reason", reason);
        json.EndObject().EndLine();
    }
    void BeginFindings(bool foreign) {
        WriteState(kernel::kDone);
        json.Member("form", foreign ? "foreign" : "native").Name("findings").BeginArray();
    }
    void ReportFinding(const Finding& finding, const TextLocation& location) {
        json.BeginObject().Member("line", location.line).Member("column", location.column);
        json.Member("kind", kKindNames[static_cast<std::size_t>(finding.kind)])
            .Member("text", finding.text)
            .EndObject();
    }
    void ReportCounts(const Counts& counts) {
        json.EndArray().Member("keys", counts.keys).Member("values", counts.values).EndObject().EndLine();
    }

private:
    void WriteState(kernel::ResultCode code) {
        json.Member("code", static_cast<std::uint32_t>(code)).Member("state", LoadState(code));
    }

    JsonWriter json;
};

template <class Output>
void ReportFault(const Session& session, kernel::ResultCode code, Output& output) {
    const std::filesystem::path& path = session.settings.document;
    if (!std::filesystem::is_regular_file(path)) return output.ReportLoadFailure(code, std::nullopt, "");
    const std::string content = ReadFile(path, session.settings.wait);
    const std::string_view text = WithoutByteOrderMark(content);
    const ScanResult result = ScanDocument(session.kernel, text, [](const Finding&) {});
    if (!result.fault) return output.ReportLoadFailure(code, std::nullopt, "");
    output.ReportLoadFailure(code, LocationCounter(text).At(result.fault->offset), result.fault->text);
}

/// Returns whether the scan has findings.
template <class Output>
bool ReportFindings(const Session& session, Output& output) {
    const Progress::Stage stage = session.progress.Begin("checking", session.settings.document);
    const std::string content = ReadFile(session.settings.document, session.settings.wait);
    const std::string_view text = WithoutByteOrderMark(content);
    output.BeginFindings(IsForeign(text));
    bool found = false;
    LocationCounter locations(text);
    if (content.empty()) return found;
    const ScanResult result = ScanDocument(session.kernel, text, [&](const Finding& finding) {
        output.ReportFinding(finding, locations.At(finding.offset));
        found = true;
    });
    if (result.fault)
        throw std::runtime_error("the document loads, but the check can't read it: " + result.fault->text);
    return found;
}

template <class Output>
int CheckWith(const Session& session, Output output) {
    Counts counts;
    try {
        counts = CountEntries(session, session.Load());
    } catch (const LoadError& error) {
        ReportFault(session, error.Code(), output);
        return kExitNotLoaded;
    }
    const bool found = ReportFindings(session, output);
    output.ReportCounts(counts);
    return found ? kExitRefused : kExitDone;
}

}   // namespace

int Check(const Session& session) {
    const std::string file = PathText(session.settings.document);
    return session.json ? CheckWith(session, JsonReport(file)) : CheckWith(session, TextReport(file));
}

}   // namespace arborctl

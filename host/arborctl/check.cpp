#include "commands.h"
#include "document_scan.h"
#include "json.h"
#include "walk.h"

#include <fstream>
#include <iostream>
#include <limits>

namespace arborctl {
namespace {

constexpr std::size_t kMaxShownFindings = 20;

constexpr const char* kKindNames[] = {"dropped", "changed", "save-fails", "reload-fails"};   // by `FindingKind`

/// Both count from 1; a column is a character of UTF-8.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
};

/// Turns rising offsets into places in one walk through the text.
class PlaceCounter {
public:
    explicit PlaceCounter(std::string_view text) : document(text) {}

    Place At(std::size_t offset) {
        for (; passed < offset; ++passed) {
            const auto byte = static_cast<unsigned char>(document[passed]);
            if (byte == '\n') {
                place = {place.line + 1, 1};
            } else if ((byte & 0xC0) != 0x80) {
                ++place.column;
            }
        }
        return place;
    }

private:
    std::string_view document;
    std::size_t passed = 0;
    Place place{};
};

struct Counts {
    std::size_t keys = 0;
    std::size_t values = 0;
};

Counts Count(const Session& session, const Document& document) {
    Counts counts;
    Progress::Stage stage = session.progress.Begin("reading", session.settings.document);
    Walk(document.Root(), [&](const arbor::Key& key, std::size_t depth) {
        stage.Step();
        counts.keys += depth > 0 ? 1 : 0;
        ForEachValue(key, [&](const arbor::Value&) { ++counts.values; });
    });
    return counts;
}

/// How a check goes out: what a load does first, then each finding, then the counts.
class Lines {
public:
    explicit Lines(std::string document) : file(std::move(document)) {}

    void Fail(kernel::ResultCode code, const std::optional<Place>& place, const std::string& reason) const {
        std::cerr << file << (place ? At(*place) : "") << ": " << LoadState(code);
        if (!reason.empty()) std::cerr << ": " << reason;
        std::cerr << '\n';
    }
    void BeginFindings(bool isForeign) { foreign = isForeign; }
    void Show(const Finding& finding, const Place& place) {
        if (++found > kMaxShownFindings) return;
        std::cerr << file << At(place) << ": warning: " << finding.text << '\n';
    }
    void End(const Counts& counts) const {
        if (found > kMaxShownFindings) {
            std::cerr << file << ": warning: and " << found - kMaxShownFindings << " more\n";
        }
        std::cout << "loads as a " << (foreign ? "foreign" : "native") << " document: " << counts.keys << " keys, "
                  << counts.values << " values\n";
    }

private:
    static std::string At(const Place& place) {
        return ':' + std::to_string(place.line) + ':' + std::to_string(place.column);
    }

    std::string file;
    bool foreign = false;
    std::size_t found = 0;
};

class JsonReport {
public:
    explicit JsonReport(const std::string& file) : json(std::cout) { json.BeginObject().Member("file", file); }

    void Fail(kernel::ResultCode code, const std::optional<Place>& place, const std::string& reason) {
        State(code);
        if (place) json.Member("line", place->line).Member("column", place->column);
        if (!reason.empty()) json.Member("reason", reason);
        json.EndObject().End();
    }
    void BeginFindings(bool foreign) {
        State(kernel::kDone);
        json.Member("form", foreign ? "foreign" : "native").Name("findings").BeginArray();
    }
    void Show(const Finding& finding, const Place& place) {
        json.BeginObject().Member("line", place.line).Member("column", place.column);
        json.Member("kind", kKindNames[static_cast<std::size_t>(finding.kind)])
            .Member("text", finding.text)
            .EndObject();
    }
    void End(const Counts& counts) {
        json.EndArray().Member("keys", counts.keys).Member("values", counts.values).EndObject().End();
    }

private:
    void State(kernel::ResultCode code) {
        json.Member("code", static_cast<std::uint32_t>(code)).Member("state", LoadState(code));
    }

    Json json;
};

template <class Output>
void ReportFault(const Session& session, kernel::ResultCode code, Output& output) {
    const std::filesystem::path& path = session.settings.document;
    if (!std::filesystem::is_regular_file(path)) return output.Fail(code, std::nullopt, "");
    const std::string content = ReadFile(path, session.settings.wait);
    const std::string_view text = WithoutMark(content);
    const ScanResult result = ScanDocument(session.kernel, text, [](const Finding&) {});
    if (!result.fault) return output.Fail(code, std::nullopt, "");
    output.Fail(code, PlaceCounter(text).At(result.fault->offset), result.fault->text);
}

/// Returns whether there are findings.
template <class Output>
bool ReportFindings(const Session& session, Output& output) {
    const Progress::Stage stage = session.progress.Begin("checking", session.settings.document);
    const std::string content = ReadFile(session.settings.document, session.settings.wait);
    const std::string_view text = WithoutMark(content);
    output.BeginFindings(IsForeign(text));
    bool found = false;
    PlaceCounter places(text);
    if (content.empty()) return found;
    const ScanResult result = ScanDocument(session.kernel, text, [&](const Finding& finding) {
        output.Show(finding, places.At(finding.offset));
        found = true;
    });
    if (result.fault) throw std::runtime_error("the store loads what this check can't read: " + result.fault->text);
    return found;
}

template <class Output>
int CheckWith(const Session& session, Output output) {
    Counts counts;
    try {
        counts = Count(session, session.Load());
    } catch (const LoadError& error) {
        ReportFault(session, error.Code(), output);
        return kExitNotLoaded;
    }
    const bool found = ReportFindings(session, output);
    output.End(counts);
    return found ? kExitRefused : kExitDone;
}

}   // namespace

int Check(const Session& session) {
    const std::string file = PathText(session.settings.document);
    return session.json ? CheckWith(session, JsonReport(file)) : CheckWith(session, Lines(file));
}

}   // namespace arborctl

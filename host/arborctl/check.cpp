#include "commands.h"
#include "compare.h"
#include "fault_place.h"
#include "json.h"
#include "walk.h"

#include <fstream>
#include <iostream>
#include <iterator>

namespace arborctl {
namespace {

constexpr std::size_t kMostWarnings = 20;

std::string Content(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct Report {
    std::string file;
    kernel::ResultCode code = kernel::kDone;
    std::optional<FaultPlace> place{};
    std::size_t keys = 0;
    std::size_t values = 0;
    std::vector<std::string> warnings{};
};

void Count(const Session& session, const Document& document, Report& report) {
    Progress::Stage stage = session.progress.Begin("reading", session.settings.document);
    Walk(document.Root(), [&](const arbor::Key& key, std::size_t depth) {
        stage.Step();
        report.keys += depth > 0 ? 1 : 0;
        ForEachValue(key, [&](const arbor::Value&) { ++report.values; });
    });
}

/// What a save would keep from coming back, found by one in memory.
std::vector<std::string> SaveWarnings(const Session& session, const std::string& content) {
    host::MemoryIo io(session.kernel, content);
    const Document before(session.kernel, io);
    const ValueText valueText(session.kernel);
    try {
        before.SaveAnyway();
    } catch (const Refusal& refusal) {
        return {std::string("it can't be saved: ") + refusal.what()};
    }
    try {
        const Document after(session.kernel, io);
        std::vector<std::string> warnings;
        for (const Change& change : Compare(before.Root(), after.Root())) {
            for (const std::string& line : Lines(valueText, change)) warnings.push_back("a save changes it: " + line);
        }
        return warnings;
    } catch (const Refusal& refusal) {
        return {std::string("once saved it won't load again: ") + refusal.what()};
    }
}

Report Examine(const Session& session) {
    const std::filesystem::path& path = session.settings.document;
    Report report{.file = PathText(path)};
    try {
        const Document document = session.Load();
        Count(session, document, report);
    } catch (const Refusal& refusal) {
        report.code = refusal.Code();
        const Progress::Stage stage = session.progress.Begin("looking for the fault in", path);
        if (std::filesystem::is_regular_file(path)) report.place = FindFault(session.kernel, Content(path));
        return report;
    }
    const Progress::Stage stage = session.progress.Begin("trying a save of", path);
    const std::string content = Content(path);
    if (!content.empty()) report.warnings = SaveWarnings(session, content);
    return report;
}

void PrintJson(const Report& report) {
    Json json(std::cout);
    json.BeginObject().Member("file", report.file).Member("code", static_cast<std::uint32_t>(report.code));
    json.Member("state", LoadState(report.code));
    if (report.place) json.Member("line", report.place->line).Member("column", report.place->column);
    json.Member("keys", report.keys).Member("values", report.values).Name("warnings").BeginArray();
    for (const std::string& warning : report.warnings) json.Text(warning);
    json.EndArray().EndObject().End();
}

void PrintText(const Report& report) {
    std::string where = report.file;
    if (report.place) where += ':' + std::to_string(report.place->line) + ':' + std::to_string(report.place->column);
    if (kernel::IsFailure(report.code)) {
        std::cerr << where << ": " << LoadState(report.code) << '\n';
        return;
    }
    for (std::size_t i = 0; i < report.warnings.size() && i < kMostWarnings; ++i) {
        std::cerr << where << ": warning: " << report.warnings[i] << '\n';
    }
    if (report.warnings.size() > kMostWarnings) {
        std::cerr << where << ": warning: and " << report.warnings.size() - kMostWarnings << " more\n";
    }
    std::cout << "loads without a fault: " << report.keys << " keys, " << report.values << " values\n";
}

}   // namespace

int Check(const Session& session) {
    const Report report = Examine(session);
    session.json ? PrintJson(report) : PrintText(report);
    return kernel::IsFailure(report.code) ? kExitNotLoaded : kExitDone;
}

}   // namespace arborctl

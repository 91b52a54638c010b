// The command `report`: writes one HTML page while it walks the tree, so that the page needs no memory. All names and
// texts pass `AppendHtml`; the style and the script are files of their own, which the build embeds.

#include "addressing.h"
#include "ascii.h"
#include "commands.h"
#include "compare.h"
#include "exact_text.h"

#include "report_assets.h"

#include <host/text.h>

#include <iostream>

namespace arborctl {
namespace {

constexpr std::size_t kFlushBytes = 64 * 1024;
constexpr std::size_t kMaxInlineBytes = 160;              // a longer text, or one with several lines, is folded
constexpr std::size_t kFoldedBytes = 60;                  // of it that are always shown
constexpr std::uintmax_t kMaxOpenFileBytes = 16 * 1024;   // all keys of a smaller document are open at first

/// How a text is shown.
enum class Lines {
    Escaped,   // on one line
    Kept,
};

/// Appends `text` as HTML that shows exactly its characters: markup becomes references, and control characters and
/// bytes that aren't UTF-8 become "\xNN", marked as such. Safe in the content of an element and, for a printed name or
/// path, which has no such bytes, in a quoted attribute.
void AppendHtml(std::string& html, std::string_view text, Lines lines = Lines::Escaped) {
    while (!text.empty()) {
        std::size_t length = 1;
        switch (const char first = text[0]) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                length = first >= ' ' && first <= '~' ? 1 : host::PrintableLength(text);
                if (length != 0 || (first == '\n' && lines == Lines::Kept)) {
                    length = std::max<std::size_t>(length, 1);
                    html.append(text.substr(0, length));
                } else {
                    length = 1;
                    html.append("<u>").append(host::Printable(text.substr(0, 1))).append("</u>");
                }
        }
        text.remove_prefix(length);
    }
}

/// Appends a path as the fragment of a URL.
void AppendFragment(std::string& html, std::string_view path) {
    constexpr std::string_view kUnreserved = "-._~/";
    html += '#';
    for (const char c : path) {
        if (IsLetter(c) || IsDigit(c) || kUnreserved.find(c) != std::string_view::npos) {
            html += c;
        } else {
            AppendHex(html += '%', c);
        }
    }
}

/// Returns at most `maxBytes` bytes of `text` that don't end within a character.
std::string_view Beginning(std::string_view text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) return text;
    while (maxBytes > 0 && (text[maxBytes] & 0xC0) == 0x80) --maxBytes;
    return text.substr(0, maxBytes);
}

/// Writes the page. Keys and values come in the order of a depth-first walk.
class Page {
public:
    explicit Page(std::ostream& target) : out(target) {}

    void Begin(const std::string& title, const std::string& other) {
        html +=
            "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            // The page needs no network. Should a browser take a part of the document for markup, no script runs.
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
            "script-src 'nonce-arborctl'; base-uri 'none'; form-action 'none'\">\n<title>";
        AppendHtml(html, title);
        html.append("</title>\n<style>\n").append(kReportStyle).append("</style>\n</head>\n<body>\n<header>\n<h1>");
        AppendHtml(html, title);
        html += "</h1>\n";
        if (!other.empty()) AppendLegend(title, other);
        html +=
            "<div class=\"tools\" hidden>\n<label>Search <input type=\"search\" autocomplete=\"off\"></label>\n"
            "<label>in <select><option value=\"all\">names, types and texts</option><option value=\"name\">names"
            "</option><option value=\"type\">types</option><option value=\"text\">texts</option></select></label>\n"
            "<button type=\"button\" class=\"open\">Open all</button>\n"
            "<button type=\"button\" class=\"close\">Close all</button>\n"
            "<output class=\"found\" aria-live=\"polite\"></output>\n</div>\n</header>\n<main>\n<ul>\n";
    }

    void BeginKey(const std::string& path, const std::string& name, std::string_view element, bool isOpen,
                  bool isDifferent) {
        ++keys;
        FlushIfLarge();
        html += isDifferent ? "<li class=\"k d\">" : "<li class=\"k\">";
        html += isOpen ? "<details open id=\"" : "<details id=\"";
        AppendHtml(html, path);
        html += "\"><summary>";
        AppendName(name, element);
        if (!element.empty()) html.append("</").append(element).append(">");
        html += "<a href=\"";
        AppendFragment(html, path);
        html += "\">#</a></summary>\n<ul>\n";
    }
    void EndKey() { html += "</ul></details>\n"; }

    void AddValue(const std::string& name, const arbor::Datum& datum) {
        ++values;
        FlushIfLarge();
        html += "<li>";
        AppendName(name, "");
        AppendData(datum);
        html += '\n';
    }

    /// Adds a value that differs; at least one of the data is present.
    void AddDifference(const std::string& name, const std::optional<arbor::Datum>& before,
                       const std::optional<arbor::Datum>& after) {
        ++values;
        FlushIfLarge();
        html += "<li class=\"d\">";
        if (before && after) AppendName(name, "");
        AppendState("del", before && after ? "" : name, before);
        if (before && after) html += ' ';
        AppendState("ins", before && after ? "" : name, after);
        html += '\n';
    }

    void End() {
        html += "</ul>\n</main>\n<footer>" + host::Counted(keys, "key") + ", " + host::Counted(values, "value") +
                "</footer>\n<script nonce=\"arborctl\">\n";
        html.append(kReportScript).append("</script>\n</body>\n</html>\n");
        Flush();
    }

private:
    void AppendLegend(const std::string& title, const std::string& other) {
        html += "<p><del>only in ";
        AppendHtml(html, title);
        html += "</del> <ins>only in ";
        AppendHtml(html, other);
        html += "</ins> <label><input type=\"checkbox\" class=\"only\"> only differences</label></p>\n";
    }

    /// Appends a name, after the start tag of `element` unless that is empty.
    void AppendName(const std::string& name, std::string_view element) {
        if (!element.empty()) html.append("<").append(element).append(">");
        html += "<b>";
        AppendHtml(html, name);
        html += "</b> ";
    }

    void AppendState(std::string_view element, const std::string& name, const std::optional<arbor::Datum>& datum) {
        if (!datum) return;
        if (name.empty()) {
            html.append("<").append(element).append(">");
        } else {
            AppendName(name, element);
        }
        AppendData(*datum);
        html.append("</").append(element).append(">");
    }

    void AppendData(const arbor::Datum& datum) {
        html.append("<i>").append(kernel::FindType(datum.type)->name).append("</i> ");
        const std::string text = ToExactText(datum);
        const bool isQuoted = IsText(datum.type) || datum.type == kernel::tWCHAR;
        const std::string_view quote = isQuoted ? "&quot;" : "";
        if (text.size() <= kMaxInlineBytes && text.find('\n') == text.npos) {
            html.append("<span>").append(quote);
            AppendHtml(html, text);
            html.append(quote).append("</span>");
            return;
        }
        // The size is an attribute, so that a search in the page doesn't find it.
        html.append("<details><summary data-size=\"" + host::Counted(text.size(), "byte") + "\"><span>").append(quote);
        AppendHtml(html, Beginning(text, kFoldedBytes));
        html += "\u2026</span></summary><pre>";
        AppendHtml(html, text, Lines::Kept);
        html += "</pre></details>";
    }

    void FlushIfLarge() {
        if (html.size() >= kFlushBytes) Flush();
    }

    void Flush() {
        out.write(html.data(), static_cast<std::streamsize>(html.size()));
        html.clear();
    }

    std::ostream& out;
    std::string html{};   // what isn't written yet
    std::size_t keys = 0;
    std::size_t values = 0;
};

void WriteTree(const arbor::Key& root, Page& page, bool isOpen, Progress::Stage stage) {
    PrintedPaths paths;
    std::size_t open = 0;   // keys that were entered and not left, with the root
    Walk(
        root,
        [&](const arbor::Key& key, std::size_t depth) {
            stage.CountKey();
            const std::string name = paths.Enter(key, depth);
            if (depth > 0) page.BeginKey(paths.Path(), name, "", isOpen, false);
            ++open;
            ForEachNamedValue(
                key, [&](const std::string& value, const arbor::Value& each) { page.AddValue(value, Read(each)); });
        },
        [&] {
            if (--open > 0) page.EndKey();
        });
}

/// The keys, by their number in the order of the visits, that differ or have a difference below them.
class DifferenceFinder : public PairVisitor {
public:
    explicit DifferenceFinder(Progress::Stage& progress) : stage(progress) {}

    [[nodiscard]] std::vector<bool> TakeResult() { return std::move(different); }

    void EnterKey(const std::string&, bool isInBefore, bool isInAfter) override {
        stage.CountKey();
        ancestors.push_back(different.size());
        different.push_back(false);
        if (!isInBefore || !isInAfter) Mark();
    }
    void VisitValue(const std::string&, const std::optional<arbor::Datum>& before,
                    const std::optional<arbor::Datum>& after) override {
        if (!IsSame(before, after)) Mark();
    }
    void LeaveKey() override { ancestors.pop_back(); }

private:
    void Mark() {
        for (std::size_t i = ancestors.size(); i > 0 && !different[ancestors[i - 1]]; --i)
            different[ancestors[i - 1]] = true;
    }

    Progress::Stage& stage;
    std::vector<bool> different{};
    std::vector<std::size_t> ancestors{};   // the numbers of the keys that were entered and not left
};

/// Writes both trees as one, with their differences marked.
class DifferencePrinter : public PairVisitor {
public:
    DifferencePrinter(Page& target, std::vector<bool> differentKeys)
        : page(target), different(std::move(differentKeys)) {}

    void EnterKey(const std::string& name, bool isInBefore, bool isInAfter) override {
        const bool isDifferent = different[visited++];
        const bool isRoot = paths.empty();
        paths.push_back(isRoot ? "" : JoinPath(paths.back(), name));
        if (isRoot) return;
        const std::string_view element = isInBefore && isInAfter ? "" : isInBefore ? "del" : "ins";
        page.BeginKey(paths.back(), name, element, isDifferent, isDifferent);
    }
    void VisitValue(const std::string& name, const std::optional<arbor::Datum>& before,
                    const std::optional<arbor::Datum>& after) override {
        IsSame(before, after) ? page.AddValue(name, *before) : page.AddDifference(name, before, after);
    }
    void LeaveKey() override {
        paths.pop_back();
        if (!paths.empty()) page.EndKey();
    }

private:
    Page& page;
    std::vector<bool> different;
    std::size_t visited = 0;
    std::vector<std::string> paths{};
};

void WriteDifferences(const PackedKey& before, const arbor::Key& after, Page& page, Progress::Stage stage) {
    DifferenceFinder finder(stage);
    WalkPairs(before, after, finder);
    DifferencePrinter printer(page, finder.TakeResult());
    WalkPairs(before, after, printer);
}

std::string FileName(const std::filesystem::path& path) { return PathText(path.filename()); }

}   // namespace

int Report(const Session& session, const std::filesystem::path& other) {
    const std::filesystem::path& file = session.settings.document;
    Page page(std::cout);
    if (other.empty()) {
        const Document document = session.Load();
        std::error_code unknown;
        page.Begin(FileName(file), "");
        WriteTree(document.Root(), page, std::filesystem::file_size(file, unknown) <= kMaxOpenFileBytes,
                  session.progress.Begin("reading", file));
    } else {
        const PackedTree before = session.LoadPrinted();
        const Document after = session.LoadOther(other);
        page.Begin(FileName(file), FileName(other));
        WriteDifferences(before.Root(), after.Root(), page, session.progress.Begin("comparing", file));
    }
    page.End();
    return kExitDone;
}

}   // namespace arborctl

#include "peer.h"

#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/file.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <unordered_map>

#include <valgrind/callgrind.h>

namespace bench {
namespace {

/// Of the processor, not of the wall: whatever else the machine is doing then, it isn't counted.
template <class Work>
double SecondsOf(Work work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// Of the wall, for what waits for the disk.
template <class Work>
double WallSecondsOf(Work work) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double Median(std::vector<double> figures) {
    const auto middle = figures.begin() + static_cast<std::ptrdiff_t>(figures.size() / 2);
    std::nth_element(figures.begin(), middle, figures.end());
    return *middle;
}

/// The figures of one variant, by job.
class Figures {
public:
    explicit Figures(std::string variantName) : variant(std::move(variantName)) {}

    void Print(const std::string& job, double figure) const {
        std::cout << variant << '\t' << job << '\t' << figure << std::endl;
    }

private:
    std::string variant;
};

void Demand(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

/// Pages of this process that are in memory, or the most that were since `ForgetPeak`.
std::uint64_t MemoryBytes(std::string_view field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field)) return std::stoull(line.substr(field.size())) * 1024;
    }
    throw std::runtime_error("this system doesn't tell a process's memory");
}

constexpr std::string_view kHeldNow = "VmRSS:";
constexpr std::string_view kHeldAtMost = "VmHWM:";

void ForgetPeak() { std::ofstream("/proc/self/clear_refs") << '5'; }

/// In a process that has done nothing else yet: memory that was used before would be used again, and not be counted.
void MeasureMemory(const Figures& figures, Peer& peer, const std::string& file) {
    ForgetPeak();
    const std::uint64_t before = MemoryBytes(kHeldNow);
    peer.Load(file);
    figures.Print("held", static_cast<double>(MemoryBytes(kHeldNow) - before));
    figures.Print("peak", static_cast<double>(MemoryBytes(kHeldAtMost) - before));
    peer.Free();
}

class Checker {
public:
    Checker(Peer& measured, const std::string& document, const std::vector<Question>& asked)
        : peer(measured), questions(asked), expected(CensusOf(document)) {}

    void CheckAll(const std::string& scratch) {
        CheckAnswers(&Question::answer);
        Write(&Question::other, &Question::otherText);
        CheckAnswers(&Question::other);
        for (const Question& question : questions) peer.Set(question.entry, question.answer, question.entry.text);
        CheckAnswers(&Question::answer);
        Demand(peer.Enumerate() == expected, "the walk over the whole document misses something");
        std::string saved;
        peer.Save(saved);
        Demand(peer.CensusOfSaved(saved) == expected, "the saved document isn't the one that was loaded");
        peer.SaveToDisk(scratch);
        Demand(peer.CensusOfSaved(ReadFile(scratch)) == expected,
               "the document on the disk isn't the one that was loaded");
    }

private:
    void CheckAnswers(std::string Question::*answer) {
        char buffer[kLongestValue];
        if (peer.HasHandles()) peer.OpenAll(questions);
        for (std::size_t i = 0; i < questions.size(); ++i) {
            const Question& question = questions[i];
            Demand(std::string_view(buffer, peer.Get(question.entry, buffer)) == question.*answer, "a wrong answer");
            if (!peer.HasHandles()) continue;
            Demand(std::string_view(buffer, peer.GetOpen(i, question.entry, buffer)) == question.*answer,
                   "a wrong answer by handle");
        }
    }

    void Write(std::string Question::*bytes, std::string Question::*text) {
        for (const Question& question : questions) peer.Set(question.entry, question.*bytes, question.*text);
    }

    Peer& peer;
    const std::vector<Question>& questions;
    const Census expected;
};

/// Reads and writes by name, and beside them the hits that they are told in: a hash map with as many entries finds one
/// by its whole path.
class AccessMeter {
public:
    AccessMeter(Peer& measured, const std::vector<Question>& asked) : peer(measured), questions(asked) {
        for (const Question& question : questions) {
            whole.push_back(question.entry.path + '/' + question.entry.name);
            map.emplace(whole.back(), static_cast<std::uint32_t>(whole.size()));
        }
    }

    void Measure(const Figures& figures) {
        constexpr std::size_t kWantedAsks = 150'000;
        const std::size_t passes = std::max<std::size_t>(3, kWantedAsks / questions.size());
        std::vector<double> hit, get, set, getOpen, setOpen;
        if (peer.HasHandles()) peer.OpenAll(questions);
        for (std::size_t pass = 0; pass < passes; ++pass) {
            const bool other = pass % 2 == 0;
            hit.push_back(SecondsOf([this] { Hit(); }));
            get.push_back(SecondsOf([this] { Get(); }));
            set.push_back(SecondsOf([&] { Set(other); }));
            if (!peer.HasHandles()) continue;
            getOpen.push_back(SecondsOf([this] { GetOpen(); }));
            setOpen.push_back(SecondsOf([&] { SetOpen(!other); }));
        }
        Print(figures, "hit", hit);
        Print(figures, "get", get);
        Print(figures, "set", set);
        if (!peer.HasHandles()) return;
        Print(figures, "get_open", getOpen);
        Print(figures, "set_open", setOpen);
    }

    /// What the passes have read; printed, so that no read can be left out.
    [[nodiscard]] std::uint64_t Seen() const { return seen; }

private:
    void Print(const Figures& figures, const char* job, const std::vector<double>& passes) const {
        figures.Print(job, Median(passes) / static_cast<double>(questions.size()));
    }
    void Hit() {
        for (const std::string& path : whole) seen += map.find(path)->second;
    }
    void Get() {
        char buffer[kLongestValue];
        for (const Question& question : questions) seen += peer.Get(question.entry, buffer);
    }
    void Set(bool other) {
        for (const Question& question : questions) {
            peer.Set(question.entry, other ? question.other : question.answer,
                     other ? question.otherText : question.entry.text);
        }
    }
    void GetOpen() {
        char buffer[kLongestValue];
        for (std::size_t i = 0; i < questions.size(); ++i) seen += peer.GetOpen(i, questions[i].entry, buffer);
    }
    void SetOpen(bool other) {
        for (std::size_t i = 0; i < questions.size(); ++i) {
            peer.SetOpen(i, questions[i].entry, other ? questions[i].other : questions[i].answer);
        }
    }

    Peer& peer;
    const std::vector<Question>& questions;
    std::vector<std::string> whole;
    std::unordered_map<std::string, std::uint32_t> map;
    std::uint64_t seen = 0;
};

/// Jobs on the whole document. Repeated until their median can be trusted, or the document is so large that it can be
/// at once.
class DocumentMeter {
public:
    DocumentMeter(Peer& measured, std::string document) : peer(measured), file(std::move(document)) {}

    void Measure(const Figures& figures, const std::string& scratch) {
        std::vector<double> load, release;
        peer.Load(file);
        peer.Free();
        Repeat([&] {
            load.push_back(SecondsOf([&] { peer.Load(file); }));
            release.push_back(SecondsOf([&] { peer.Free(); }));
            return load.back() + release.back();
        });
        figures.Print("load", Median(load));
        figures.Print("free", Median(release));
        peer.Load(file);
        Time(figures, "enum", [&] { peer.Enumerate(); });
        Time(figures, "save", [&] {
            std::string text;
            peer.Save(text);
        });
        std::vector<double> disk;
        Repeat([&] {
            disk.push_back(WallSecondsOf([&] { peer.SaveToDisk(scratch); }));
            return disk.back();
        });
        figures.Print("save_disk", Median(disk));
        for (const auto& [name, job] : peer.OwnJobs()) Time(figures, name, job);
        peer.Free();
    }

private:
    template <class Work>
    static void Repeat(Work work) {
        constexpr double kWantedSeconds = 0.1;
        constexpr double kLongSeconds = 1.5;   // once is enough
        constexpr int kFewest = 3;
        constexpr int kMost = 200;
        double spent = 0;
        for (int round = 0; round < kMost && spent < (round < kFewest ? kLongSeconds : kWantedSeconds); ++round) {
            spent += work();
        }
    }

    template <class Work>
    static void Time(const Figures& figures, const std::string& job, Work work) {
        std::vector<double> times;
        Repeat([&] {
            times.push_back(SecondsOf(work));
            return times.back();
        });
        figures.Print(job, Median(times));
    }

    Peer& peer;
    const std::string file;
};

/// Each job once, for a count of its instructions by callgrind; without that it measures nothing.
class InstructionCounter {
public:
    InstructionCounter(Peer& measured, std::string document)
        : peer(measured), file(std::move(document)), questions(QuestionsOf(ReadFile(file), ~std::size_t{0})) {}

    void CountAll() {
        char buffer[kLongestValue];
        std::string text;
        peer.Load(file);   // the first time binds what is bound once
        peer.Enumerate();
        peer.Save(text);
        peer.Free();
        text.clear();
        Count("load", [&] { peer.Load(file); });
        Count("get", [&] {
            for (const Question& question : questions) peer.Get(question.entry, buffer);
        });
        Count("set", [&] {
            for (const Question& question : questions) peer.Set(question.entry, question.other, question.otherText);
        });
        if (peer.HasHandles()) {
            peer.OpenAll(questions);
            Count("get_open", [&] {
                for (std::size_t i = 0; i < questions.size(); ++i) peer.GetOpen(i, questions[i].entry, buffer);
            });
            Count("set_open", [&] {
                for (std::size_t i = 0; i < questions.size(); ++i) {
                    peer.SetOpen(i, questions[i].entry, questions[i].answer);
                }
            });
        }
        Count("enum", [&] { peer.Enumerate(); });
        Count("save", [&] { peer.Save(text); });
        Count("free", [&] { peer.Free(); });
    }

private:
    template <class Work>
    static void Count(const char* job, Work work) {
        CALLGRIND_ZERO_STATS;
        CALLGRIND_TOGGLE_COLLECT;
        work();
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS_AT(job);
    }

    Peer& peer;
    const std::string file;
    const std::vector<Question> questions;
};

constexpr char kUsage[] =
    "usage: PROGRAM memory|check|document|access|instructions FILE SCRATCH [VARIANT]\n"
    "  memory    what a load holds, in a process of its own\n"
    "  check     the right answers, and nothing is timed\n"
    "  document  the jobs on the whole document\n"
    "  access    reads and writes by name\n"
    "  instructions  each job once, for callgrind\n";

void RunVariant(const std::string& mode, const std::string& file, const std::string& scratch, const Variant& variant) {
    const Figures figures(variant.name);
    const std::unique_ptr<Peer> peer = variant.make();
    if (mode == "memory") return MeasureMemory(figures, *peer, file);
    if (mode == "document") return DocumentMeter(*peer, file).Measure(figures, scratch);
    if (mode == "instructions") return InstructionCounter(*peer, file).CountAll();
    constexpr std::size_t kMostQuestions = 1'000'000;
    const std::string document = ReadFile(file);
    const std::vector<Question> questions = QuestionsOf(document, kMostQuestions);
    peer->Load(file);
    if (mode == "check") {
        Checker(*peer, document, questions).CheckAll(scratch);
    } else if (mode == "access") {
        AccessMeter meter(*peer, questions);
        meter.Measure(figures);
        std::cerr << variant.name << " read " << meter.Seen() << '\n';
    } else {
        throw std::runtime_error(kUsage);
    }
    peer->Free();
}

}   // namespace

void Peer::SaveToDisk(const std::string& file) {
    std::string document;
    Save(document);
    const std::filesystem::path target(file);
    const std::filesystem::path temporary(file + ".tmp");
    ilk::File output;
    std::uint32_t done = 0;
    Demand(ilk::IsSuccess(output.Open(temporary.u16string().c_str(), ilk::kFileWrite, ilk::kFileCreateAlways, 0)),
           "no scratch file");
    Demand(ilk::IsSuccess(output.Write(document.data(), static_cast<std::uint32_t>(document.size()), done)) &&
               done == document.size() && ilk::IsSuccess(output.Flush()),
           "the scratch file takes nothing");
    output.Close();
    Demand(ilk::IsSuccess(ilk::MoveFileTo(temporary.u16string().c_str(), target.u16string().c_str())),
           "the scratch file can't be moved");
}

int RunPeer(int argumentCount, char** arguments, const std::vector<Variant>& variants) {
    try {
        if (argumentCount < 4) throw std::runtime_error(kUsage);
        for (const Variant& variant : variants) {
            if (argumentCount > 4 && std::string_view(arguments[4]) != variant.name) continue;
            RunVariant(arguments[1], arguments[2], arguments[3], variant);
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << arguments[0] << ": " << error.what() << '\n';
        return 1;
    }
}

void ParseHex(std::string_view text, char* bytes) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        *bytes++ = static_cast<char>(digit(text[i]) << 4 | digit(text[i + 1]));
    }
}

std::size_t CopyTyped(Kind kind, std::string_view text, char* buffer) {
    const auto copy = [buffer](auto number) {
        std::memcpy(buffer, &number, sizeof number);
        return sizeof number;
    };
    switch (kind) {
        case Kind::Dword:
        case Kind::Bool:
            return copy(ParseNumber<std::uint32_t>(text));
        case Kind::Qword:
            return copy(ParseNumber<std::uint64_t>(text));
        case Kind::String:
            std::memcpy(buffer, text.data(), text.size());
            buffer[text.size()] = '\0';
            return text.size() + 1;
        case Kind::Binary:
            ParseHex(text, buffer);
            return text.size() / 2;
    }
    return 0;
}

std::string ReadFile(const std::string& file) {
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    Demand(stream.good(), "the document can't be read");
    std::string text(static_cast<std::size_t>(stream.tellg()), '\0');
    stream.seekg(0);
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

}   // namespace bench

// The modes of a program of the comparison: what each measures, and how it is timed or counted.

#include "peer.h"

#include "clock/clock.h"

#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/file.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <unordered_map>

#include <valgrind/callgrind.h>

namespace bench {
namespace {

template <class Work>
double CpuSeconds(Work work) {
    const double start = SecondsNow();
    work();
    return SecondsNow() - start;
}

/// Elapsed time, for jobs that wait for the disk.
template <class Work>
double WallSeconds(Work work) {
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

/// Prints the figures of one variant.
class Figures {
public:
    explicit Figures(std::string variantName) : variant(std::move(variantName)) {}

    void Print(const std::string& job, double figure) const {
        std::cout << variant << '\t' << job << '\t' << figure << std::endl;
    }

private:
    std::string variant;
};

void Require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

/// A field of the kernel's report on this process, in bytes: the resident memory now, or its peak since `ResetPeak`.
std::uint64_t MemoryBytes(std::string_view field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field)) return std::stoull(line.substr(field.size())) * 1024;
    }
    throw std::runtime_error("the system doesn't report the process's memory");
}

constexpr std::string_view kResidentField = "VmRSS:";
constexpr std::string_view kPeakField = "VmHWM:";

void ResetPeak() { std::ofstream("/proc/self/clear_refs") << '5'; }

/// Must be the first work of its process: memory that was freed earlier would be reused and not be counted.
void MeasureMemory(const Figures& figures, Peer& peer, const std::string& file) {
    ResetPeak();
    const std::uint64_t before = MemoryBytes(kResidentField);
    peer.Load(file);
    figures.Print("held", static_cast<double>(MemoryBytes(kResidentField) - before));
    figures.Print("peak", static_cast<double>(MemoryBytes(kPeakField) - before));
    peer.Free();
}

/// A value beside `entry`, with the same content and a name that its key doesn't have.
Entry NewEntry(const Entry& entry) {
    Entry added = entry;
    added.name += '+';
    return added;
}

/// Checks that a variant returns the document's values, stores changes, and saves what it loaded.
class Checker {
public:
    Checker(Peer& measured, const std::string& document, const std::vector<AccessCase>& accessCases)
        : peer(measured), cases(accessCases), expected(DigestOf(document)) {}

    void CheckAll(const std::string& scratch) {
        CheckReads(&AccessCase::original);
        SetAll(&AccessCase::changed, &AccessCase::changedText);
        CheckReads(&AccessCase::changed);
        for (const AccessCase& access : cases) peer.Set(access.entry, access.original, access.entry.text);
        CheckReads(&AccessCase::original);
        Require(peer.Enumerate() == expected, "the walk over the whole document misses something");
        std::string saved;
        peer.Save(saved);
        Require(peer.DigestOfSaved(saved) == expected, "the saved document isn't the one that was loaded");
        peer.SaveToDisk(scratch);
        Require(peer.DigestOfSaved(ReadFile(scratch)) == expected,
                "the document on the disk isn't the one that was loaded");
        CheckNewValues();
    }

private:
    void CheckReads(std::string AccessCase::*expectedBytes) {
        char buffer[kMaxValueBytes];
        if (peer.HasHandles()) peer.OpenAll(cases);
        for (std::size_t i = 0; i < cases.size(); ++i) {
            const AccessCase& access = cases[i];
            Require(std::string_view(buffer, peer.Get(access.entry, buffer)) == access.*expectedBytes,
                    "a read returns a wrong value");
            if (!peer.HasHandles()) continue;
            Require(std::string_view(buffer, peer.GetOpen(i, access.entry, buffer)) == access.*expectedBytes,
                    "a read by handle returns a wrong value");
        }
    }

    void CheckNewValues() {
        char buffer[kMaxValueBytes];
        for (const AccessCase& access : cases) {
            const Entry added = NewEntry(access.entry);
            peer.Set(added, access.original, added.text);
            Require(std::string_view(buffer, peer.Get(added, buffer)) == access.original, "a new value is wrong");
        }
        Require(peer.Enumerate().values == expected.values + cases.size(), "a new value isn't in the tree");
    }

    void SetAll(std::string AccessCase::*bytes, std::string AccessCase::*text) {
        for (const AccessCase& access : cases) peer.Set(access.entry, access.*bytes, access.*text);
    }

    Peer& peer;
    const std::vector<AccessCase>& cases;
    const ContentDigest expected;
};

/// Measures reads and writes by name. Their unit is the hit: the time in which a hash map with as many entries finds
/// one by its whole path.
class AccessMeter {
public:
    AccessMeter(Peer& measured, std::string document, const std::vector<AccessCase>& accessCases)
        : peer(measured), file(std::move(document)), cases(accessCases) {
        for (const AccessCase& access : cases) {
            added.push_back(NewEntry(access.entry));
            paths.push_back(access.entry.path + '/' + access.entry.name);
            map.emplace(paths.back(), static_cast<std::uint32_t>(paths.size()));
        }
    }

    void Measure(const Figures& figures) {
        constexpr std::size_t kMinAccesses = 150'000;
        const std::size_t passes = std::max<std::size_t>(3, kMinAccesses / cases.size());
        std::vector<double> hit, get, set, setNew, getOpen, setOpen;
        for (std::size_t pass = 0; pass < passes; ++pass) {
            const bool changed = pass % 2 == 0;
            hit.push_back(CpuSeconds([this] { Hit(); }));
            get.push_back(CpuSeconds([this] { Get(); }));
            set.push_back(CpuSeconds([&] { Set(changed); }));
            if (peer.HasHandles()) {
                peer.OpenAll(cases);
                getOpen.push_back(CpuSeconds([this] { GetOpen(); }));
                setOpen.push_back(CpuSeconds([&] { SetOpen(!changed); }));
            }
            setNew.push_back(CpuSeconds([this] { SetNew(); }));
            peer.Free();
            peer.Load(file);
        }
        Print(figures, "hit", hit);
        Print(figures, "get", get);
        Print(figures, "set", set);
        Print(figures, "set_new", setNew);
        if (!peer.HasHandles()) return;
        Print(figures, "get_open", getOpen);
        Print(figures, "set_open", setOpen);
    }

    /// A sum over everything read. The program prints it, so that the compiler can't remove a read.
    [[nodiscard]] std::uint64_t Checksum() const { return checksum; }

private:
    void Print(const Figures& figures, const char* job, const std::vector<double>& passes) const {
        figures.Print(job, Median(passes) / static_cast<double>(cases.size()));
    }
    void Hit() {
        for (const std::string& path : paths) checksum += map.find(path)->second;
    }
    void Get() {
        char buffer[kMaxValueBytes];
        for (const AccessCase& access : cases) checksum += peer.Get(access.entry, buffer);
    }
    void Set(bool changed) {
        for (const AccessCase& access : cases) {
            peer.Set(access.entry, changed ? access.changed : access.original,
                     changed ? access.changedText : access.entry.text);
        }
    }
    void SetNew() {
        for (std::size_t i = 0; i < cases.size(); ++i) peer.Set(added[i], cases[i].original, added[i].text);
    }
    void GetOpen() {
        char buffer[kMaxValueBytes];
        for (std::size_t i = 0; i < cases.size(); ++i) checksum += peer.GetOpen(i, cases[i].entry, buffer);
    }
    void SetOpen(bool changed) {
        for (std::size_t i = 0; i < cases.size(); ++i) {
            peer.SetOpen(i, cases[i].entry, changed ? cases[i].changed : cases[i].original);
        }
    }

    Peer& peer;
    const std::string file;
    const std::vector<AccessCase>& cases;
    std::vector<Entry> added;
    std::vector<std::string> paths;   // with the value's name
    std::unordered_map<std::string, std::uint32_t> map;
    std::uint64_t checksum = 0;
};

/// Measures jobs on the whole document, each as the median of several runs.
class DocumentMeter {
public:
    DocumentMeter(Peer& measured, std::string document) : peer(measured), file(std::move(document)) {}

    void Measure(const Figures& figures, const std::string& scratch) {
        MeasureLoad(figures);
        peer.Load(file);
        Time(figures, "enum", [&] { peer.Enumerate(); });
        Time(figures, "save", [&] {
            std::string text;
            peer.Save(text);
        });
        std::vector<double> disk;
        Repeat([&] {
            disk.push_back(WallSeconds([&] { peer.SaveToDisk(scratch); }));
            return disk.back();
        });
        figures.Print("save_disk", Median(disk));
        for (const auto& [name, job] : peer.ExtraJobs()) Time(figures, name, job);
        peer.Free();
    }

    /// Checks and measures the load of a foreign document.
    void MeasureForeign(const Figures& figures) {
        peer.Load(file);
        Require(!peer.MapsForeign() || peer.Enumerate() == ForeignDigest(ReadFile(file)),
                "the tree isn't that of the foreign document");
        peer.Free();
        MeasureLoad(figures);
    }

private:
    void MeasureLoad(const Figures& figures) {
        std::vector<double> load, release;
        peer.Load(file);
        peer.Free();
        Repeat([&] {
            load.push_back(CpuSeconds([&] { peer.Load(file); }));
            release.push_back(CpuSeconds([&] { peer.Free(); }));
            return load.back() + release.back();
        });
        figures.Print("load", Median(load));
        figures.Print("free", Median(release));
    }

    /// Calls `work`, which returns its seconds, for `kEnoughSeconds` and at least `kMinRounds` times, but no longer
    /// than `kMaxSeconds`.
    template <class Work>
    static void Repeat(Work work) {
        constexpr double kEnoughSeconds = 0.1;
        constexpr double kMaxSeconds = 1.5;
        constexpr int kMinRounds = 3;
        constexpr int kMaxRounds = 200;
        double spent = 0;
        for (int round = 0; round < kMaxRounds && spent < (round < kMinRounds ? kMaxSeconds : kEnoughSeconds);
             ++round) {
            spent += work();
        }
    }

    template <class Work>
    static void Time(const Figures& figures, const std::string& job, Work work) {
        std::vector<double> times;
        Repeat([&] {
            times.push_back(CpuSeconds(work));
            return times.back();
        });
        figures.Print(job, Median(times));
    }

    Peer& peer;
    const std::string file;
};

/// Counts the instructions of `work`, if callgrind runs this program.
template <class Work>
void CountInstructions(const char* job, Work work) {
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    work();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(job);
}

/// Each job once, for a count of its instructions by callgrind; without that it measures nothing.
class InstructionCounter {
public:
    InstructionCounter(Peer& measured, std::string document)
        : peer(measured), file(std::move(document)), cases(MakeAccessCases(ReadFile(file), ~std::size_t{0})) {}

    void CountAll() {
        char buffer[kMaxValueBytes];
        std::string text;
        std::vector<Entry> added;
        for (const AccessCase& access : cases) added.push_back(NewEntry(access.entry));
        peer.Load(file);   // the first time binds what is bound once
        peer.Enumerate();
        peer.Save(text);
        CountInstructions("set_new", [&] {
            for (std::size_t i = 0; i < cases.size(); ++i) peer.Set(added[i], cases[i].original, added[i].text);
        });
        peer.Free();
        text.clear();
        CountInstructions("load", [&] { peer.Load(file); });
        CountInstructions("get", [&] {
            for (const AccessCase& access : cases) peer.Get(access.entry, buffer);
        });
        CountInstructions("set", [&] {
            for (const AccessCase& access : cases) peer.Set(access.entry, access.changed, access.changedText);
        });
        if (peer.HasHandles()) {
            peer.OpenAll(cases);
            CountInstructions("get_open", [&] {
                for (std::size_t i = 0; i < cases.size(); ++i) peer.GetOpen(i, cases[i].entry, buffer);
            });
            CountInstructions("set_open", [&] {
                for (std::size_t i = 0; i < cases.size(); ++i) {
                    peer.SetOpen(i, cases[i].entry, cases[i].original);
                }
            });
        }
        CountInstructions("enum", [&] { peer.Enumerate(); });
        CountInstructions("save", [&] { peer.Save(text); });
        CountInstructions("free", [&] { peer.Free(); });
    }

private:
    Peer& peer;
    const std::string file;
    const std::vector<AccessCase> cases;
};

constexpr char kUsage[] =
    "usage: PROGRAM MODE FILE SCRATCH [VARIANT]\n"
    "  memory                memory held after a load, and its peak\n"
    "  check                 checks the results and measures nothing\n"
    "  document              jobs on the whole document\n"
    "  foreign               the load of a foreign document\n"
    "  access                reads and writes by name\n"
    "  instructions          each job once, for callgrind\n"
    "  foreign-instructions  the load of a foreign document, for callgrind\n";

void RunVariant(const std::string& mode, const std::string& file, const std::string& scratch, const Variant& variant) {
    const Figures figures(variant.name);
    const std::unique_ptr<Peer> peer = variant.make();
    if (mode == "memory") return MeasureMemory(figures, *peer, file);
    if (mode == "document") return DocumentMeter(*peer, file).Measure(figures, scratch);
    if (mode == "foreign") return DocumentMeter(*peer, file).MeasureForeign(figures);
    if (mode == "foreign-instructions") {
        peer->Load(file);   // the first time binds what is bound once
        peer->Free();
        return CountInstructions("load_foreign", [&] { peer->Load(file); });
    }
    if (mode == "instructions") return InstructionCounter(*peer, file).CountAll();
    constexpr std::size_t kMaxCases = 1'000'000;
    const std::string document = ReadFile(file);
    const std::vector<AccessCase> cases = MakeAccessCases(document, kMaxCases);
    peer->Load(file);
    if (mode == "check") {
        Checker(*peer, document, cases).CheckAll(scratch);
    } else if (mode == "access") {
        AccessMeter meter(*peer, file, cases);
        meter.Measure(figures);
        std::cerr << variant.name << " read " << meter.Checksum() << '\n';
    } else {
        throw std::runtime_error(kUsage);
    }
    peer->Free();
}

}   // namespace

void Enumeration::AddKey(std::string_view keyName) { digest.AddKey(CopyName(keyName)); }

void Enumeration::AddValue(std::string_view valueName, std::size_t size) {
    digest.AddValue(CopyName(valueName), {value, size});
}

std::string_view Enumeration::CopyName(std::string_view source) {
    std::memcpy(name, source.data(), source.size());
    name[source.size()] = '\0';
    return {name, source.size()};
}

void Peer::SaveToDisk(const std::string& file) {
    std::string document;
    Save(document);
    const std::filesystem::path target(file);
    const std::filesystem::path temporary(file + ".tmp");
    ilk::File output;
    std::uint32_t done = 0;
    Require(ilk::IsSuccess(output.Open(temporary.u16string().c_str(), ilk::kFileWrite, ilk::kFileCreateAlways, 0)),
            "the scratch file can't be opened");
    Require(ilk::IsSuccess(output.Write(document.data(), static_cast<std::uint32_t>(document.size()), done)) &&
                done == document.size() && ilk::IsSuccess(output.Flush()),
            "the scratch file can't be written");
    output.Close();
    Require(ilk::IsSuccess(ilk::MoveFileTo(temporary.u16string().c_str(), target.u16string().c_str())),
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
    Require(stream.good(), "the document can't be read");
    std::string text(static_cast<std::size_t>(stream.tellg()), '\0');
    stream.seekg(0);
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

}   // namespace bench

/// One library doing the store's work, and the program that measures it.
#pragma once

#include "document.h"

#include <charconv>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// No value of a generated document is longer in its binary form.
inline constexpr std::size_t kLongestValue = 512;

/// A library, or a library with an index. One document at a time. What it is asked for is in the document.
class Peer {
public:
    Peer() = default;
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    virtual ~Peer() = default;

    virtual void Load(const std::string& file) = 0;
    virtual void Free() = 0;

    /// Opens the key by its path and reads the value into `buffer`; returns the bytes.
    virtual std::size_t Get(const Entry& entry, char* buffer) = 0;
    /// Opens the key by its path and gives the value another content.
    virtual void Set(const Entry& entry, std::string_view bytes, std::string_view text) = 0;

    /// Reads every name and every value once.
    virtual Census Enumerate() = 0;

    /// The whole document as text.
    virtual void Save(std::string& document) = 0;
    /// What such a text holds, for the check.
    [[nodiscard]] virtual Census CensusOfSaved(std::string_view document) { return CensusOf(document); }
    /// The whole document into a file, safe on the disk when it returns.
    virtual void SaveToDisk(const std::string& file);

    /// The same with the keys open already, for those that have handles: opens all, then reads and writes by number.
    [[nodiscard]] virtual bool HasHandles() const { return false; }
    virtual void OpenAll(const std::vector<Question>&) {}
    virtual std::size_t GetOpen(std::size_t, const Entry&, char*) { return 0; }
    virtual void SetOpen(std::size_t, const Entry&, std::string_view) {}

    /// Further jobs of a peer's own, by name; each runs once for a measurement, on a loaded document.
    using Job = std::function<void()>;
    [[nodiscard]] virtual std::vector<std::pair<std::string, Job>> OwnJobs() { return {}; }
};

struct Variant {
    const char* name;
    std::function<std::unique_ptr<Peer>()> make;
};

/// The program of a comparison: checks the answers of each variant, measures it, and prints a line for each figure:
/// variant, job, value. Returns the process's exit code.
int RunPeer(int argumentCount, char** arguments, const std::vector<Variant>& variants);

/// The first name of a path, which loses it.
inline std::string_view CutName(std::string_view& path) {
    const std::size_t cut = path.find('/');
    const std::string_view name = path.substr(0, cut);
    path = cut == std::string_view::npos ? std::string_view() : path.substr(cut + 1);
    return name;
}

template <class Number>
Number ParseNumber(std::string_view text) {
    Number number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// Writes half as many bytes as the text has digits.
void ParseHex(std::string_view text, char* bytes);

/// The binary form of a text that a library holds; returns the bytes. The library's users would write just this.
std::size_t CopyTyped(Kind kind, std::string_view text, char* buffer);

/// The text as a whole, for libraries that have no loader of their own.
[[nodiscard]] std::string ReadFile(const std::string& file);

}   // namespace bench

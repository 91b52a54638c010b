/// The interface through which a program of the comparison measures a library, and that program's `main`.
#pragma once

#include "document.h"

#include <charconv>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// The name of the text of an element in a foreign document.
inline constexpr char kForeignText[] = "noname";

/// The upper bound of a value's binary form in a generated document.
inline constexpr std::size_t kMaxValueBytes = 512;

/// Receives what an enumeration reads. Each name and each value is copied to a buffer, by one call an entry: the
/// callers of an interface get copies, and references into a library's memory would not outlive a change.
class Enumeration {
public:
    void AddKey(std::string_view keyName);

    /// The buffer for the next value's binary form.
    [[nodiscard]] char* ValueBuffer() { return value; }
    /// Adds a value whose binary form, `size` bytes, is in `ValueBuffer`.
    void AddValue(std::string_view valueName, std::size_t size);

    [[nodiscard]] const ContentDigest& Digest() const { return digest; }

private:
    std::string_view CopyName(std::string_view source);

    char name[kMaxValueBytes];
    char value[kMaxValueBytes];
    ContentDigest digest;
};

/// A library, or a library with an index, that does the store's work. Holds one document at a time. Callers pass only
/// keys and values that the document has.
class Peer {
public:
    Peer() = default;
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    virtual ~Peer() = default;

    virtual void Load(const std::string& file) = 0;
    virtual void Free() = 0;

    /// Finds the key by its path and reads the value into `buffer`. Returns the number of bytes.
    virtual std::size_t Get(const Entry& entry, char* buffer) = 0;
    /// Finds the key by its path and overwrites the value, or adds it if the key has none of that name. `bytes` and
    /// `text` are two forms of the same content; a library uses the one that it needs.
    virtual void Set(const Entry& entry, std::string_view bytes, std::string_view text) = 0;

    /// Reads every name and every value once, through an `Enumeration`.
    virtual ContentDigest Enumerate() = 0;

    /// Whether `Enumerate` reads the elements, attributes and texts of a foreign document. A bare library doesn't: it
    /// has no keys and values.
    [[nodiscard]] virtual bool MapsForeign() const { return false; }

    /// Appends the whole document as text to `document`.
    virtual void Save(std::string& document) = 0;
    /// The digest of a text that `Save` wrote. Overridden for libraries with another format.
    [[nodiscard]] virtual ContentDigest DigestOfSaved(std::string_view document) { return DigestOf(document); }
    /// Writes the whole document to a file. The data is on the disk on return.
    virtual void SaveToDisk(const std::string& file);

    /// For libraries with handles of open keys: `OpenAll` opens the keys of all cases; `GetOpen` and `SetOpen` then
    /// read and write a case by its index.
    [[nodiscard]] virtual bool HasHandles() const { return false; }
    virtual void OpenAll(const std::vector<AccessCase>&) {}
    virtual std::size_t GetOpen(std::size_t, const Entry&, char*) { return 0; }
    virtual void SetOpen(std::size_t, const Entry&, std::string_view) {}

    /// Jobs that only this library has, with their names. Each is measured on a loaded document.
    using Job = std::function<void()>;
    [[nodiscard]] virtual std::vector<std::pair<std::string, Job>> ExtraJobs() { return {}; }
};

/// A library or a configuration of it, by the name under which its figures are printed.
struct Variant {
    const char* name;
    std::function<std::unique_ptr<Peer>()> make;
};

/// The `main` of a program of the comparison: checks or measures each variant, as the arguments say, and prints a line
/// per figure: variant, job and figure, separated by tabs. Returns the exit code.
int RunPeer(int argumentCount, char** arguments, const std::vector<Variant>& variants);

/// Removes the first name of a path and returns it.
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

/// Converts hexadecimal digits to bytes; writes half as many bytes as `text` has digits.
void ParseHex(std::string_view text, char* bytes);

/// Converts a value's text to its binary form, as a user of a library without types has to. Returns the number of
/// bytes.
std::size_t CopyTyped(Kind kind, std::string_view text, char* buffer);

/// The content of a file, for libraries that don't read files.
[[nodiscard]] std::string ReadFile(const std::string& file);

}   // namespace bench

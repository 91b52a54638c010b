/// A UTF-16 string in host memory. A caller that passes one gets a text of any length in one call.
#pragma once

#include <component/kernel/host_object.h>

#include <atomic>

namespace kernel {

struct HostString;

inline constexpr std::uint32_t kTextImportKind = 38;
inline constexpr std::uint32_t kTextImportNumber = 0x0A02700B;
inline constexpr std::uint32_t kTextImportMode = 0;

/// As a count of characters in a call of the host: all characters up to the end.
inline constexpr std::uint32_t kWholeText = 65535;
inline constexpr std::uint32_t kCodePageUtf16 = 1200;

using TextImportCall = ResultCode (*)(HostString* text, std::uint32_t from, std::uint32_t count, const void* source,
                                      std::uint32_t sizeBytes, std::uint32_t codePage);

/// Returns the host's text import, which replaces characters of a string; null while the host doesn't offer it. The
/// first call that finds it caches it; concurrent first calls store the same address, so that no lock is needed.
[[nodiscard]] inline TextImportCall BoundTextImport() {
    static std::atomic<TextImportCall> bound{nullptr};
    TextImportCall call = bound.load(std::memory_order_relaxed);
    if (call == nullptr && HostRoot != nullptr) {
        call = BindImport<TextImportCall>(HostRoot, kTextImportKind, kTextImportNumber, kTextImportMode);
        bound.store(call, std::memory_order_relaxed);
    }
    return call;
}

struct HostString {
    char16_t* text;           // null until the first text is stored
    std::uint32_t size;       // characters, terminator excluded
    std::uint32_t capacity;   // characters that fit, terminator excluded

    /// Replaces the whole text by the `sizeBytes` bytes at `source`, which are text in `codePage`. A null `source`
    /// empties the text and keeps its block. Returns the host's code, or `kUnexpected` if the host has no text import.
    ResultCode Assign(const void* source, std::uint32_t codePage, std::uint32_t sizeBytes) {
        if (source == nullptr) {
            size = 0;
            if (text != nullptr) text[0] = u'\0';
            return kDone;
        }
        const TextImportCall call = BoundTextImport();
        if (call == nullptr) return kUnexpected;
        return call(this, 0, kWholeText, source, sizeBytes, codePage);
    }

    [[nodiscard]] const char16_t* Data() const { return text != nullptr ? text : u""; }
    [[nodiscard]] std::uint32_t Size() const { return size; }
    [[nodiscard]] bool Empty() const { return size == 0; }
};

}   // namespace kernel

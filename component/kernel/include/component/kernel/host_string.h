/// Wide text whose memory belongs to the host: the caller's way to take text of any length in one call.
#pragma once

#include <component/kernel/host_object.h>

#include <atomic>

namespace kernel {

struct HostString;

inline constexpr std::uint32_t kTextImportKind = 38;
inline constexpr std::uint32_t kTextImportNumber = 0x0A02700B;
inline constexpr std::uint32_t kTextImportMode = 0;

/// In the host's positions and counts of characters: to the end.
inline constexpr std::uint32_t kWholeText = 65535;
inline constexpr std::uint32_t kCodePageUtf16 = 1200;

using TextImportCall = ResultCode (*)(HostString* text, std::uint32_t from, std::uint32_t count, const void* source,
                                      std::uint32_t sizeBytes, std::uint32_t codePage);

/// The host's text import, bound at first use without a lock and kept; null while the host doesn't offer it.
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
    char16_t* text;           // null while nothing was ever stored
    std::uint32_t size;       // characters
    std::uint32_t capacity;   // characters that fit, terminator not counted

    /// Replaces the whole text by `sizeBytes` bytes of `source`, read in `codePage`. A null `source` empties the text
    /// in place and keeps its block. Returns the host's code, or `kUnexpected` if the host has no text import.
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

/// Result codes as people read them: the numbers of the interface and of the host, and the library codes that a caller
/// can meet through them.
#pragma once

#include <component/kernel/types.h>

#include <string_view>

namespace kernel {

struct ResultTextRow {
    std::uint32_t code;
    std::string_view text;
};

inline constexpr ResultTextRow kResultTexts[] = {
    {0x00000000, "done"},
    {0x00000001, "false"},
    {0x00000003, "false"},
    {0x0000D001, "done, and a new key was made"},
    {0x80000040, "unexpected failure"},
    {0x80000041, "out of memory, or a type that can't be stored"},
    {0x80000042, "not supported"},
    {0x80000044, "buffer too small"},
    {0x80000045, "access denied"},
    {0x80000046, "invalid argument"},
    {0x8000004A, "sizes don't match"},
    {0x8000004B, "unspecified failure"},
    {0x8000004C, "not found"},
    {0x8000004F, "locked"},
    {0x80000051, "cancelled"},
    {0x80000059, "nested too deeply, or bad media"},
    {0x8000005C, "invalid size"},
    {0x8000005D, "invalid type"},
    {0x8000005E, "out of range"},
    {0x80000062, "no space left"},
    {0x80000063, "not ready"},
    {0x8000006B, "not initialised"},
    {0x8000006C, "not enough resources"},
    {0x800000C0, "the document is malformed"},
    {0x800000C1, "the document is open for reading only"},
    {0x800000C2, "not initialised"},
    {0x800000C5, "no such document"},
    {0x800000D1, "it exists already"},
    {0x80000180, "no such property"},
    {0x80000221, "timed out"},
    {0x8000D002, "no such key or value"},
    {0x8000D004, "there is no key at this handle"},
    {0x80010100, "unspecified failure of the system"},
    {0x80010101, "invalid handle"},
    {0x80010102, "file not found"},
    {0x80010103, "path not found"},
    {0x80010104, "another process uses the file"},
    {0x80010105, "it exists already"},
    {0x80010109, "invalid path name"},
    {0x80010116, "network failure"},
};

/// The text of a code; "unknown code" for a number that has none.
[[nodiscard]] constexpr std::string_view ResultText(ResultCode code) {
    for (const ResultTextRow& row : kResultTexts) {
        if (row.code == static_cast<std::uint32_t>(code)) return row.text;
    }
    return "unknown code";
}

}   // namespace kernel

/// Texts of result codes for the users of a host and of the tool. The table has the codes of the host and of the
/// interface, and the library codes that a call of the interface can return.
#pragma once

#include <component/kernel/result_codes.h>

#include <string_view>

namespace kernel {

struct ResultTextRow {
    ResultCode code;
    std::string_view text;
};

inline constexpr ResultTextRow kResultTexts[] = {
    {kDone, "done"},
    {1, "false"},
    {kFalse, "false"},
    {kKeyCreated, "done, and a new key was made"},
    {kUnexpected, "unexpected failure"},
    {kOutOfMemory, "out of memory, or a type that can't be stored"},
    {MakeResult(0x80000042), "not supported"},
    {kBufferTooSmall, "buffer too small"},
    {kAccessDenied, "access denied"},
    {kInvalidArgument, "invalid argument"},
    {kNotMatched, "sizes don't match"},
    {kUnspecified, "unspecified failure"},
    {MakeResult(0x8000004C), "not found"},
    {MakeResult(0x8000004F), "locked"},
    {MakeResult(0x80000051), "cancelled"},
    {kMediaError, "nested too deeply, or bad media"},
    {MakeResult(0x8000005C), "invalid size"},
    {MakeResult(0x8000005D), "invalid type"},
    {MakeResult(0x8000005E), "out of range"},
    {MakeResult(0x80000062), "no space left"},
    {MakeResult(0x80000063), "not ready"},
    {MakeResult(0x8000006B), "not initialised"},
    {MakeResult(0x8000006C), "not enough resources"},
    {kBadDocument, "the document is malformed"},
    {kReadOnlyObject, "the document is open for reading only"},
    {kNotInitialised, "not initialised"},
    {kNoDocument, "no such document"},
    {kAlreadyExists, "it exists already"},
    {MakeResult(0x80000180), "no such property"},
    {MakeResult(0x80000221), "timed out"},
    {kNoSuchEntry, "no such key or value"},
    {kNoKeyThere, "there is no key at this handle"},
    {MakeResult(0x80010100), "unspecified failure of the system"},
    {MakeResult(0x80010101), "invalid handle"},
    {MakeResult(0x80010102), "file not found"},
    {MakeResult(0x80010103), "path not found"},
    {MakeResult(0x80010104), "another process uses the file"},
    {MakeResult(0x80010105), "it exists already"},
    {MakeResult(0x80010109), "invalid path name"},
    {MakeResult(0x80010116), "network failure"},
};

/// Returns the text of `code`; "unknown code" for a code without a row.
[[nodiscard]] constexpr std::string_view ResultText(ResultCode code) {
    for (const ResultTextRow& row : kResultTexts) {
        if (row.code == code) return row.text;
    }
    return "unknown code";
}

}   // namespace kernel

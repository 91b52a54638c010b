/// UTF-16 text in the type of the system's calls.
#pragma once

#include <windows.h>

namespace platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

[[nodiscard]] inline const wchar_t* Wide(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }
[[nodiscard]] inline wchar_t* Wide(char16_t* text) { return reinterpret_cast<wchar_t*>(text); }

}   // namespace platform

/// Reads the headers of a loaded 32-bit Windows image: its size, and the identity by which debuggers find its debug
/// information. Offsets in the headers are checked: only bytes of the given span are read.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

#include <span>

namespace ilk {

/// This many bytes of a loaded image of any format can be read.
inline constexpr std::uint32_t kMinImageBytes = 4096;

/// Reads the size that the image has in memory from its headers, which `head`, its first bytes, must hold. Returns
/// `ResultInvalidSignature` if they aren't the headers of such an image.
[[nodiscard]] ResultCode ReadImageSize(std::span<const std::byte> head, std::uint32_t& sizeBytes);

/// Appends the debug identity of `image`, the whole image, to `id`: an identifier of 36 characters, a comma and the age
/// in decimal. Returns `ResultOk` and appends nothing if the image has too few data directories for a debug directory,
/// `ResultInvalidSignature` for a wrong header or another kind of debug entry, `ResultInvalidSize` for an entry that is
/// too short or not in the image.
[[nodiscard]] ResultCode ReadDebugIdentity(std::span<const std::byte> image, basic_string_t<char>& id);

}   // namespace ilk

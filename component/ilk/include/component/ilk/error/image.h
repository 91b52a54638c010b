/// Reading a loaded 32-bit Windows image: its size, and the identity by which its debug information is found. These
/// look at the bytes they are given and at nothing else, so that no header can lead them astray.
#pragma once

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/basic_string.h>

#include <span>

namespace ilk {

/// What is mapped of any loaded image, whatever its format.
inline constexpr std::uint32_t kLeastImageBytes = 4096;

/// The size of the image in memory, from its first bytes. `ResultInvalidSignature` if they aren't the headers of one.
[[nodiscard]] ResultCode ReadImageSize(std::span<const std::byte> head, std::uint32_t& sizeBytes);

/// Puts the debug identity of a whole image into `id`: the identifier's text, a comma, the age in decimal. An image
/// with too few data directories to have one is a success, with `id` left empty. Otherwise `ResultInvalidSignature`,
/// also for a debug entry of another kind, or `ResultInvalidSize` for one that is too short or not in the image.
[[nodiscard]] ResultCode ReadDebugIdentity(std::span<const std::byte> image, basic_string_t<char>& id);

}   // namespace ilk

/// Sixteen bytes of a text, compared at once by SSE2, which every x86-64 processor has and the 32-bit target requires.
/// Other processors have the same class with eight bytes.
#pragma once

#include <component/platform/words.h>

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace platform {

class ByteGroup {
public:
    static constexpr std::size_t kSizeBytes = 16;

    /// Loads `kSizeBytes` bytes of any alignment.
    explicit ByteGroup(const char* from) : bytes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))) {}

    /// Matches the bytes that equal one of `wanted`. The result is 0 if there is none.
    template <class... Bytes>
    [[nodiscard]] std::uint32_t Match(Bytes... wanted) const {
        return static_cast<std::uint32_t>(_mm_movemask_epi8((_mm_cmpeq_epi8(bytes, _mm_set1_epi8(wanted)) | ...)));
    }

    /// Returns the index of the first matching byte. `match`, a result of `Match`, must not be 0.
    [[nodiscard]] static std::size_t First(std::uint32_t match) {
        return static_cast<std::size_t>(std::countr_zero(match));
    }

private:
    __m128i bytes;
};

}   // namespace platform

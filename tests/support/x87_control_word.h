/// Sets the x87 control word of the calling thread for the life of the object. Every processor of both targets has the
/// unit; only 32-bit code computes with it.
#pragma once

#include <cstdint>

namespace testing_support {

class X87ControlWord {
public:
    explicit X87ControlWord(std::uint16_t word) : before(Read()) { Write(word); }
    ~X87ControlWord() { Write(before); }
    X87ControlWord(const X87ControlWord&) = delete;
    X87ControlWord& operator=(const X87ControlWord&) = delete;

    [[nodiscard]] static std::uint16_t Read() {
        std::uint16_t word = 0;
        asm volatile("fnstcw %0" : "=m"(word));
        return word;
    }

    /// The status word, which has the exception flags in its lowest 6 bits.
    [[nodiscard]] static std::uint16_t ReadStatus() {
        std::uint16_t status = 0;
        asm volatile("fnstsw %0" : "=m"(status));
        return status;
    }

private:
    static void Write(std::uint16_t word) { asm volatile("fnclex\n\tfldcw %0" : : "m"(word) : "memory"); }

    std::uint16_t before;
};

}   // namespace testing_support

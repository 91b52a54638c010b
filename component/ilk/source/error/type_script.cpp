// Interprets the scripts that describe values with members: validates them, and copies and destroys by them.

#include <component/ilk/error/type_script.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace ilk {
namespace {

struct MemberKind {
    std::uint32_t size;
    std::uint32_t alignment;
    void (*copy)(void* target, const void* source);
    void (*destroy)(void* member);
};

template <class T>
constexpr MemberKind MakeKind() {
    return {sizeof(T), alignof(T),
            [](void* target, const void* source) {
                std::construct_at(static_cast<T*>(target), *static_cast<const T*>(source));
            },
            [](void* member) { std::destroy_at(static_cast<T*>(member)); }};
}

/// In the order of the opcodes from `NarrowText` on.
constexpr MemberKind kKinds[] = {
    MakeKind<basic_string_t<char>>(),
    MakeKind<basic_string_t<char16_t>>(),
    MakeKind<basic_string_t<char32_t>>(),
    MakeKind<PropertyValue>(),
};

/// The member or the run of plain bytes that one entry of a script describes.
struct Member {
    const MemberKind* kind;   // null for plain bytes
    std::uint32_t offset;     // in the value
    std::uint32_t size;
};

/// Reads the entries of a layout's script one after another.
class ScriptReader {
public:
    explicit ScriptReader(const TypeLayout& valueLayout) : layout(valueLayout) {
        const bool isInline = (layout.traits & TypeLayout::kMembersInline) != 0;
        const auto& text = layout.members.text;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
        const std::size_t capacity = sizeof(text) - 1;   // an invalid length byte gives a larger `size()`
        head = isInline ? std::span(bytes, std::min(text.size(), capacity)) : layout.members.bytes;
    }

    /// Stores the next entry in `member`. Returns false at the end and at an invalid entry.
    bool Next(Member& member) {
        const std::uint8_t opcode = ReadByte();
        member = {nullptr, offset, 0};
        if (opcode == static_cast<std::uint8_t>(ScriptOpcode::End)) return false;
        if (opcode == static_cast<std::uint8_t>(ScriptOpcode::Bytes)) {
            member.size = ReadNumber();
        } else {
            const std::size_t index = opcode - static_cast<std::size_t>(ScriptOpcode::NarrowText);
            if (index >= std::size(kKinds)) return Fail();
            member.kind = &kKinds[index];
            member.size = member.kind->size;
            if (offset % member.kind->alignment != 0) return Fail();
        }
        if (member.size == 0 || member.size > layout.size - offset) return Fail();
        offset += member.size;
        return true;
    }

    /// After `Next` returned false: whether the script is valid and describes every byte of the value.
    [[nodiscard]] bool IsComplete() const { return isValid && offset == layout.size; }

private:
    bool Fail() {
        isValid = false;
        return false;
    }

    /// Returns the next byte: of `head`, then of `tail`. A script without a tail ends after its head.
    std::uint8_t ReadByte() {
        if (!head.empty()) {
            const std::uint8_t byte = head.front();
            head = head.subspan(1);
            return byte;
        }
        return tail != nullptr ? *tail++ : static_cast<std::uint8_t>(ScriptOpcode::End);
    }

    /// Reads a LEB128 number of at most five bytes; 0 for a longer one.
    std::uint32_t ReadNumber() {
        constexpr std::uint32_t kMaxBits = 35;
        std::uint32_t number = 0;
        for (std::uint32_t shift = 0; shift < kMaxBits; shift += 7) {
            const std::uint32_t byte = ReadByte();
            number |= (byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return number;
        }
        return 0;
    }

    const TypeLayout& layout;
    std::span<const std::uint8_t> head;
    const std::uint8_t* tail = layout.script;
    std::uint32_t offset = 0;   // of the next member
    bool isValid = true;
};

bool IsValid(const TypeLayout& layout) {
    ScriptReader reader(layout);
    for (Member member; reader.Next(member);) continue;
    return reader.IsComplete();
}

/// Destroys the members that end at or before `endOffset`.
void DestroyUpTo(const TypeLayout& layout, std::byte* value, std::uint32_t endOffset) noexcept {
    ScriptReader reader(layout);
    for (Member member; reader.Next(member) && member.offset + member.size <= endOffset;) {
        if (member.kind != nullptr) member.kind->destroy(value + member.offset);
    }
}

}   // namespace

void CopyByScript(const TypeLayout& layout, void* target, const void* source) {
    if (!IsValid(layout)) throw std::invalid_argument("ilk::TypeLayout script");
    auto* const to = static_cast<std::byte*>(target);
    const auto* const from = static_cast<const std::byte*>(source);
    ScriptReader reader(layout);
    Member member{};
    try {
        while (reader.Next(member)) {
            if (member.kind != nullptr) {
                member.kind->copy(to + member.offset, from + member.offset);
            } else {
                std::memcpy(to + member.offset, from + member.offset, member.size);
            }
        }
    } catch (...) {
        DestroyUpTo(layout, to, member.offset);
        throw;
    }
}

void DestroyByScript(const TypeLayout& layout, void* value) noexcept {
    if (IsValid(layout)) DestroyUpTo(layout, static_cast<std::byte*>(value), layout.size);
}

}   // namespace ilk

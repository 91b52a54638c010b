#include <component/ilk/error/type_script.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace ilk {
namespace {

/// What is done with the members of one kind.
struct MemberKind {
    std::uint32_t size;
    std::uint32_t alignment;
    void (*copy)(void* target, const void* source);
    void (*destroy)(void* member);
};

template <class T>
constexpr MemberKind KindOf() {
    return {sizeof(T), alignof(T),
            [](void* target, const void* source) {
                std::construct_at(static_cast<T*>(target), *static_cast<const T*>(source));
            },
            [](void* member) { std::destroy_at(static_cast<T*>(member)); }};
}

/// By opcode, from `NarrowText` on.
constexpr MemberKind kKinds[] = {
    KindOf<basic_string_t<char>>(),
    KindOf<basic_string_t<char16_t>>(),
    KindOf<basic_string_t<char32_t>>(),
    KindOf<PropertyValue>(),
};

/// One entry of a script: a member of a kind, or plain bytes.
struct Member {
    const MemberKind* kind;   // null for plain bytes
    std::uint32_t offset;
    std::uint32_t size;
};

class ScriptWalker {
public:
    explicit ScriptWalker(const TypeLayout& walked) : layout(walked) {
        const bool isInline = (layout.traits & TypeLayout::kMembersInline) != 0;
        const auto& text = layout.members.text;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
        const std::size_t room = sizeof(text) - 1;   // less than what a broken length byte says
        head = isInline ? std::span(bytes, std::min(text.size(), room)) : layout.members.bytes;
    }

    /// The next member; false at the end and at what isn't understood.
    bool Next(Member& member) {
        const std::uint8_t opcode = ReadByte();
        member = {nullptr, offset, 0};
        if (opcode == static_cast<std::uint8_t>(ScriptOpcode::End)) return false;
        if (opcode == static_cast<std::uint8_t>(ScriptOpcode::Bytes)) {
            member.size = ReadNumber();
        } else {
            const std::size_t index = opcode - static_cast<std::size_t>(ScriptOpcode::NarrowText);
            if (index >= std::size(kKinds)) return Refuse();
            member.kind = &kKinds[index];
            member.size = member.kind->size;
            if (offset % member.kind->alignment != 0) return Refuse();
        }
        if (member.size == 0 || member.size > layout.size - offset) return Refuse();
        offset += member.size;
        return true;
    }

    /// Once `Next` has said false: whether every byte of the value was accounted for.
    [[nodiscard]] bool Whole() const { return !refused && offset == layout.size; }

private:
    bool Refuse() {
        refused = true;
        return false;
    }

    std::uint8_t ReadByte() {
        if (!head.empty()) {
            const std::uint8_t byte = head.front();
            head = head.subspan(1);
            return byte;
        }
        return tail != nullptr ? *tail++ : static_cast<std::uint8_t>(ScriptOpcode::End);
    }

    std::uint32_t ReadNumber() {
        constexpr std::uint32_t kMostBits = 35;
        std::uint32_t number = 0;
        for (std::uint32_t shift = 0; shift < kMostBits; shift += 7) {
            const std::uint32_t byte = ReadByte();
            number |= (byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return number;
        }
        return 0;
    }

    const TypeLayout& layout;
    std::span<const std::uint8_t> head;
    const std::uint8_t* tail = layout.script;
    std::uint32_t offset = 0;
    bool refused = false;
};

bool IsUnderstood(const TypeLayout& layout) {
    ScriptWalker walker(layout);
    for (Member member; walker.Next(member);) continue;
    return walker.Whole();
}

/// Destroys the members that end at or before `endOffset`.
void DestroyUpTo(const TypeLayout& layout, std::byte* value, std::uint32_t endOffset) noexcept {
    ScriptWalker walker(layout);
    for (Member member; walker.Next(member) && member.offset + member.size <= endOffset;) {
        if (member.kind != nullptr) member.kind->destroy(value + member.offset);
    }
}

}   // namespace

void CopyByScript(const TypeLayout& layout, void* target, const void* source) {
    if (!IsUnderstood(layout)) throw std::invalid_argument("ilk::TypeLayout script");
    auto* const to = static_cast<std::byte*>(target);
    const auto* const from = static_cast<const std::byte*>(source);
    ScriptWalker walker(layout);
    Member member{};
    try {
        while (walker.Next(member)) {
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
    if (IsUnderstood(layout)) DestroyUpTo(layout, static_cast<std::byte*>(value), layout.size);
}

}   // namespace ilk

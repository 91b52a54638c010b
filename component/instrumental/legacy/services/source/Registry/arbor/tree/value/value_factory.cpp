// Creates values: a table from type code to class, built from one list.

#include "tree/value/value_holder.h"

#include <component/kernel/type_table.h>

#include <algorithm>
#include <array>
#include <new>

namespace arbor::module {
namespace {

template <class... Classes>
struct ClassList {};

// The class of each type that can be stored, in the order of `kStoredTypes`.
// clang-format off
using StoredTypes = ClassList<
    TypedValue<tVOID, Nothing>,
    TypedValue<tBYTE, Unsigned8>,
    TypedValue<tWORD, Unsigned16>,
    TypedValue<tDWORD, Unsigned32>,
    TypedValue<tQWORD, Unsigned64>,
    TypedValue<tBOOL, TruthValue>,
    TypedValue<tCHAR, Character>,
    TypedValue<tWCHAR, WideCharacter>,
    TypedValue<tSTRING, ByteString>,
    TypedValue<tWSTRING, WideString>,
    TypedValue<tERROR, Signed32>,
    TypedValue<tPTR, ByteBlock>,
    TypedValue<tINT, Signed32>,
    TypedValue<tUINT, Unsigned32>,
    TypedValue<tSBYTE, Signed8>,
    TypedValue<tSHORT, Signed16>,
    TypedValue<tLONG, SignedLong>,
    TypedValue<tLONGLONG, Signed64>,
    TypedValue<tIID, Unsigned32>,
    TypedValue<tPID, Unsigned32>,
    TypedValue<tORIG_ID, Unsigned32>,
    TypedValue<tOS_ID, Unsigned32>,
    TypedValue<tVID, Unsigned32>,
    TypedValue<tPROPID, Unsigned32>,
    TypedValue<tVERSION, Unsigned32>,
    TypedValue<tCODEPAGE, UnsignedLong>,
    TypedValue<tLCID, Unsigned32>,
    TypedValue<tDATA, Unsigned32>,
    TypedValue<tDATETIME, DateTime>,
    TypedValue<tFUNC_PTR, FunctionAddress>,
    TypedValue<tDOUBLE, FloatingPoint>,
    TypedValue<tBINARY, ByteBlock>,
    TypedValue<tTYPE_ID, Unsigned32>>;
// clang-format on

struct ConstructorRow {
    std::uint32_t sizeBytes = 0;
    Value* (*construct)(void* memory, const HostObject* host) = nullptr;   // null for a type that can't be stored
};

/// By type code; `tTYPE_ID` is the highest that can be stored.
using ConstructorTable = std::array<ConstructorRow, tTYPE_ID + 1>;

template <class Class>
Value* Construct(void* memory, const HostObject* host) {
    return ::new (memory) Class(host);
}

/// Width of the datum in bytes; 0 for the storage classes without a fixed size.
template <class Storage>
constexpr std::uint32_t WidthOf() {
    if constexpr (requires { typename Storage::Type; }) return sizeof(typename Storage::Type);
    return 0;
}

template <TypeCode... Codes, class... Storages>
constexpr ConstructorTable BuildConstructors(ClassList<TypedValue<Codes, Storages>...>) {
    constexpr std::array kCodes{Codes...};
    constexpr std::array kWidths{WidthOf<Storages>()...};
    static_assert(std::ranges::equal(kCodes, kStoredTypes, {}, {}, &ValueTypeRow::type));
    static_assert(std::ranges::equal(kWidths, kStoredTypes, {}, {}, &ValueTypeRow::width));
    ConstructorTable table{};
    ((table[Codes] = {sizeof(TypedValue<Codes, Storages>), Construct<TypedValue<Codes, Storages>>}), ...);
    return table;
}

constexpr ConstructorTable kConstructors = BuildConstructors(StoredTypes{});

}   // namespace

Value* CreateValue(const HostObject* host, TypeCode code) {
    if (code >= kConstructors.size() || kConstructors[code].construct == nullptr) return nullptr;
    HostBlock<char> block;
    if (IsFailure(AllocateBlock(host, kConstructors[code].sizeBytes, 0, block))) return nullptr;
    Value* value = kConstructors[code].construct(block.get(), host);
    static_cast<void>(block.release());   // `ReleaseValue` frees it
    return value;
}

void ReleaseValue(const HostObject* host, Value* value) {
    if (value == nullptr) return;
    value->~Value();
    HostFree(host, value);
}

}   // namespace arbor::module

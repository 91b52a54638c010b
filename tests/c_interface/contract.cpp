// Compares <arbor.h> with the contract in C++. Nothing here runs.

#include <arbor.h>
#include <component/kernel/host_string.h>
#include <component/kernel/interface.h>
#include <component/kernel/properties.h>
#include <component/kernel/type_table.h>
#include <host/c_host.h>

#include <concepts>
#include <string_view>

namespace {

// The C types as the contract names them.
template <class T>
struct Contract {
    using Type = T;
};
template <>
struct Contract<ArborObject*> {
    using Type = kernel::HostObject*;
};

template <class CFunction, class Method>
constexpr bool kSameCall = false;
template <class... CArguments, class... Arguments>
constexpr bool
    kSameCall<ArborResult(ARBOR_CALL*)(CArguments...), kernel::ResultCode (kernel::Registry::*)(Arguments...) const> =
        (std::same_as<typename Contract<CArguments>::Type, Arguments> && ...);

#define SAME_METHOD(name)                                                                                          \
    static_assert(offsetof(ArborMethods, name) == sizeof(void*) * static_cast<std::size_t>(kernel::Method::name)); \
    static_assert(kSameCall<decltype(ArborMethods::name), decltype(&kernel::Registry::name)>)
SAME_METHOD(OpenKey);
SAME_METHOD(OpenKeyByIndex);
SAME_METHOD(OpenNextKey);
SAME_METHOD(CloseKey);
SAME_METHOD(GetKeyName);
SAME_METHOD(GetKeyNameByIndex);
SAME_METHOD(GetValue);
SAME_METHOD(GetValueByIndex);
SAME_METHOD(GetValueNameByIndex);
SAME_METHOD(SetValue);
SAME_METHOD(SetValueByIndex);
SAME_METHOD(GetKeyCount);
SAME_METHOD(GetValueCount);
SAME_METHOD(DeleteKey);
SAME_METHOD(DeleteKeyByInd);
SAME_METHOD(DeleteValue);
SAME_METHOD(DeleteValueByInd);
SAME_METHOD(Clean);
SAME_METHOD(CopyKey);
SAME_METHOD(CopyKeyByName);
SAME_METHOD(SetRootKey);
SAME_METHOD(SetRootStr);
SAME_METHOD(Save);
static_assert(sizeof(ArborMethods) == sizeof(void*) * kernel::kRegistryMethods);

#define SAME_FIELD(type, field, contract, member)                               \
    static_assert(offsetof(type, field) == offsetof(kernel::contract, member)); \
    static_assert(sizeof(type::field) == sizeof(kernel::contract::member))
SAME_FIELD(ArborObject, methods, HostObject, MethodFace);
SAME_FIELD(ArborObject, system, HostObject, SystemFace);
SAME_FIELD(ArborHostString, text, HostString, text);
SAME_FIELD(ArborHostString, size, HostString, size);
SAME_FIELD(ArborHostString, capacity, HostString, capacity);
static_assert(sizeof(ArborObject) == sizeof(kernel::HostObject) &&
              sizeof(ArborHostString) == sizeof(kernel::HostString));

// Each storable type, and the one of host strings, under its name in the table.
struct TypeCase {
    std::string_view name;
    kernel::TypeCode type;
};
#define TYPE(name) \
    { "t" #name, ARBOR_##name }
constexpr TypeCase kTypes[] = {
    TYPE(VOID),     TYPE(BYTE),     TYPE(WORD),    TYPE(DWORD),    TYPE(QWORD),    TYPE(BOOL), TYPE(CHAR),
    TYPE(WCHAR),    TYPE(STRING),   TYPE(WSTRING), TYPE(ERROR),    TYPE(PTR),      TYPE(INT),  TYPE(UINT),
    TYPE(SBYTE),    TYPE(SHORT),    TYPE(LONG),    TYPE(LONGLONG), TYPE(IID),      TYPE(PID),  TYPE(ORIG_ID),
    TYPE(OS_ID),    TYPE(VID),      TYPE(PROPID),  TYPE(VERSION),  TYPE(CODEPAGE), TYPE(LCID), TYPE(DATA),
    TYPE(DATETIME), TYPE(FUNC_PTR), TYPE(DOUBLE),  TYPE(BINARY),   TYPE(TYPE_ID),
};
static_assert(std::ranges::equal(kTypes, kernel::kStoredTypes,
                                 [](const TypeCase& type, const kernel::ValueTypeRow& row) {
                                     return type.name == row.name && type.type == row.type;
                                 }));
static_assert(kernel::TypeCode{ARBOR_STRING_OBJ} == kernel::tSTRING_OBJ);

static_assert(ARBOR_DONE == kernel::kDone && ARBOR_KEY_CREATED == kernel::kKeyCreated);
static_assert(ARBOR_UNEXPECTED == kernel::kUnexpected && ARBOR_OUT_OF_MEMORY == kernel::kOutOfMemory);
static_assert(ARBOR_BUFFER_TOO_SMALL == kernel::kBufferTooSmall && ARBOR_ACCESS_DENIED == kernel::kAccessDenied);
static_assert(ARBOR_INVALID_ARGUMENT == kernel::kInvalidArgument && ARBOR_NOT_MATCHED == kernel::kNotMatched);
static_assert(ARBOR_UNSPECIFIED == kernel::kUnspecified && ARBOR_MEDIA_ERROR == kernel::kMediaError);
static_assert(ARBOR_BAD_DOCUMENT == kernel::kBadDocument && ARBOR_READ_ONLY_OBJECT == kernel::kReadOnlyObject);
static_assert(ARBOR_NOT_INITIALISED == kernel::kNotInitialised && ARBOR_NO_DOCUMENT == kernel::kNoDocument);
static_assert(ARBOR_ALREADY_EXISTS == kernel::kAlreadyExists && ARBOR_NO_SUCH_ENTRY == kernel::kNoSuchEntry);
static_assert(ARBOR_NO_KEY_THERE == kernel::kNoKeyThere && ARBOR_FILE_IN_USE == kernel::kFileInUse);
static_assert(ARBOR_NO_KEY == kernel::kNoKey && ARBOR_OPEN_CREATE == kernel::kOpenFlagCreate);

}   // namespace

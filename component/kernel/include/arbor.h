/* The interface `Registry` in C11, for components in C and for the foreign-function interfaces of other languages.
 *
 *     uint32_t port = 0;
 *     ArborType type = ARBOR_DWORD;
 *     ArborResult code = object->methods->GetValue(object, NULL, 0, "Port", &type, &port, sizeof port);
 *     if (ARBOR_FAILED(code)) ...
 *
 * It has the layouts, codes and positions of <component/kernel/...>, whose comments say more about each call. The build
 * compares the two. A host gives its components the address of an object; <host/c_host.h> makes one.
 *
 * No call throws or unwinds. Texts are 8-bit (UTF-8 in documents) and end with a zero byte; `\` and `/` separate the
 * names of a path. Out arguments may be null. A read with a null buffer and size 0 only stores the needed bytes in
 * `count`.
 */
#pragma once

#include <stdint.h>
#include <uchar.h>

/* The calling convention of every call. `#ifdef`, since users compile this header without the project's build. */
#if defined(_WIN32) && !defined(_WIN64)
#define ARBOR_CALL __cdecl
#else
#define ARBOR_CALL
#endif

typedef uintptr_t ArborWord; /* 32 bits on 32-bit Windows, as wide as a pointer on every system */
typedef ArborWord ArborKey;  /* a handle: 0 is the current root, ARBOR_NO_KEY no key; handles needn't be closed */
typedef int32_t ArborResult; /* a failure is negative; some successes aren't 0 */
typedef uint32_t ArborType;  /* a code of `ArborValueType`; 0 is no type */

#define ARBOR_NO_KEY (~(ArborKey)0)
#define ARBOR_FAILED(code) ((code) < 0)

#define ARBOR_DONE ((ArborResult)0)
#define ARBOR_KEY_CREATED ((ArborResult)0x0000D001) /* a success: the first key of the path is new */
#define ARBOR_UNEXPECTED ((ArborResult)0x80000040)
#define ARBOR_OUT_OF_MEMORY ((ArborResult)0x80000041) /* or a type that can't be stored */
#define ARBOR_BUFFER_TOO_SMALL ((ArborResult)0x80000044)
#define ARBOR_ACCESS_DENIED ((ArborResult)0x80000045)
#define ARBOR_INVALID_ARGUMENT ((ArborResult)0x80000046) /* or a text that isn't valid for its type */
#define ARBOR_NOT_MATCHED ((ArborResult)0x8000004A)
#define ARBOR_UNSPECIFIED ((ArborResult)0x8000004B)
#define ARBOR_MEDIA_ERROR ((ArborResult)0x80000059)
#define ARBOR_BAD_DOCUMENT ((ArborResult)0x800000C0)
#define ARBOR_READ_ONLY_OBJECT ((ArborResult)0x800000C1)
#define ARBOR_NOT_INITIALISED ((ArborResult)0x800000C2)
#define ARBOR_NO_DOCUMENT ((ArborResult)0x800000C5)
#define ARBOR_ALREADY_EXISTS ((ArborResult)0x800000D1)
#define ARBOR_NO_SUCH_ENTRY ((ArborResult)0x8000D002) /* no such key or value */
#define ARBOR_NO_KEY_THERE ((ArborResult)0x8000D004)  /* the handle is ARBOR_NO_KEY, or there is no next key */
#define ARBOR_FILE_IN_USE ((ArborResult)0x80010104)

/* The types, and what a caller's buffer holds. The module runs on little-endian machines. */
enum ArborValueType {
    ARBOR_VOID = 1,      /* nothing */
    ARBOR_BYTE = 2,      /* uint8_t */
    ARBOR_WORD = 3,      /* uint16_t */
    ARBOR_DWORD = 4,     /* uint32_t */
    ARBOR_QWORD = 5,     /* uint64_t */
    ARBOR_BOOL = 6,      /* uint32_t, 0 or not */
    ARBOR_CHAR = 7,      /* char */
    ARBOR_WCHAR = 8,     /* char16_t */
    ARBOR_STRING = 9,    /* char[], read with its terminator; a write needs none */
    ARBOR_WSTRING = 10,  /* char16_t[], the same; sizes and counts are bytes */
    ARBOR_ERROR = 11,    /* int32_t */
    ARBOR_PTR = 12,      /* any bytes */
    ARBOR_INT = 13,      /* int32_t */
    ARBOR_UINT = 14,     /* uint32_t */
    ARBOR_SBYTE = 15,    /* int8_t */
    ARBOR_SHORT = 17,    /* int16_t */
    ARBOR_LONG = 18,     /* int32_t */
    ARBOR_LONGLONG = 19, /* int64_t */
    ARBOR_IID = 20,      /* uint32_t, and so up to ARBOR_DATA */
    ARBOR_PID = 21,
    ARBOR_ORIG_ID = 22,
    ARBOR_OS_ID = 23,
    ARBOR_VID = 24,
    ARBOR_PROPID = 25,
    ARBOR_VERSION = 26,
    ARBOR_CODEPAGE = 27,
    ARBOR_LCID = 28,
    ARBOR_DATA = 29,
    ARBOR_DATETIME = 30,  /* uint64_t */
    ARBOR_FUNC_PTR = 31,  /* uint32_t, without a text form */
    ARBOR_DOUBLE = 32,    /* double */
    ARBOR_BINARY = 48,    /* any bytes */
    ARBOR_TYPE_ID = 54,   /* uint32_t */
    ARBOR_STRING_OBJ = 56 /* an ArborHostString; no value has this type */
};

/* A UTF-16 text whose memory belongs to the host. */
typedef struct ArborHostString {
    char16_t* text;    /* null until the first text is stored */
    uint32_t size;     /* characters, terminator excluded */
    uint32_t capacity; /* characters that fit, terminator excluded */
} ArborHostString;

struct ArborMethods;

/* The first two words of every object of the host. */
typedef struct ArborObject {
    const struct ArborMethods* methods;
    const void* system; /* the host's own table */
} ArborObject;

/* The table of an object's methods. A foreign-function interface needs the positions, which count from 0. */
typedef struct ArborMethods {
    /* 0 */
    ArborResult(ARBOR_CALL* OpenKey)(ArborObject* object, ArborKey* key, ArborKey parent, const char* path,
                                     uint32_t create);
    ArborResult(ARBOR_CALL* OpenKeyByIndex)(ArborObject* object, ArborKey* key, ArborKey parent, uint32_t index);
    ArborResult(ARBOR_CALL* OpenNextKey)(ArborObject* object, ArborKey* next, ArborKey key);
    ArborResult(ARBOR_CALL* CloseKey)(ArborObject* object, ArborKey key);
    ArborResult(ARBOR_CALL* GetKeyName)(ArborObject* object, uint32_t* count, ArborKey key, char* buffer, uint32_t size,
                                        uint32_t full);
    /* 5 */
    ArborResult(ARBOR_CALL* GetKeyNameByIndex)(ArborObject* object, uint32_t* count, ArborKey parent, uint32_t index,
                                               char* buffer, uint32_t size, uint32_t full);
    ArborResult(ARBOR_CALL* GetValue)(ArborObject* object, uint32_t* count, ArborKey key, const char* name,
                                      ArborType* type, void* buffer, uint32_t size);
    ArborResult(ARBOR_CALL* GetValueByIndex)(ArborObject* object, uint32_t* count, ArborKey key, uint32_t index,
                                             ArborType* type, void* buffer, uint32_t size);
    ArborResult(ARBOR_CALL* GetValueNameByIndex)(ArborObject* object, uint32_t* count, ArborKey key, uint32_t index,
                                                 char* buffer, uint32_t size);
    ArborResult(ARBOR_CALL* SetValue)(ArborObject* object, ArborKey key, const char* name, ArborType type,
                                      const void* data, uint32_t size, uint32_t create);
    /* 10 */
    ArborResult(ARBOR_CALL* SetValueByIndex)(ArborObject* object, ArborKey key, uint32_t index, ArborType type,
                                             const void* data, uint32_t size, uint32_t create);
    ArborResult(ARBOR_CALL* GetKeyCount)(ArborObject* object, uint32_t* count, ArborKey key);
    ArborResult(ARBOR_CALL* GetValueCount)(ArborObject* object, uint32_t* count, ArborKey key);
    ArborResult(ARBOR_CALL* DeleteKey)(ArborObject* object, ArborKey parent, const char* path);
    ArborResult(ARBOR_CALL* DeleteKeyByInd)(ArborObject* object, ArborKey parent, uint32_t index);
    /* 15 */
    ArborResult(ARBOR_CALL* DeleteValue)(ArborObject* object, ArborKey key, const char* name);
    ArborResult(ARBOR_CALL* DeleteValueByInd)(ArborObject* object, ArborKey key, uint32_t index);
    ArborResult(ARBOR_CALL* Clean)(ArborObject* object);
    ArborResult(ARBOR_CALL* CopyKey)(ArborObject* object, ArborKey key, ArborObject* destination,
                                     ArborKey destinationKey);
    ArborResult(ARBOR_CALL* CopyKeyByName)(ArborObject* object, const char* path, ArborObject* destination);
    /* 20 */
    ArborResult(ARBOR_CALL* SetRootKey)(ArborObject* object, ArborKey key);
    ArborResult(ARBOR_CALL* SetRootStr)(ArborObject* object, const char* path);
    ArborResult(ARBOR_CALL* Save)(ArborObject* object, ArborWord unused); /* 22 */
} ArborMethods;

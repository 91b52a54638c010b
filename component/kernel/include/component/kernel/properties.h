/// The ids of the properties of a `Registry` object. In an id, bits 28 to 31 are a range, bits 20 to 27 the type of the
/// value and bits 0 to 19 a number; only the whole id identifies the property.
#pragma once

#include <component/kernel/types.h>

namespace kernel {

enum PropertyId : std::uint32_t {
    PropertyInterfaceVersion = 0x21A00082,
    PropertyDescription = 0x20900083,
    PropertyReadOnly = 0x20601000,   // non-zero: every change is refused
    PropertyOption1002 = 0x20401002,
    PropertyOption1003 = 0x20401003,
    PropertySaveOnClose = 0x20601004,   // non-zero: the document is saved when the object closes
    PropertyOpenFlags = 0x2040004A,
    PropertyRootPoint = 0x20901005,      // path of the current root
    PropertyRootKey = 0x20C01006,        // the current root as a `KeyHandle`
    PropertyName = 0x20900040,           // the document's path: 16-bit text with its terminator
    PropertyIoObject = 0x33201000,       // address of the object that holds the document when `Name` is empty
    PropertySynchronised = 0x30601001,   // set non-zero before `ObjectReady`: threads may share the object
    PropertyBackupMode = 0x30201002,     // one byte: 0 none, 1 ".bak2" at each save, 2 ".bak" once and then as 1
    PropertyNameCodePage = 0x21B00040,
};

/// Bit of `OpenFlags`: creates a missing document file, empty.
inline constexpr std::uint32_t kOpenFlagCreate = 2;

}   // namespace kernel

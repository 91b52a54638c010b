/// Character and entity references of XML: decoding them into UTF-8.
#pragma once

#include <cstdint>
#include <string>

namespace arbor::module {

/// Appends `length` bytes to `output` with their references replaced; a length of -1 means up to the first 0 byte. A
/// reference that can't be replaced stays as it is. Returns whether every reference was understood. Throws
/// std::bad_alloc or std::length_error from the string.
bool DecodeEntities(const char* data, std::int32_t length, std::string& output);

/// Appends the UTF-8 form of a code point below 0x10000; appends nothing for one above.
void AppendUtf8(std::uint32_t codePoint, std::string& output);

}   // namespace arbor::module

/// Escaping of bytes for XML attributes and texts, and whole lines with one simple element, the bulk of a document.
#pragma once

#include "document/text_buffer.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace arbor::module {

/// Appends `length` bytes so that a reader returns them unchanged; a length of -1 means up to the first 0 byte. Quotes,
/// `&`, `<` and `>` become entities, other control bytes than line ends become hexadecimal references; bytes from 0x7F
/// up are not changed. Throws std::bad_alloc; `output` then holds a part of the escaped bytes.
void EscapeXml(const char* data, std::int32_t length, TextBuffer& output);

/// Appends `<element attribute="value">text</element>` and a line end, indented by `indent` spaces, with one check of
/// the capacity. `value` and `text` are escaped and together hold at most `kMaxLineBytes`; the names are not escaped.
/// Throws as `EscapeXml`.
void AppendElementLine(std::size_t indent, std::string_view element, std::string_view attribute, std::string_view value,
                       std::string_view text, TextBuffer& output);

/// Limits how much capacity `AppendElementLine` reserves: it reserves the longest escaped form of its arguments.
inline constexpr std::size_t kMaxLineBytes = 4096;

}   // namespace arbor::module

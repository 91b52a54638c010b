/// The mapping between a tree of keys and an XML text in memory, in both directions.
///
/// One form is written, the native one. Two are read: the native form, and any other XML ("foreign"), whose elements
/// become keys and whose attributes and texts become tSTRING values. No lock, no file, no recursion in either
/// direction.
#pragma once

#include "tree/contract.h"

#include <cstddef>
#include <cstdint>

namespace arbor::module {

struct KeyTree;
class Key;
class TextBuffer;
class XmlReader;
class XmlWriter;

inline constexpr char kRootElement[] = "arbor";
inline constexpr char kKeyElement[] = "key";
inline constexpr char kNameAttribute[] = "name";
inline constexpr char kNameOpening[] = " name=\"";   // what a save writes before a name

/// Spaces by which each level of a written document is indented.
inline constexpr int kIndentStep = 4;

/// Deepest nesting of key elements, or of foreign elements, in a document that loads.
inline constexpr std::size_t kMaxDepth = 2048;

/// Appends the document of `tree` to `output`. Returns `kNotInitialised` without a tree, `kOutOfMemory`, or the failure
/// of a value's `ToText`; after a failure `output` holds a part of the document.
ResultCode SaveDocument(const KeyTree& tree, TextBuffer& output);

/// Adds the keys and values of an XML text, without a byte order mark, to `tree`. Returns `kNotInitialised` without a
/// tree, or a failure of `ReadChildren`; the tree then keeps what was added before it.
ResultCode LoadDocument(KeyTree& tree, const char* data, std::uint32_t sizeBytes);

/// Writes the child keys of `root` with all below them, then its values, at `indent` spaces. Returns 0 or the failure
/// of a value's `ToText`. Throws std::bad_alloc or std::length_error.
ResultCode WriteBody(const Key& root, XmlWriter& writer, int indent);

/// Reads native elements into `root` until something other than a start tag follows. Returns `kBadDocument` for a
/// syntax error, `kInvalidArgument` for an unknown element or a missing name, `kMediaError` beyond `kMaxDepth`,
/// `kOutOfMemory`, or the failure of a value's `FromText`. Throws std::bad_alloc or std::length_error.
ResultCode ReadChildren(Key& root, XmlReader& reader);

/// The same for foreign elements.
ResultCode ReadForeign(Key& root, XmlReader& reader);

}   // namespace arbor::module

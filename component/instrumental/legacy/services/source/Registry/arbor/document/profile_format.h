/// The mapping between the tree and an XML text in memory: what stands behind `KeyTree::SaveDocument` and
/// `LoadDocument`.
///
/// One form is written, the native one. Any other XML is read by a fixed rule: elements become keys, attributes and
/// text become text values. No lock, no file. Depth costs no stack in either direction.
#pragma once

#include "tree/contract.h"
#include "tree/key.h"

#include <string_view>

namespace arbor {

class XmlReader;
class XmlWriter;

inline constexpr char kRootElement[] = "arbor";
inline constexpr char kKeyElement[] = "key";
inline constexpr char kNameAttribute[] = "name";
inline constexpr char kNameOpening[] = " name=\"";   // as a save writes it in front of the name

/// Blanks that each level of a written document is indented by.
inline constexpr int kIndentStep = 4;

/// Elements with content may nest this deep in a document that loads.
inline constexpr std::size_t kDeepestLevel = 2048;

/// Writes the child keys of `root`, with all below them, and then its values, at `indent`. Returns 0 or what a value's
/// text form fails with. Throws what a string's allocation throws.
ResultCode WriteBody(const Key& root, XmlWriter& writer, int indent);

/// Reads native elements into `root` up to the first place where none starts. `kBadDocument` for syntax,
/// `kInvalidArgument` for an unknown element or a missing name, `kMediaError` for keys too deep, `kOutOfMemory`, or
/// what a value says to its text. Throws what a string's allocation throws.
ResultCode ReadChildren(Key& root, XmlReader& reader);

/// Reads foreign elements into `root`, likewise.
ResultCode ReadForeign(Key& root, XmlReader& reader);

}   // namespace arbor

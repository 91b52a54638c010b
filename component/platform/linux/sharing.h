/// The sharing of open files among all openers of this layer, in this process and in others.
///
/// An opener leaves marks on the open file: one for each right that it uses and one for each that it denies to others.
/// The marks are shared locks of single bytes far behind the end of any content, which the system ties to the open file
/// description: two openers of one process have their own, and they go with the last descriptor, however the process
/// ends. First an opener leaves its marks, then it looks for marks of others that don't go with them; so of two that
/// exclude each other never both go on.
#pragma once

#include <cstdint>

namespace platform {

/// A right beside those of opening, for whoever takes a name from the file or gives it one: they exclude each other, so
/// that what one of them found under a name is still there when it acts.
inline constexpr std::uint32_t kChangeName = 8;

/// Marks `descriptor` for an opener that uses and denies the given rights (`kShareRead` and its neighbours, as bits)
/// and looks for others. False, with its marks taken back: another opener stands against it. An opener that uses no
/// right isn't looked at. A file system without such locks lets everybody in; one that has them and refuses one lets
/// nobody in.
[[nodiscard]] bool ClaimFile(int descriptor, std::uint32_t uses, std::uint32_t denies);

/// Takes back the marks of rights in use, as the opener itself goes on without them.
void DropUse(int descriptor, std::uint32_t uses);

}   // namespace platform

/// Copying a subtree between two objects, through their interfaces alone.
#pragma once

#include "tree/contract.h"

namespace arbor::module {

/// Copies all values and keys below `sourceKey` into `destinationKey`. Uses only the method tables of the two objects:
/// the destination can be any object with the interface. A value of the same name is overwritten, a key of the same
/// name is merged, and what only the destination has stays. The first failure ends the copy and is the result; what was
/// copied before it stays. The destination key must not lie below the source key: such a copy would never end.
ResultCode CopyKeyTree(HostObject* source, KeyHandle sourceKey, HostObject* destination, KeyHandle destinationKey);

}   // namespace arbor::module

/// Copying a subtree between two objects, through their interfaces alone.
#pragma once

#include "tree/contract.h"

namespace arbor::module {

/// Copies the values and all that lies below `sourceKey` into `destinationKey`, through the method tables of the two
/// objects: the destination can be any object with the interface. What is there already takes the new values and keeps
/// the rest. The first failure ends the copy and is the result; what was copied before it stays. The destination key
/// must not lie below the source key: such a copy would never end.
ResultCode CopyKeyTree(HostObject* source, KeyHandle sourceKey, HostObject* destination, KeyHandle destinationKey);

}   // namespace arbor::module

/// The entry of one value in its key's list: the value's name, the name's hash and the value object.
#pragma once

#include "tree/name.h"
#include "tree/value/value.h"

#include <boost/intrusive/list.hpp>

namespace arbor::module {

/// Built in a host block and owned by a `Key`, which also frees the name's block and the value (`Key::RemoveEntry`).
struct ValueEntry : boost::intrusive::list_base_hook<>, HashedName {
    Value* value = nullptr;
};

using ValueList = boost::intrusive::list<ValueEntry, boost::intrusive::constant_time_size<true>>;

}   // namespace arbor::module

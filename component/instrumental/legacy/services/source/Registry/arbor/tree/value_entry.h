/// A value's place in its key: the name, and the value object that the entry owns.
#pragma once

#include "tree/name.h"
#include "tree/value/value.h"

#include <boost/intrusive/list.hpp>

namespace arbor::module {

/// Built in place in a host block by `Key`, which owns it; its name's block and its value go with it, by `Key`'s hand.
struct ValueEntry : boost::intrusive::list_base_hook<>, HashedName {
    Value* value = nullptr;
};

using ValueList = boost::intrusive::list<ValueEntry, boost::intrusive::constant_time_size<true>>;

}   // namespace arbor::module

/// The part of an exception that its copies share.
#pragma once

#include <component/ilk/error/property_value.h>
#include <component/ilk/error/stack_trace.h>

#include <atomic>

namespace ilk {

struct Property {
    FixedText<31> key;
    PropertyValue value;
};

using PropertyList = vector_t<Property>;   // in the order of first insertion

struct ExceptionDetails {
    CompactString message;
    CompactString text;   // result of `what()`; empty until it is built
    StackTrace stack;
    PropertyList properties;
    basic_string_t<char> reserved;   // always empty
    std::atomic<std::uint32_t> references{1};
};

}   // namespace ilk

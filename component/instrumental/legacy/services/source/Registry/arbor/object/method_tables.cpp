// The list of the methods, and the two tables that templates generate from it.

#include "object/method_tables.h"

#include "object/arbor.h"

#include <utility>

namespace arbor::module {

namespace {

template <auto... methods>
struct MethodList {};

using ArborMethods =
    MethodList<&Arbor::OpenKey, &Arbor::OpenKeyByIndex, &Arbor::OpenNextKey, &Arbor::CloseKey, &Arbor::GetKeyName,
               &Arbor::GetKeyNameByIndex, &Arbor::GetValue, &Arbor::GetValueByIndex, &Arbor::GetValueNameByIndex,
               &Arbor::SetValue, &Arbor::SetValueByIndex, &Arbor::GetKeyCount, &Arbor::GetValueCount, &Arbor::DeleteKey,
               &Arbor::DeleteKeyByInd, &Arbor::DeleteValue, &Arbor::DeleteValueByInd, &Arbor::Clean, &Arbor::CopyKey,
               &Arbor::CopyKeyByName, &Arbor::SetRootKey, &Arbor::SetRootStr, &Arbor::Save>;

template <auto method, std::size_t slot>
struct MethodEntry;

/// `Call` is for the object's own table and runs the method. `Forward` is for the table that the host registers and
/// calls the function at `slot` of the object's own table, whatever object it is.
template <class... Arguments, ResultCode (Arbor::*method)(Arguments...), std::size_t slot>
struct MethodEntry<method, slot> {
    static ResultCode Call(HostObject* object, Arguments... arguments) {
        return (static_cast<Arbor*>(object)->*method)(arguments...);
    }
    static ResultCode Forward(HostObject* object, Arguments... arguments) {
        using Function = ResultCode (*)(HostObject*, Arguments...);
        return SlotOf<Function>(object->MethodFace, slot)(object, arguments...);
    }
};

template <auto... methods, std::size_t... slots>
MethodAddresses CallAddresses(MethodList<methods...>, std::index_sequence<slots...>) {
    return {reinterpret_cast<void*>(&MethodEntry<methods, slots>::Call)...};
}

template <auto... methods, std::size_t... slots>
MethodAddresses ForwarderAddresses(MethodList<methods...>, std::index_sequence<slots...>) {
    return {reinterpret_cast<void*>(&MethodEntry<methods, slots>::Forward)...};
}

using Slots = std::make_index_sequence<kRegistryMethods>;

}   // namespace

const MethodAddresses& ObjectMethods() {
    static const MethodAddresses table = CallAddresses(ArborMethods(), Slots());
    return table;
}

MethodAddresses MakeForwarders() {
    MethodAddresses table = ForwarderAddresses(ArborMethods(), Slots());
    table[static_cast<std::size_t>(Method::Save)] = nullptr;
    return table;
}

}   // namespace arbor::module

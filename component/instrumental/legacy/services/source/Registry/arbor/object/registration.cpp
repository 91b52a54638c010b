// The entry point, and the three tables that it registers with the host: lifecycle handlers, methods and properties.

#include "object/registration.h"

#include "object/arbor.h"
#include "object/arbor_layout.h"
#include "object/method_tables.h"

#include <component/kernel/interface.h>
#include <component/kernel/properties.h>
#include <component/kernel/trace.h>

#include <array>
#include <exception>
#include <new>

namespace arbor::module {

namespace {

// Lifecycle

ResultCode ObjectNew(HostObject* object, std::uint32_t construct) {
    if (construct == 0) {
        static_cast<Arbor*>(object)->~Arbor();
        return kDone;
    }
    try {
        ::new (static_cast<void*>(object)) Arbor;
        return kDone;
    } catch (const std::exception& e) {
        Trace(nullptr, TraceFailure, "krn\tException in Arbor::ObjectNew: %s", e.what());
    } catch (...) {
        Trace(nullptr, TraceFailure, "krn\tException in Arbor::ObjectNew");
    }
    return kUnexpected;
}

ResultCode ObjectReady(HostObject* object) { return static_cast<Arbor*>(object)->Ready(); }

ResultCode ObjectClosing(HostObject* object) { return static_cast<Arbor*>(object)->Closing(); }

// Properties

using PropertyMethod = ResultCode (Arbor::*)(std::uint32_t*, std::uint32_t, void*, std::uint32_t);

template <PropertyMethod method>
ResultCode CallProperty(HostObject* object, std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size) {
    return (static_cast<Arbor*>(object)->*method)(count, id, buffer, size);
}

template <PropertyMethod method>
HostWord Handler() {
    return reinterpret_cast<HostWord>(&CallProperty<method>);
}

constexpr char kDescription[] = "arbor";

// Flag values that the host defines: it is known which value each kind of row needs, but not what each bit means.
enum PropertyFlags : HostWord {
    Handlers = 0,
    Field1 = 1,
    Field3 = 3,
    LiteralNumber = 4,
    LiteralText = 0x0C,
    Field23 = 0x23,
};

// Static storage: the host keeps the addresses and reads the tables each time it creates an object.
std::array<PropertyRow, 14> PropertyTable;
std::array<void*, kInternalSlots> InternalMethodTable;

std::array<PropertyRow, 14> MakePropertyRows() {
    using Layout = ArborLayout;
    const auto text = reinterpret_cast<HostWord>(kDescription);
    const HostWord getRootPoint = Handler<&Arbor::getRootPoint>();
    const HostWord setRootPoint = Handler<&Arbor::setRootPoint>();
    const HostWord getRootKey = Handler<&Arbor::getRootKey>();
    const HostWord setRootKey = Handler<&Arbor::setRootKey>();
    const HostWord getName = Handler<&Arbor::getName>();
    const HostWord setName = Handler<&Arbor::setName>();
    return {{
        {PropertyInterfaceVersion, 1, 4, LiteralNumber, 0, 0},
        {PropertyDescription, text, sizeof kDescription, LiteralText, 0, 0},
        {PropertyReadOnly, Layout::kReadOnly, 4, Field3, 0, 0},
        {PropertyOption1002, Layout::kOption1002, 4, Field23, 0, 0},
        {PropertyOption1003, Layout::kOption1003, 4, Field1, 0, 0},
        {PropertySaveOnClose, Layout::kSaveOnClose, 4, Field3, 0, 0},
        {PropertyOpenFlags, Layout::kOpenFlags, 4, Field23, 0, 0},
        {PropertyRootPoint, 0, 0, Handlers, getRootPoint, setRootPoint},
        {PropertyRootKey, 0, 0, Handlers, getRootKey, setRootKey},
        {PropertyName, 0, 0, Handlers, getName, setName},
        {PropertyIoObject, Layout::kIoObject, sizeof(HostObject*), Field23, 0, 0},
        {PropertySynchronised, Layout::kSynchronised, 4, Field3, 0, 0},
        {PropertyBackupMode, Layout::kBackupMode, 1, Field3, 0, 0},
        {PropertyNameCodePage, 1200, 4, LiteralNumber, 0, 0},
    }};
}

ResultCode Register(HostObject* root) {
    PropertyTable = MakePropertyRows();
    InternalMethodTable[kObjectNewSlot] = reinterpret_cast<void*>(&ObjectNew);
    InternalMethodTable[kObjectReadySlot] = reinterpret_cast<void*>(&ObjectReady);
    InternalMethodTable[kObjectClosingSlot] = reinterpret_cast<void*>(&ObjectClosing);
    static const MethodAddresses RegistryMethodTable = MakeForwarders();   // filled by the first call only

    const auto registerInterface = SlotOf<RegisterInterfaceCall>(root->MethodFace, kRegisterInterfaceSlot);
    const ResultCode code =
        registerInterface(root, kRegistryInterface, kRegistryModule, 0, 1, 0x55, InternalMethodTable.data(),
                          InternalMethodTable.size(), RegistryMethodTable.data(), RegistryMethodTable.size(),
                          PropertyTable.data(), PropertyTable.size(), ArborLayout::kDataAreaBytes, 0);
    if (IsFailure(code)) Trace(HostRoot, TraceRegistration, "Registry(IID_REGISTRY)registered [%terr]", code);
    return code;
}

}   // namespace

}   // namespace arbor::module

extern "C" int ModuleEntry(void* first, std::uint32_t reason, void* third) {
    if (reason != kernel::kHostStartReason) return 1;
    auto* root = static_cast<kernel::HostObject*>(first);
    auto& result = *static_cast<kernel::ResultCode*>(third);
    kernel::HostRoot = root;
    result = 0;
    result = arbor::module::Register(root);
    if (kernel::IsSuccess(result)) return 1;
    kernel::Trace(root, kernel::TraceFailure, "cannot register \"Registry\" interface");
    return 0;
}

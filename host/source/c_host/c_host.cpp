// Implements `ArborOpen` and `ArborClose` by the stand-in host, with one kernel for all open objects.

#include <host/c_host.h>
#include <host/object.h>
#include <host/system.h>

#include <map>
#include <mutex>
#include <new>
#include <utility>

namespace {

constexpr kernel::ResultCode kNotFound = kernel::MakeResult(0x8000004C);

struct Session {
    host::Kernel kernel{};
    std::map<kernel::HostObject*, std::unique_ptr<host::Object>> objects{};
};

std::mutex sessionMutex;

/// Null unless objects are open. Never destroyed: at the end of the process the destructors of other static variables,
/// which an open object may use, run in any order.
std::unique_ptr<Session>& CurrentSession() {
    static auto& session = *new std::unique_ptr<Session>;
    return session;
}

std::filesystem::path PathOf(const char* utf8) { return std::filesystem::path(reinterpret_cast<const char8_t*>(utf8)); }

std::unique_ptr<Session> StartSession(const char* module) {
    auto session = std::make_unique<Session>();
    session->kernel.LoadModule(PathOf(module));
    return session;
}

kernel::ResultCode Open(Session& session, const char* document, std::uint32_t openFlags, kernel::HostObject*& opened) {
    auto object = std::make_unique<host::Object>(session.kernel);
    object->SetDocument(PathOf(document));
    object->SetNumber(kernel::PropertyOpenFlags, openFlags);
    object->SetNumber(kernel::PropertySynchronised, 1);
    const kernel::ResultCode code = object->Ready();
    if (kernel::IsFailure(code)) return code;
    kernel::HostObject* const address = object->Get();
    session.objects.emplace(address, std::move(object));
    opened = address;
    return code;
}

kernel::ResultCode OpenInSession(const char* module, const char* document, std::uint32_t openFlags,
                                 kernel::HostObject*& opened) {
    const std::scoped_lock lock(sessionMutex);
    std::unique_ptr<Session>& session = CurrentSession();
    if (session != nullptr) return Open(*session, document, openFlags, opened);
    std::unique_ptr<Session> first = StartSession(module);
    const kernel::ResultCode code = Open(*first, document, openFlags, opened);
    if (kernel::IsSuccess(code)) session = std::move(first);
    return code;
}

kernel::ResultCode CodeOfException() {
    try {
        throw;
    } catch (const host::ModuleError&) {
        return kNotFound;
    } catch (const std::bad_alloc&) {
        return kernel::kOutOfMemory;
    } catch (const host::PathError&) {
        return kernel::kInvalidArgument;
    } catch (const std::filesystem::filesystem_error&) {   // no such path in the system's encoding
        return kernel::kInvalidArgument;
    } catch (...) {
        return kernel::kUnexpected;
    }
}

}   // namespace

ArborResult ARBOR_CALL ArborOpen(const char* module, const char* document, uint32_t openFlags, ArborObject** object) {
    if (object == nullptr) return kernel::kInvalidArgument;
    *object = nullptr;
    if (module == nullptr || document == nullptr) return kernel::kInvalidArgument;
    try {
        kernel::HostObject* opened = nullptr;
        const kernel::ResultCode code = OpenInSession(module, document, openFlags, opened);
        *object = reinterpret_cast<ArborObject*>(opened);
        return code;
    } catch (...) {
        return CodeOfException();
    }
}

void ARBOR_CALL ArborClose(ArborObject* object) {
    const std::scoped_lock lock(sessionMutex);
    std::unique_ptr<Session>& session = CurrentSession();
    if (session == nullptr) return;
    session->objects.erase(reinterpret_cast<kernel::HostObject*>(object));
    if (session->objects.empty()) session.reset();
}

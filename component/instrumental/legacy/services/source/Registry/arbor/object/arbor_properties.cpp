// The handlers of the properties that don't simply live in the object. None of them takes the lock or reads the id.

#include "object/arbor.h"
#include "tree/path.h"
#include "tree/value/buffer_contract.h"

#include <component/ilk/error/exception.h>
#include <component/ilk/error/result_code.h>
#include <component/kernel/trace.h>

namespace arbor::module {

namespace {

void ClearCount(std::uint32_t* count) {
    if (count != nullptr) *count = 0;
}

}   // namespace

ResultCode Arbor::getRootPoint(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    ClearCount(count);
    ResultCode code = kNotInitialised;
    if (tree.top != nullptr) {
        std::uint32_t length = 0;
        code = tree.top->GetPath(tree.current, static_cast<char*>(buffer), size, length, kPathSeparator);
        if (count != nullptr) *count = length;
    }
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::getRootPoint", code);
    return code;
}

ResultCode Arbor::setRootPoint(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    ClearCount(count);
    const ResultCode code = TakeRootPath(buffer, size);
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::setRootPoint", code);
    return code;
}

ResultCode Arbor::TakeRootPath(const void* buffer, std::uint32_t size) {
    if (buffer == nullptr) return kInvalidArgument;
    HostBlock<char> path;
    if (const ResultCode code = TakeBlock(this, size, 1, path); IsFailure(code)) return code;
    std::memcpy(path.get(), buffer, size);
    if (tree.top == nullptr) {
        HostFree(this, PendingRootPath);
        PendingRootPath = path.release();   // kept until the load has made the tree to look it up in
        return kDone;
    }
    const ResultCode code = tree.MoveCurrentTo(path.get());
    Trace(this, TraceCall, "Setting root to %s: %terr", path.get(), code);
    return code;
}

ResultCode Arbor::getRootKey(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    ClearCount(count);
    const auto current = reinterpret_cast<KeyHandle>(tree.current);
    const ResultCode code = tree.top != nullptr ? CopyBytesOut(&current, sizeof current, buffer, size, count)
                                                : CopyTextOut(PendingRootPath, buffer, size, count);
    Trace(this, TraceCall, "%s : %terr", "Arbor::getRootKey", code);
    return code;
}

ResultCode Arbor::setRootKey(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    ClearCount(count);
    ResultCode code = kInvalidArgument;
    if (buffer != nullptr && size >= sizeof(KeyHandle)) {
        KeyHandle handle = 0;
        std::memcpy(&handle, buffer, sizeof handle);
        code = tree.MoveCurrentTo(handle);
    }
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::setRootKey", code);
    return code;
}

ResultCode Arbor::getName(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    const std::uint32_t needed = (Name.size() + 1) * static_cast<std::uint32_t>(sizeof(char16_t));
    ResultCode code = kBufferTooSmall;   // also where there is no buffer: this property doesn't measure with a success
    if (count != nullptr) *count = needed;
    if (needed <= size) code = CopyBytesOut(Name.data(), needed, buffer, size, count);
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::getName", code);
    return code;
}

ResultCode Arbor::setName(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    if (buffer == nullptr || size % sizeof(char16_t) != 0) return kInvalidArgument;
    ClearCount(count);
    ResultCode code = kDone;
    try {
        // The terminator isn't taken. Nothing at all has none: the length comes out above the largest and is refused.
        Name = Text(static_cast<const char16_t*>(buffer), size / static_cast<std::uint32_t>(sizeof(char16_t)) - 1);
    } catch (...) {
        code = ilk::ToHostResult(ilk::ResultFromCurrentException());
    }
    Trace(this, TraceCall, "arbor\t%s : %terr", "Arbor::setName", code);
    return code;
}

}   // namespace arbor::module

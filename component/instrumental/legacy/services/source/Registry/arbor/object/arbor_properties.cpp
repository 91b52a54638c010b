// The handlers of the properties that aren't plain fields of the object. None of them takes the lock or reads the id.

#include "object/arbor.h"
#include "object/method.h"
#include "tree/value/buffer_contract.h"

#include <component/ilk/error/exception.h>
#include <component/ilk/error/result_code.h>

namespace arbor::module {

ResultCode Arbor::getRootPoint(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    const auto read = [&] {
        if (tree.top == nullptr) return kNotInitialised;
        return CopyPath(count, *tree.top, tree.current, static_cast<char*>(buffer), size);
    };
    return RunHandler(count, read, kNameLine, "Arbor::getRootPoint");
}

ResultCode Arbor::setRootPoint(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    return RunHandler(
        count, [&] { return SetRootPath(buffer, size); }, kNameLine, "Arbor::setRootPoint");
}

ResultCode Arbor::SetRootPath(const void* buffer, std::uint32_t size) {
    if (buffer == nullptr) return kInvalidArgument;
    HostBlock<char> path;
    if (const ResultCode code = AllocateBlock(this, size, 1, path); IsFailure(code)) return code;
    std::memcpy(path.get(), buffer, size);
    if (tree.top == nullptr) {
        HostFree(this, PendingRootPath);
        PendingRootPath = path.release();   // applied after the load
        return kDone;
    }
    const ResultCode code = tree.MoveCurrentTo(path.get());
    Trace(this, TraceCall, "Setting root to %s: %terr", path.get(), code);
    return code;
}

ResultCode Arbor::getRootKey(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    const auto read = [&] {
        if (tree.top == nullptr) return CopyTextOut(PendingRootPath, buffer, size, count);
        return CopyBytesOut(&tree.current, sizeof tree.current, buffer, size, count);
    };
    return RunHandler(count, read, "%s : %terr", "Arbor::getRootKey");   // this line has no "arbor\t"
}

ResultCode Arbor::setRootKey(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    const auto write = [&] {
        if (buffer == nullptr || size < sizeof(KeyHandle)) return kInvalidArgument;
        KeyHandle handle = 0;
        std::memcpy(&handle, buffer, sizeof handle);
        return tree.MoveCurrentTo(handle);
    };
    return RunHandler(count, write, kNameLine, "Arbor::setRootKey");
}

ResultCode Arbor::getName(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    const auto read = [&] {
        const std::uint32_t needed = (Name.size() + 1) * static_cast<std::uint32_t>(sizeof(char16_t));
        SetOut(count, needed);
        // Also without a buffer: unlike other reads, this one never measures with a success.
        if (needed > size) return kBufferTooSmall;
        return CopyBytesOut(Name.data(), needed, buffer, size, count);
    };
    return RunHandler(count, read, kNameLine, "Arbor::getName");
}

ResultCode Arbor::setName(std::uint32_t* count, std::uint32_t, void* buffer, std::uint32_t size) {
    if (buffer == nullptr || size % sizeof(char16_t) != 0) return kInvalidArgument;   // no line, `count` unchanged
    const auto write = [&] {
        try {
            // The last character is the terminator. For a size of 0 the length wraps around, and `Text` throws.
            Name = Text(static_cast<const char16_t*>(buffer), size / static_cast<std::uint32_t>(sizeof(char16_t)) - 1);
            return kDone;
        } catch (...) {
            return ilk::ToHostResult(ilk::ResultFromCurrentException());
        }
    };
    return RunHandler(count, write, kNameLine, "Arbor::setName");
}

}   // namespace arbor::module

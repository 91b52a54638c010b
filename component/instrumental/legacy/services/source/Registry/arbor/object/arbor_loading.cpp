// Loading of the object's document. Runs alone, before the host lets callers use the interface.

#include "document/document_loading.h"
#include "object/arbor.h"

#include <component/ilk/error/result_code.h>
#include <component/kernel/io_object.h>
#include <component/kernel/properties.h>
#include <component/kernel/trace.h>

namespace arbor::module {

ResultCode Arbor::LoadFromFile() {
    if (DocumentPath().find(u'%') != std::u16string_view::npos) {
        Trace(this, TraceWarning,
              "arbor\t%S contains '%%' symbol, but environment variable expansion is currently not supported",
              Name.data());
    }
    const ResultCode code = LoadExistingFile();
    if (code != kNoDocument || (OpenFlags & kOpenFlagCreate) == 0) return code;
    const ResultCode created = ilk::ToHostResult(CreateMissingFile(Name));
    return created == kAlreadyExists ? LoadExistingFile() : created;
}

ResultCode Arbor::LoadExistingFile() {
    DocumentFile document(this);
    ResultCode code = document.Read(Name);
    if (IsSuccess(code) && document.SizeBytes() != 0) {
        code = ilk::FromHostResult(readFromBuffer(document.Data(), document.SizeBytes()));
    }
    code = ilk::ToHostResult(code);
    return IsSuccess(code) && PendingRootPath != nullptr ? ApplyPendingRootPath() : code;
}

ResultCode Arbor::ApplyPendingRootPath() {
    const ResultCode code = tree.MoveCurrentTo(PendingRootPath);
    if (IsFailure(code)) return code;
    HostFree(this, PendingRootPath);
    PendingRootPath = nullptr;
    return code;
}

ResultCode Arbor::LoadFromIoObject() {
    std::uint64_t size = 0;
    if (const ResultCode code = IoSize(IoObject, &size); IsFailure(code)) return code;
    const auto blockSize = static_cast<std::uint32_t>(size);
    if (blockSize == 0) return kDone;
    ilk::HostBuffer block(&SystemFace);
    if (block.Acquire(blockSize, false) == nullptr) return kOutOfMemory;
    std::uint32_t done = 0;   // not compared: the block is zeroed, and the object is responsible for its size
    if (const ResultCode code = IoRead(IoObject, &done, block.data(), blockSize); IsFailure(code)) return code;
    return readFromBuffer(static_cast<const char*>(block.data()), blockSize);
}

ResultCode Arbor::readFromBuffer(const char* data, std::uint64_t size) {
    const ResultCode code = LoadFromBytes(this, tree, data, size);
    if (IsSuccess(code)) ClearDirty();
    return code;
}

}   // namespace arbor::module

// Loads the object's document from its file or its `IoObject`. `Arbor::Ready` calls this and returns the code. No lock:
// the host lets callers use the interface only after a load.

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
    ResultCode code = LoadExistingFile();
    const bool isMissing = ilk::ToHostResult(code) == kNoDocument;
    if (isMissing && (OpenFlags & kOpenFlagCreate) != 0) {
        code = CreateMissingFile(Name);
        if (code == ilk::ResultAlreadyExists) code = LoadExistingFile();   // another process has just created it
    }
    return ilk::ToHostResult(code);
}

ResultCode Arbor::LoadExistingFile() {
    DocumentFile document(this);
    ResultCode code = document.Read(Name);
    if (IsSuccess(code) && document.SizeBytes() != 0) {
        code = ilk::FromHostResult(readFromBuffer(document.Data(), document.SizeBytes()));
    }
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
    std::uint32_t readBytes = 0;   // not compared: after a short read the zeroed rest of the block is parsed as well
    if (const ResultCode code = IoRead(IoObject, &readBytes, block.data(), blockSize); IsFailure(code)) return code;
    return readFromBuffer(static_cast<const char*>(block.data()), blockSize);
}

ResultCode Arbor::readFromBuffer(const char* data, std::uint64_t size) {
    const ResultCode code = LoadFromBytes(this, tree, data, size);
    if (IsSuccess(code)) ClearDirty();
    return code;
}

}   // namespace arbor::module

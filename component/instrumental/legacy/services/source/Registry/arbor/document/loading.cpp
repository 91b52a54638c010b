// Loading: the document's bytes, from its file or its host object, into the tree. Runs alone, before any method is
// called.

#include "document/profile_format.h"
#include "object/arbor.h"

#include <component/ilk/error/result_code.h>
#include <component/ilk/rtl/host_buffer.h>
#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/file.h>
#include <component/ilk/system/file/path.h>
#include <component/kernel/io_object.h>
#include <component/kernel/properties.h>
#include <component/kernel/trace.h>
#include <component/platform/faults.h>

#include <cstring>
#include <string_view>

namespace arbor {

namespace {

/// Above this a load goes on with a warning.
constexpr std::uint64_t kUsualSizeBytes = 0xA00000;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// The look at a document's first bytes, which may be the first touch of memory that a disk stands behind.
struct MarkTest {
    const char* data;
    bool found;

    static void Run(void* context) {
        auto& test = *static_cast<MarkTest*>(context);
        test.found = std::memcmp(test.data, kByteOrderMark.data(), kByteOrderMark.size()) == 0;
    }
};

}   // namespace

ResultCode Arbor::LoadFromFile() {
    if (DocumentPath().find(u'%') != std::u16string_view::npos) {
        Trace(this, TraceWarning,
              "arbor\t%S contains '%%' symbol, but environment variable expansion is currently not supported",
              Name.data());
    }
    ResultCode code = LoadExistingFile();
    if (code != kNoDocument || (OpenFlags & kOpenFlagCreate) == 0) return code;
    code = CreateMissingFile();
    return code == kAlreadyExists ? LoadExistingFile() : code;
}

ResultCode Arbor::LoadExistingFile() {
    const ResultCode code = ilk::ToHostResult(ReadDocumentFile());
    return IsSuccess(code) && PendingRootPath != nullptr ? ApplyPendingRootPath() : code;
}

ResultCode Arbor::ReadDocumentFile() {
    ilk::File file;
    std::uint64_t size = 0;
    ResultCode code = file.Open(Name.data(), ilk::kFileRead, ilk::kFileOpenExisting, 0);
    if (IsSuccess(code)) code = file.GetSize(size);
    if (IsFailure(code)) return code;
    if (size > kUsualSizeBytes) {
        // The one argument of 64 bits: the host shows its low half.
        Trace(this, TraceWarning, "arbor\t%S file size is too big (%d > 10Mb)", Name.data(), size);
    }
    const auto blockSize = static_cast<std::uint32_t>(size);
    if (blockSize == 0) return kDone;

    ilk::HostBuffer block(&SystemFace);
    if (block.Acquire(blockSize, false) == nullptr) return kOutOfMemory;
    std::uint32_t done = 0;
    code = file.Read(block.data(), blockSize, done);
    if (IsFailure(code)) return code;
    if (done != size) return kNotMatched;
    return ilk::FromHostResult(readFromBuffer(static_cast<const char*>(block.data()), size));
}

ResultCode Arbor::ApplyPendingRootPath() {
    const ResultCode code = tree.MoveCurrentTo(PendingRootPath);
    if (IsFailure(code)) return code;
    HostFree(this, PendingRootPath);
    PendingRootPath = nullptr;
    return code;
}

// Creates only a new file: another process may have saved the document since the load found none.
ResultCode Arbor::CreateMissingFile() {
    if (Name.empty()) return kInvalidArgument;
    static_cast<void>(ilk::CreateDirectories(ilk::ParentPath(DocumentPath())));   // the file's own code tells
    ilk::File file;
    return ilk::ToHostResult(file.Open(Name.data(), ilk::kFileWrite, ilk::kFileCreateNew, 0));
}

ResultCode Arbor::LoadFromIoObject() {
    std::uint64_t size = 0;
    if (const ResultCode code = IoSize(IoObject, &size); IsFailure(code)) return code;
    const auto blockSize = static_cast<std::uint32_t>(size);
    if (blockSize == 0) return kDone;
    ilk::HostBuffer block(&SystemFace);
    if (block.Acquire(blockSize, false) == nullptr) return kOutOfMemory;
    std::uint32_t done = 0;   // the object answers for its size; the block is zeroed
    if (const ResultCode code = IoRead(IoObject, &done, block.data(), blockSize); IsFailure(code)) return code;
    return readFromBuffer(static_cast<const char*>(block.data()), blockSize);
}

ResultCode Arbor::readFromBuffer(const char* data, std::uint64_t size) {
    if (size >= kByteOrderMark.size()) {
        MarkTest mark{data, false};
        if (const std::uint32_t exception = platform::CallGuarded(&MarkTest::Run, &mark); exception != 0) {
            Trace(this, TraceFailure, "arbor\tException 0x%.08lX in Arbor::readFromBuffer", exception);
            return kUnexpected;
        }
        if (mark.found) {
            data += kByteOrderMark.size();
            size -= kByteOrderMark.size();
        }
    }
    const ResultCode code = LoadDocument(tree, data, static_cast<std::uint32_t>(size));
    if (IsSuccess(code)) ClearDirty();
    return code;
}

}   // namespace arbor

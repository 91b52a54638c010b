// Reads a document's file, skips its byte order mark and passes the text to the parser; creates a missing file.

#include "document/document_loading.h"

#include "document/profile_format.h"

#include <component/ilk/system/file/detail/filesystem_impl.h>
#include <component/ilk/system/file/path.h>
#include <component/kernel/trace.h>
#include <component/platform/faults.h>
#include <component/platform/unicode.h>

#include <cstring>

namespace arbor::module {
namespace {

/// A larger document loads with a warning.
constexpr std::uint64_t kWarnSizeBytes = 0xA00000;

/// Tests for a byte order mark inside `CallGuarded`: the first access to a mapped file can raise a system exception.
struct MarkTest {
    const char* data;
    bool found;

    static void Run(void* context) {
        auto& test = *static_cast<MarkTest*>(context);
        test.found = std::memcmp(test.data, platform::kByteOrderMark.data(), platform::kByteOrderMark.size()) == 0;
    }
};

}   // namespace

ResultCode DocumentFile::Read(const Text& name) {
    std::uint64_t size = 0;
    ResultCode code = file.Open(name.data(), ilk::kFileRead, ilk::kFileOpenExisting, 0);
    if (IsSuccess(code)) code = file.GetSize(size);
    if (IsFailure(code)) return code;
    if (size > kWarnSizeBytes) {
        // The only argument of 64 bits in a trace line: the host prints its low half.
        Trace(host, TraceWarning, "arbor\t%S file size is too big (%d > 10Mb)", name.data(), size);
    }
    const auto blockSize = static_cast<std::uint32_t>(size);
    if (blockSize == 0) return kDone;
    if (block.Acquire(blockSize, false) == nullptr) return kOutOfMemory;
    std::uint32_t readBytes = 0;
    code = file.Read(block.data(), blockSize, readBytes);
    if (IsFailure(code)) return code;
    return readBytes == size ? kDone : kNotMatched;
}

ResultCode CreateMissingFile(const Text& name) {
    static_cast<void>(ilk::CreateDirectories(ilk::ParentPath(name.data())));   // the creation's own code decides
    ilk::File file;
    return file.Open(name.data(), ilk::kFileWrite, ilk::kFileCreateNew, 0);
}

ResultCode LoadFromBytes(const HostObject* object, KeyTree& tree, const char* data, std::uint64_t sizeBytes) {
    if (sizeBytes >= platform::kByteOrderMark.size()) {
        MarkTest mark{data, false};
        if (const std::uint32_t exception = platform::CallGuarded(&MarkTest::Run, &mark); exception != 0) {
            Trace(object, TraceFailure, "arbor\tException 0x%.08lX in Arbor::readFromBuffer", exception);
            return kUnexpected;
        }
        if (mark.found) {
            data += platform::kByteOrderMark.size();
            sizeBytes -= platform::kByteOrderMark.size();
        }
    }
    return LoadDocument(tree, data, static_cast<std::uint32_t>(sizeBytes));
}

}   // namespace arbor::module

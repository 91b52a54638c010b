// Opens, reads and writes one file, and translates the arguments of `Open` into the system's.

#include <component/ilk/system/file/file.h>

#include <component/platform/files.h>

#include <span>
#include <utility>

namespace ilk {
namespace {

/// A bit or value of this library and the system's for it.
struct MappedNumber {
    std::uint32_t number;
    std::uint32_t systemNumber;
};

constexpr MappedNumber kAccess[] = {
    {kFileRead, platform::kGenericRead},
    {kFileWrite, platform::kGenericWrite},
    {kFileExecute, platform::kGenericExecute},
    {kFileDelete, platform::kAccessDelete},
};

constexpr MappedNumber kSharing[] = {
    {kFileShareRead, platform::kShareRead},
    {kFileShareWrite, platform::kShareWrite},
    {kFileShareDelete, platform::kShareDelete},
};

constexpr MappedNumber kCreation[] = {
    {kFileCreateAlways, platform::kCreateAlways},
    {kFileCreateNew, platform::kCreateNew},
    {kFileOpenAlways, platform::kOpenAlways},
    {kFileOpenExisting, platform::kOpenExisting},
    {kFileTruncateExisting, platform::kTruncateExisting},
};

constexpr MappedNumber kFlags[] = {
    {kFileReadOnly, platform::kAttributeReadOnly},
    {kFileArchive, platform::kAttributeArchive},
    {kFileHidden, platform::kAttributeHidden},
    {kFileSystem, platform::kAttributeSystem},
    {kFileNoBuffering, platform::kFlagNoBuffering},
    {kFileRandomAccess, platform::kFlagRandomAccess},
    {kFileSequentialScan, platform::kFlagSequentialScan},
    {kFileBackupSemantics, platform::kFlagBackupSemantics},
};

std::uint32_t MapBits(std::span<const MappedNumber> table, std::uint32_t bits) {
    std::uint32_t mapped = 0;
    for (const MappedNumber& row : table) {
        if ((bits & row.number) != 0) mapped |= row.systemNumber;
    }
    return mapped;
}

std::uint32_t MapCreation(std::uint32_t creation) {
    for (const MappedNumber& row : kCreation) {
        if (row.number == creation) return row.systemNumber;
    }
    return 0;
}

/// Closes `handle` unless it is invalid, and sets it to invalid.
ResultCode CloseOne(platform::Handle& handle) {
    if (handle == platform::kInvalidHandle) return ResultOk;
    return ResultOfCall(platform::CloseHandle(std::exchange(handle, platform::kInvalidHandle)));
}

}   // namespace

File::~File() { CloseAll(); }

ResultCode File::Open(const char16_t* path, std::uint32_t access, std::uint32_t creation, std::uint32_t flags) {
    CloseAll();
    const platform::SecurityAttributes security;
    handle = platform::CreateFileW(path, MapBits(kAccess, access), MapBits(kSharing, access), &security,
                                   MapCreation(creation), MapBits(kFlags, flags), nullptr);
    return ResultOfCall(handle != platform::kInvalidHandle);
}

ResultCode File::OpenReplacement(const char16_t* path, const char16_t* original, const char16_t* backup) {
    CloseAll();
    handle = platform::CreateReplacementFile(path, original, backup, &reservation);
    return ResultOfCall(handle != platform::kInvalidHandle);
}

ResultCode File::Read(void* buffer, std::uint32_t size, std::uint32_t& done) {
    std::uint32_t count = 0;
    if (!platform::ReadFile(handle, buffer, size, &count)) return ResultFromLastError();
    done = count;
    return ResultOk;
}

ResultCode File::Write(const void* buffer, std::uint32_t size, std::uint32_t& done) {
    std::uint32_t count = 0;
    if (!platform::WriteFile(handle, buffer, size, &count)) return ResultFromLastError();
    done = count;
    return ResultOk;
}

ResultCode File::GetSize(std::uint64_t& sizeBytes) const {
    return ResultOfCall(platform::GetFileSizeEx(handle, &sizeBytes));
}

ResultCode File::Flush() { return ResultOfCall(platform::FlushFileBuffers(handle)); }

ResultCode File::Close() { return CloseOne(handle); }

void File::CloseAll() {
    Close();
    CloseOne(reservation);
}

}   // namespace ilk

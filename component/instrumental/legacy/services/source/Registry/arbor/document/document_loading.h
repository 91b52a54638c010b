/// Reads a document's file into memory and adds its keys and values to a tree. `object/arbor_loading.cpp` calls these.
/// No lock is needed, since a load runs alone.
#pragma once

#include "document/document_text.h"
#include "tree/contract.h"

#include <component/ilk/rtl/host_buffer.h>
#include <component/ilk/system/file/file.h>

#include <cstdint>

namespace arbor::module {

struct KeyTree;

/// A document's file and its content in one host block. From `Read` until this is destroyed the file is open without
/// sharing, so that no other process can open it.
class DocumentFile {
public:
    /// `object` provides the memory and receives the trace lines; it must outlive this.
    explicit DocumentFile(const HostObject* object) : host(object), block(&object->SystemFace) {}

    /// Opens the file `name` and reads all of it. Traces a warning above 10 MiB. Returns 0, `kOutOfMemory`,
    /// `kNotMatched` after a short read, or the code of the file call that failed.
    ResultCode Read(const Text& name);

    [[nodiscard]] const char* Data() const { return static_cast<const char*>(block.data()); }
    [[nodiscard]] std::uint32_t SizeBytes() const { return block.size(); }

private:
    const HostObject* host;
    ilk::File file;
    ilk::HostBuffer block;
};

/// Creates an empty file `name`, and the directories above it. Fails if the file exists: another process may have saved
/// the document since the load found none. Returns the code of the creation.
ResultCode CreateMissingFile(const Text& name);

/// Parses a document, with or without a byte order mark, into `tree`. Returns the code of `LoadDocument`. If reading
/// the first bytes faults, as in a mapped file on a failing disk, writes a trace line and returns `kUnexpected`.
ResultCode LoadFromBytes(const HostObject* object, KeyTree& tree, const char* data, std::uint64_t sizeBytes);

}   // namespace arbor::module

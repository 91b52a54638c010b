/// The settings store: a tree of keys and values, the document that it is read from and saved to, and the interface
/// `Registry` to both.
///
/// The host allocates the memory of an object and zeroes it before construction. It calls the lifecycle methods in
/// order, while no other call runs. If `Synchronised` is set before `Ready`, any thread may call the methods of the
/// interface. The property handlers, `SetRootKey` and `SetRootStr` take no lock. `component/kernel/interface.h`
/// documents the methods.
#pragma once

#include "document/document_text.h"
#include "object/host_object_header.h"
#include "object/readers_writer_lock.h"
#include "tree/key_tree.h"

#include <component/kernel/interface.h>

#include <string>
#include <string_view>

namespace arbor::module {

class TextBuffer;

class Arbor : public HostObjectHeader {
public:
    Arbor();
    ~Arbor();
    Arbor(const Arbor&) = delete;
    Arbor& operator=(const Arbor&) = delete;

    // Lifecycle: called by the host between construction and destruction.

    /// Creates the tree, loads the document and initialises the lock. Returns the result of the load; a failed one
    /// clears `SaveOnClose`, so that a document that couldn't be read is never overwritten at close.
    ResultCode Ready();

    /// Saves if `SaveOnClose` is set. Returns 0.
    ResultCode Closing();

    // The methods of `Registry`, in the order of their table.

    ResultCode OpenKey(KeyHandle* opened, KeyHandle parent, const char* path, std::uint32_t create);
    ResultCode OpenKeyByIndex(KeyHandle* opened, KeyHandle parent, std::uint32_t index);
    ResultCode OpenNextKey(KeyHandle* next, KeyHandle handle);
    ResultCode CloseKey(KeyHandle handle);
    ResultCode GetKeyName(std::uint32_t* count, KeyHandle handle, char* buffer, std::uint32_t size, std::uint32_t full);
    ResultCode GetKeyNameByIndex(std::uint32_t* count, KeyHandle parent, std::uint32_t index, char* buffer,
                                 std::uint32_t size, std::uint32_t full);
    ResultCode GetValue(std::uint32_t* count, KeyHandle handle, const char* name, TypeCode* type, void* buffer,
                        std::uint32_t size);
    ResultCode GetValueByIndex(std::uint32_t* count, KeyHandle handle, std::uint32_t index, TypeCode* type,
                               void* buffer, std::uint32_t size);
    ResultCode GetValueNameByIndex(std::uint32_t* count, KeyHandle handle, std::uint32_t index, char* buffer,
                                   std::uint32_t size);
    ResultCode SetValue(KeyHandle handle, const char* name, TypeCode type, const void* data, std::uint32_t size,
                        std::uint32_t create);
    ResultCode SetValueByIndex(KeyHandle handle, std::uint32_t index, TypeCode type, const void* data,
                               std::uint32_t size, std::uint32_t create);
    ResultCode GetKeyCount(std::uint32_t* count, KeyHandle handle);
    ResultCode GetValueCount(std::uint32_t* count, KeyHandle handle);
    ResultCode DeleteKey(KeyHandle handle, const char* path);
    ResultCode DeleteKeyByInd(KeyHandle handle, std::uint32_t index);
    ResultCode DeleteValue(KeyHandle handle, const char* name);
    ResultCode DeleteValueByInd(KeyHandle handle, std::uint32_t index);
    ResultCode Clean();
    ResultCode CopyKey(KeyHandle source, HostObject* destination, KeyHandle destinationKey);
    ResultCode CopyKeyByName(const char* path, HostObject* destination);
    ResultCode SetRootKey(KeyHandle handle);
    ResultCode SetRootStr(const char* path);

    /// Stores the tree if it has changed: in its file, by a temporary file, backups and one final move, or in
    /// `IoObject`. After a failure a complete document is on the disk and `Dirty` stays set; what a failed write leaves
    /// in `IoObject` is that object's responsibility. Holds the lock, shared, only for the serialisation: a change made
    /// during the rest of a save is stored by the next save.
    ResultCode Save(HostWord unused);

    // Property handlers. They take no lock. After a read `count` is the size of the property in bytes, for the path of
    // the root without the terminator; after a write it is 0.

    ResultCode getRootPoint(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode setRootPoint(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode getRootKey(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode setRootKey(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode getName(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode setName(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);

private:
    friend struct ArborLayout;

    /// False without a tree and for `kNoKey`.
    [[nodiscard]] bool HasKey(KeyHandle handle) const { return tree.top != nullptr && handle != kNoKey; }

    /// Returns null if there is no tree or the handle is `kNoKey`, and the current root if the handle is 0. Any other
    /// handle is converted to an address without a check that the tree contains such a key.
    [[nodiscard]] Key* ResolveKey(KeyHandle handle) const {
        if (!HasKey(handle)) return nullptr;
        return handle != 0 ? reinterpret_cast<Key*>(handle) : tree.current;
    }

    // The steps common to all methods: lock, key lookup and trace line. Defined in `object/method.h`.
    ResultCode RunTraced(const auto& work, const char* line, auto... arguments);
    ResultCode RunLocked(LockMode mode, const auto& work, const char* line, auto... arguments);
    template <ResultCode missing = kNoKeyThere>
    ResultCode ReadKey(KeyHandle handle, const auto& work, const char* line, auto... arguments);
    template <ResultCode missing = kNoKeyThere>
    ResultCode ChangeKey(KeyHandle handle, const auto& work, const char* line, auto... arguments);
    ResultCode RunHandler(std::uint32_t* count, const auto& work, const char* line, const char* name);

    // The states of `Dirty`. Every access is atomic, since saves write their files outside the lock.
    //
    // | State         | change | serialisation | save succeeds | save fails |
    // |---------------|--------|---------------|---------------|------------|
    // | 0, clean      | 1      | 2             | 1             | 1          |
    // | 1, changed    | 1      | 2             | 1             | 1          |
    // | 2, serialised | 1      | 2             | 0             | 1          |
    //
    // A save that finds state 0 or 1 at its end overlapped a change or another save. Its text may be older than the
    // other save's and may have replaced it, so the state becomes 1 and the next save stores the tree again. State 0
    // means that the stored document has every change.
    [[nodiscard]] bool IsDirty() const;
    /// Called after each change, inside the lock. A change is in memory only, until `Save` stores the tree.
    void MarkDirty();
    void ClearDirty();
    /// Called after a serialisation, inside the lock: no change can come in between.
    void MarkSerialised();
    /// Called at the end of every save with its result, after its last file call.
    void EndSave(ResultCode code);

    // Keys
    ResultCode OpenKeyLocked(Key*& opened, Key* parent, const char* path, bool create);
    ResultCode CopyKeyName(std::uint32_t* count, const Key& key, char* buffer, std::uint32_t size, bool full) const;
    /// Copies the path from `start` to `target` into `buffer`; `count` gets its length without the terminator.
    static ResultCode CopyPath(std::uint32_t* count, const Key& start, const Key* target, char* buffer,
                               std::uint32_t size);
    ResultCode CopyKeyLocked(KeyHandle source, HostObject* destination, KeyHandle destinationKey);

    // Root properties
    ResultCode SetRootPath(const void* buffer, std::uint32_t size);
    ResultCode ApplyPendingRootPath();

    // Loading
    ResultCode LoadFromFile();
    /// Returns a library code, which the caller translates, or the code of `ApplyPendingRootPath`.
    ResultCode LoadExistingFile();
    ResultCode LoadFromIoObject();
    ResultCode readFromBuffer(const char* data, std::uint64_t size);

    // Saving
    ResultCode SaveToFile();
    ResultCode SaveToIoObject();
    ResultCode Serialise(TextBuffer& document);

    /// The document's path: `Name` up to its first NUL, where the system ends it.
    [[nodiscard]] std::u16string_view DocumentPath() const { return Name.data(); }

    // The host's property table holds the offsets of these fields. The host zeroes the plain words before construction,
    // which doesn't write them.
    KeyTree tree;
    std::uint32_t ReadOnly;
    std::uint32_t Option1002;
    std::uint32_t Option1003;
    std::uint32_t SaveOnClose;
    Text Name;               // path of the document
    char* PendingRootPath;   // null or an owned host block: path of the root to set after the load
    std::uint32_t OpenFlags;
    HostObject* IoObject;   // owned by the host
    std::uint32_t Synchronised;
    std::uint8_t BackupMode;
    ReadersWriterLock lock;
    std::uint32_t reserved;   // unused: a gap in the host's layout
    std::uint32_t Dirty;      // 0 clean, 1 changed, 2 serialised and not yet stored
};

}   // namespace arbor::module

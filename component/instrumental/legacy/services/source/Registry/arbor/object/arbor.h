/// The settings store: one tree of keys and values, the document that it was read from, and the interface `Registry` on
/// both.
///
/// Lies in memory of the host, zeroed before construction; the host calls the lifecycle in order and alone. With
/// `Synchronised` set before `ObjectReady` any thread may call the methods of the interface; the handlers of
/// properties, and `SetRootKey` and `SetRootStr`, take no lock. Methods are documented where callers find them, in the
/// host's contract.
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

    // Lifecycle: what the host calls between construction and destruction.

    /// Makes the tree, loads the document and arms the lock. Returns the result of the load; a failed one clears
    /// `SaveOnClose`, so that a document that couldn't be read is never overwritten at close.
    ResultCode Ready();

    /// Saves if `SaveOnClose` asks for it. Returns 0.
    ResultCode Closing();

    // The methods of `Registry`, in the order of their table.

    ResultCode OpenKey(KeyHandle* answer, KeyHandle parent, const char* path, std::uint32_t create);
    ResultCode OpenKeyByIndex(KeyHandle* answer, KeyHandle parent, std::uint32_t index);
    ResultCode OpenNextKey(KeyHandle* answer, KeyHandle handle);
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
    /// `IoObject`. After a failure a complete document stands on the disk and `Dirty` stays set. Takes the lock for the
    /// serialisation alone: a change made during the rest of a save is left for the next save. What a failed write
    /// leaves in `IoObject` is that object's care.
    ResultCode Save(HostWord unused);

    // Property handlers. They take no lock. `count` gets what the property needs, the root's path without its
    // terminator; after a write it is 0.

    ResultCode getRootPoint(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode setRootPoint(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode getRootKey(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode setRootKey(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode getName(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);
    ResultCode setName(std::uint32_t* count, std::uint32_t id, void* buffer, std::uint32_t size);

private:
    friend struct ArborLayout;

    /// The key that a handle means: the current root for 0, nothing without a tree or for `kNoKey`. Not looked up.
    [[nodiscard]] Key* ResolveKey(KeyHandle handle) const;

    /// The shape of everything that changes the tree: refuses on a read-only object, resolves the key, does the work,
    /// and marks the object dirty if it succeeded. Under exclusive entry.
    template <class Work>
    ResultCode ChangeKey(KeyHandle handle, Work work);

    // The states of `Dirty`. Every access is atomic, since saves write their files outside the lock.
    //
    // | State         | change | serialisation | save succeeds | save fails |
    // |---------------|--------|---------------|---------------|------------|
    // | 0, clean      | 1      | 2             | 1             | 1          |
    // | 1, changed    | 1      | 2             | 1             | 1          |
    // | 2, serialised | 1      | 2             | 0             | 1          |
    //
    // A save that ends in state 0 or 1 overlapped a change or another save. Its text may be the older one and may have
    // replaced the newer one, so the next save stores the tree again. State 0 after the last of several saves means
    // that this one serialised after the last change and after all others had ended.
    [[nodiscard]] bool IsDirty() const;
    void MarkDirty();
    void ClearDirty();
    /// For a text that holds every change so far. Inside the lock, so that no change comes in between.
    void MarkSerialised();
    /// For the end of every save, with its result, after its last file call.
    void EndSave(ResultCode code);

    // Keys, under entry
    ResultCode OpenKeyLocked(KeyHandle& answer, KeyHandle parent, const char* path, bool create);
    ResultCode NameOfKey(std::uint32_t* count, const Key& key, char* buffer, std::uint32_t size, bool full) const;
    ResultCode CopyLocked(KeyHandle source, HostObject* destination, KeyHandle destinationKey);

    // Values, under entry
    template <class Find>
    ResultCode ReadValue(KeyHandle handle, std::uint32_t* count, TypeCode* type, void* buffer, std::uint32_t size,
                         Find find);
    template <class Add>
    ResultCode WriteValue(Value* value, TypeCode type, const void* data, std::uint32_t size, std::uint32_t create,
                          Add add);
    ResultCode ConvertOnRead(const Value& value, std::uint32_t* count, TypeCode* type, void* buffer,
                             std::uint32_t size);
    ResultCode ConvertOnWrite(Value& value, TypeCode type, const void* data, std::uint32_t size);
    ResultCode WriteDirectly(Value& value, const void* data, std::uint32_t size);
    ResultCode AlignBinaryRequest(const Value* value, TypeCode* type, std::uint32_t size) const;

    // Root properties
    ResultCode TakeRootPath(const void* buffer, std::uint32_t size);
    ResultCode ApplyPendingRootPath();

    // Loading
    ResultCode LoadFromFile();
    ResultCode LoadExistingFile();
    ResultCode LoadFromIoObject();
    ResultCode readFromBuffer(const char* data, std::uint64_t size);

    // Saving
    ResultCode SaveToFile();
    ResultCode WriteToIoObject(HostObject* io);
    ResultCode Serialise(TextBuffer& document);

    /// The document's path as the system takes it: `Name` up to its first terminator, wherever a caller put that.
    [[nodiscard]] std::u16string_view DocumentPath() const { return Name.data(); }

    // The host's property table names these places by their offsets. The plain words are zeroed by the host before
    // construction, which leaves them alone.
    KeyTree tree;
    std::uint32_t ReadOnly;
    std::uint32_t Option1002;
    std::uint32_t Option1003;
    std::uint32_t SaveOnClose;
    Text Name;               // path of the document
    char* PendingRootPath;   // a host block of this object's, or null: the root to move to after the load
    std::uint32_t OpenFlags;
    HostObject* IoObject;   // the host's
    std::uint32_t Synchronised;
    std::uint8_t BackupMode;
    ReadersWriterLock lock;
    std::uint32_t reserved;   // no field: the host's layout has a gap here
    std::uint32_t Dirty;      // 0 clean, 1 changed, 2 serialised and not yet stored
};

}   // namespace arbor::module

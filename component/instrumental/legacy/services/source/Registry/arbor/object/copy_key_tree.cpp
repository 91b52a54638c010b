// The copy of a subtree: a walk down the source with an explicit stack, so that depth costs no call stack.

#include "object/copy_key_tree.h"

#include <component/kernel/interface.h>

#include <new>
#include <vector>

namespace arbor::module {

namespace {

/// A buffer with an initial capacity inside the object, which grows into host memory.
class CopyBuffer {
public:
    explicit CopyBuffer(const HostObject* object) : host(object) {}

    /// Makes the capacity at least `size` bytes. Growth loses the contents.
    ResultCode Reserve(std::uint32_t size) {
        if (size <= capacity) return kDone;
        grown.reset();
        capacity = sizeof initial;
        if (IsFailure(AllocateBlock(host, size, 0, grown))) return kOutOfMemory;
        capacity = size;
        return kDone;
    }

    [[nodiscard]] char* Data() { return grown ? grown.get() : initial; }
    [[nodiscard]] std::uint32_t Capacity() const { return capacity; }

private:
    const HostObject* host;
    char initial[256] = {};
    HostBlock<char> grown;
    std::uint32_t capacity = sizeof initial;
};

/// One copy. The destructor closes the keys that a failure left open.
class TreeCopy {
public:
    TreeCopy(HostObject* sourceObject, HostObject* destinationObject)
        : source(sourceObject),
          destination(destinationObject),
          sourceMethods(sourceObject),
          destinationMethods(destinationObject),
          name(sourceObject),
          value(sourceObject) {}

    ~TreeCopy() {
        while (!openLevels.empty()) static_cast<void>(Leave());   // the code that ended the copy is the result
    }
    TreeCopy(const TreeCopy&) = delete;
    TreeCopy& operator=(const TreeCopy&) = delete;

    /// Throws `std::bad_alloc` if the stack can't grow.
    ResultCode Run(KeyHandle sourceKey, KeyHandle destinationKey) {
        ResultCode code = Enter(sourceKey, destinationKey);
        while (IsSuccess(code) && !openLevels.empty()) {
            Level& level = openLevels.back();
            code = level.nextIndex < level.keyCount ? CopyNextKey(level) : Leave();
        }
        return code;
    }

private:
    /// A pair of keys whose values are copied and whose child keys are being copied.
    struct Level {
        KeyHandle sourceKey;
        KeyHandle destinationKey;
        std::uint32_t keyCount;
        std::uint32_t nextIndex;   // of the next child key to copy
    };

    ResultCode Enter(KeyHandle sourceKey, KeyHandle destinationKey) {
        openLevels.push_back({sourceKey, destinationKey, 0, 0});
        const ResultCode code = CopyValues(sourceKey, destinationKey);
        return IsSuccess(code) ? sourceMethods.GetKeyCount(source, &openLevels.back().keyCount, sourceKey) : code;
    }

    /// Closes the keys of the deepest level, unless they are the pair that the caller passed.
    ResultCode Leave() {
        const Level done = openLevels.back();
        openLevels.pop_back();
        return openLevels.empty() ? kDone : Close(done.sourceKey, done.destinationKey);
    }

    ResultCode Close(KeyHandle sourceKey, KeyHandle destinationKey) {
        const ResultCode closedDestination =
            destinationKey != kNoKey ? destinationMethods.CloseKey(destination, destinationKey) : kDone;
        const ResultCode closedSource = sourceKey != 0 ? sourceMethods.CloseKey(source, sourceKey) : kDone;
        return IsFailure(closedDestination) ? closedDestination : closedSource;
    }

    ResultCode CopyNextKey(Level& level) {
        const std::uint32_t index = level.nextIndex++;
        const KeyHandle sourceKey = level.sourceKey;
        const KeyHandle destinationKey = level.destinationKey;
        // Reserves the level before the keys are opened, so that `push_back` in `Enter` can't throw: keys that are open
        // but in no level would never be closed.
        if (openLevels.size() == openLevels.capacity()) openLevels.reserve(2 * openLevels.size());
        std::uint32_t size = 0;
        ResultCode code = sourceMethods.GetKeyNameByIndex(source, &size, sourceKey, index, nullptr, 0, 0);
        if (IsSuccess(code)) code = name.Reserve(size);
        if (IsSuccess(code)) {
            code = sourceMethods.GetKeyNameByIndex(source, &size, sourceKey, index, name.Data(), name.Capacity(), 0);
        }
        if (IsFailure(code)) return code;
        KeyHandle sourceChild = kNoKey;
        KeyHandle destinationChild = kNoKey;
        code = sourceMethods.OpenKey(source, &sourceChild, sourceKey, name.Data(), 0);
        if (IsSuccess(code)) {
            code = destinationMethods.OpenKey(destination, &destinationChild, destinationKey, name.Data(), 1);
        }
        if (IsSuccess(code)) return Enter(sourceChild, destinationChild);
        static_cast<void>(Close(sourceChild, destinationChild));   // the code of the failed open is the result
        return code;
    }

    ResultCode CopyValues(KeyHandle sourceKey, KeyHandle destinationKey) {
        std::uint32_t count = 0;
        ResultCode code = sourceMethods.GetValueCount(source, &count, sourceKey);
        for (std::uint32_t index = 0; IsSuccess(code) && index < count; ++index) {
            code = CopyValue(sourceKey, destinationKey, index);
        }
        return code;
    }

    ResultCode CopyValue(KeyHandle sourceKey, KeyHandle destinationKey, std::uint32_t index) {
        std::uint32_t size = 0;
        ResultCode code = sourceMethods.GetValueNameByIndex(source, &size, sourceKey, index, nullptr, 0);
        if (IsSuccess(code)) code = name.Reserve(size);
        if (IsSuccess(code)) {
            code = sourceMethods.GetValueNameByIndex(source, &size, sourceKey, index, name.Data(), name.Capacity());
        }
        if (IsSuccess(code)) code = sourceMethods.GetValueByIndex(source, &size, sourceKey, index, nullptr, nullptr, 0);
        if (IsSuccess(code)) code = value.Reserve(size);
        TypeCode type = 0;
        if (IsSuccess(code)) {
            code = sourceMethods.GetValueByIndex(source, &size, sourceKey, index, &type, value.Data(), size);
        }
        if (IsFailure(code)) return code;
        return destinationMethods.SetValue(destination, destinationKey, name.Data(), type, value.Data(), size, 1);
    }

    HostObject* source;
    HostObject* destination;
    Registry sourceMethods;
    Registry destinationMethods;
    CopyBuffer name;
    CopyBuffer value;
    std::vector<Level> openLevels;
};

}   // namespace

ResultCode CopyKeyTree(HostObject* source, KeyHandle sourceKey, HostObject* destination, KeyHandle destinationKey) {
    try {
        return TreeCopy(source, destination).Run(sourceKey, destinationKey);
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
}

}   // namespace arbor::module

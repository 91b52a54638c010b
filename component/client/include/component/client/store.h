/// The store: an object of the interface `Registry`, used as the key that is its current root.
#pragma once

#include <component/client/structure.h>

namespace arbor {

/// An object of the interface. As a `Key` it is the object's current root, also after `SetRoot`.
class Store : public Key {
public:
    explicit Store(HostObject* object) : Key(object, kCurrentRoot) {}

    [[nodiscard]] Key Root() const { return *this; }
    /// Sets the current root to the key at `path`. The path starts at the top key; the empty path is the top key. The
    /// object doesn't lock this call: no other thread may use the store at the same time.
    Status SetRoot(Text path) const {
        const Terminated chars(path);
        return Status(Address().UnlessFailed(chars).Call<&Registry::SetRootStr>(chars.Chars()));
    }
    /// Deletes all keys and values of the current root.
    Status Clean() const { return Status(Address().Call<&Registry::Clean>()); }
    /// Saves the document if it was changed since the load or the last save.
    Status Save() const { return Status(Address().Call<&Registry::Save>(kernel::HostWord{1})); }

private:
    using Registry = kernel::Registry;

    static constexpr KeyHandle kCurrentRoot = 0;
};

}   // namespace arbor

/// The store itself: the object of the interface, as the key that is its current root.
#pragma once

#include <component/client/key.h>

namespace arbor {

/// An object of the interface. As a key it is the object's current root.
class Store : public Key {
public:
    explicit Store(HostObject* store) : Key(store, kCurrentRoot) {}

    [[nodiscard]] Key Root() const { return *this; }
    /// Moves the current root; the empty path is the top. Takes no lock.
    Status SetRoot(Text path) const { return Status(Methods().SetRootStr(Object(), path.Chars())); }
    /// Empties the current root.
    Status Clean() const { return Status(Methods().Clean(Object())); }
    /// Stores the document if it was changed, as closing does with `SaveOnClose`, and tells how it went.
    Status Save() const { return Status(Methods().Save(Object(), 1)); }

private:
    static constexpr KeyHandle kCurrentRoot = 0;

    [[nodiscard]] kernel::Registry Methods() const { return kernel::Registry(Object()); }
};

}   // namespace arbor

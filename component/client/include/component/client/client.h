/// The typed client: how a component of the host reads and writes settings. It wraps one object of the interface
/// `Registry`; keys and values are enumerated as ranges.
///
///     arbor::Store store{object};
///     const auto port = store["Network/Proxy"].Get<std::uint32_t>("Port");
///     if (!port) Report(port.Code(), port.Text());
///     if (const arbor::Status set = store["Network/Proxy"].Set("Port", 8080u); !set) Report(set.Code(), set.Text());
///     for (const arbor::Value& value : store["Network/Proxy"].Values()) Print(value.Name(), value.Type());
///     for (const arbor::Key key : store.Root().Keys()) ...
///
/// Failures are codes: no call of the store throws; `throwing.h` has a client that does. The client doesn't own the
/// object and has no lock. Threads may share a store if the object's property `Synchronised` is set; a range or a
/// result is for one thread at a time. The client allocates no memory for a number, or for a name or path of up to 255
/// bytes. It reads a value in its own type by one call of the interface, and a longer text or blob than 255 bytes by
/// two or more.
///
/// The interface doesn't notify of changes, and has no transaction over several calls. A component that must see
/// changes of others reads again when it needs a value; a read costs a lookup by name. Threads that read and write
/// back, or that need several values to fit together, hold a lock of their own around the calls. `Batch` undoes what
/// one thread began.
#pragma once

#include <component/client/batch.h>

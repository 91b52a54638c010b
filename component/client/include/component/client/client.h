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
/// Failures are codes: no call of the store throws. The client doesn't own the object and has no lock. Threads may
/// share a store if the object's property `Synchronised` is set; a range or a result is for one thread at a time. For a
/// number the client allocates no memory. It reads a text or blob of up to 255 bytes by one call of the interface, and
/// a longer one by two or more.
#pragma once

#include <component/client/store.h>

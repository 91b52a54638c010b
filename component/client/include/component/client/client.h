/// A settings store as the components of a host use it: typed reads and writes, and enumerations as ranges, over the
/// methods of one object of the interface `Registry`.
///
///     arbor::Store store{object};
///     const auto port = store["Network/Proxy"].Get<std::uint32_t>("Port");
///     if (!port) Report(port.Code(), port.Text());
///     store["Network/Proxy"].Set("Port", 8080u);
///     for (const arbor::Value& value : store["Network/Proxy"].Values()) Print(value.Name(), value.Type());
///     for (const arbor::Key key : store.Root().Keys()) ...
///
/// Nothing here throws: every call answers with a code. Nothing here owns the object or holds a lock; threads may share
/// a store as far as its object allows, while ranges and results belong to one thread. Numbers and truth values cost
/// the calls that they are made of and no memory; a text or blob is measured only where it is longer than 255 bytes.
#pragma once

#include <component/client/store.h>

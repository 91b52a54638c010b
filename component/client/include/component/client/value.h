/// A value in an enumeration.
#pragma once

#include <component/client/access.h>

#include <string>

namespace arbor {

using kernel::HostObject;
using kernel::KeyHandle;

/// A value in an enumeration. The enumeration has read its name. The other functions call the interface, for the value
/// that has the index at that moment.
class Value {
public:
    [[nodiscard]] const std::string& Name() const { return name; }
    [[nodiscard]] std::uint32_t Index() const { return slot.index; }

    /// 0 if the type can't be read, for example because no value has the index any more.
    [[nodiscard]] TypeCode Type() const { return *detail::ReadType(slot); }

    /// As the functions of `Key` with these names.
    template <class T>
    Result<T> Get() const {
        return detail::ReadAs<T, detail::Exact>(slot);
    }
    template <class T>
    Result<T> GetLenient() const {
        return detail::ReadAs<T, detail::Lenient>(slot);
    }
    Result<Datum> Read(TypeCode wanted = 0) const { return detail::ReadDatum(wanted, slot); }
    Result<Datum> ReadLenient(TypeCode wanted) const { return detail::ReadDatumLenient(wanted, slot); }
    template <class T = Datum>
    Status Set(const T& value) const {
        return detail::WriteAs<detail::Exact>(slot, value);
    }
    template <class T = Datum>
    Status SetLenient(const T& value) const {
        return detail::WriteAs<detail::Lenient>(slot, value);
    }
    /// Deletes the value. The following values move to lower indexes.
    Status Remove() const { return Status(slot.Remove()); }

private:
    friend class ValueRange;

    detail::SlotByIndex slot{};
    std::string name{};
};

}   // namespace arbor

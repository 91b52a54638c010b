/// The client for those who want exceptions: `Result::value`, and a store whose calls return values and throw failures.
///
///     arbor::throwing::Store store(object);
///     const int port = store["Network/Proxy"].Get<int>("Port");   // throws `arbor::StoreError`
///     store.Save();
#pragma once

#include <component/client/batch.h>

#include <stdexcept>
#include <string>

namespace arbor {

/// A failed call. `what()` is the code's meaning in words.
class StoreError : public std::runtime_error {
public:
    explicit StoreError(Status failure) : std::runtime_error(std::string(failure.Text())), code(failure.Code()) {}

    [[nodiscard]] ResultCode Code() const { return code; }

private:
    ResultCode code;
};

namespace detail {

struct Thrower {
    [[noreturn]] static void Throw(Status failure) { throw StoreError(failure); }
};

}   // namespace detail

namespace throwing {

inline void Check(Status status) {
    if (!status) detail::Thrower::Throw(status);
}

/// Throws when the enumeration begins or ends with a failure.
template <class Range>
class Checked : public Range {
public:
    explicit Checked(Range range) : Range(std::move(range)) { Check(this->Outcome()); }

    class Iterator : public Range::Iterator {
    public:
        Iterator() = default;
        explicit Iterator(Range& owner) : Range::Iterator(owner), range(&owner) {}

        Iterator& operator++() {
            Range::Iterator::operator++();
            Check(range->Outcome());
            return *this;
        }
        void operator++(int) { ++*this; }

    private:
        Range* range = nullptr;
    };

    [[nodiscard]] Iterator begin() { return Iterator(*this); }
};

/// The calls of `arbor::Key` or of a reference. They have the same names, and `kernel::kNoSuchEntry` is a failure, too:
/// read a `std::optional` where a value may be missing. The elements of `Values`, `Keys` and `Walk` are those of the
/// client without exceptions: their calls return a `Result`, which has `value()`.
template <class Target>
class ThrowingKey {
public:
    explicit ThrowingKey(const Target& wrapped) : target(wrapped) {}

    [[nodiscard]] const Target& Unchecked() const { return target; }
    [[nodiscard]] auto operator[](Text path) const { return ThrowingKey<decltype(target[path])>(target[path]); }

    [[nodiscard]] ThrowingKey<Key> Open(Text path) const { return ThrowingKey<Key>(target[path].Open().value()); }
    [[nodiscard]] ThrowingKey<Key> Make(Text path) const { return ThrowingKey<Key>(target[path].Make().value()); }

    template <class T>
    [[nodiscard]] T Get(Text name) const {
        return target.template Get<T>(name).value();
    }
    template <class T>
    [[nodiscard]] T GetLenient(Text name) const {
        return target.template GetLenient<T>(name).value();
    }
    template <detail::Structure T>
    [[nodiscard]] T Get() const {
        return target.template Get<T>().value();
    }
    template <class T = Datum>
    void Set(Text name, const T& value) const {
        Check(target.Set(name, value));
    }
    template <class T = Datum>
    void SetLenient(Text name, const T& value) const {
        Check(target.SetLenient(name, value));
    }
    template <detail::Structure T>
    void Set(const T& value) const {
        Check(target.Set(value));
    }
    [[nodiscard]] Datum Read(Text name, TypeCode wanted = 0) const { return target.Read(name, wanted).value(); }
    [[nodiscard]] Datum ReadLenient(Text name, TypeCode wanted) const {
        return target.ReadLenient(name, wanted).value();
    }
    template <class T>
    [[nodiscard]] T GetAt(std::uint32_t index) const {
        return target.template GetAt<T>(index).value();
    }
    template <class T = Datum>
    void SetAt(std::uint32_t index, const T& value) const {
        Check(target.SetAt(index, value));
    }
    void RemoveAt(std::uint32_t index) const { Check(target.RemoveAt(index)); }
    [[nodiscard]] ThrowingKey<Key> KeyAt(std::uint32_t index) const {
        return ThrowingKey<Key>(target.KeyAt(index).value());
    }
    void RemoveKeyAt(std::uint32_t index) const { Check(target.RemoveKeyAt(index)); }
    [[nodiscard]] bool Contains(Text name) const { return target.Contains(name); }
    [[nodiscard]] TypeCode Type(Text name) const { return target.Type(name).value(); }
    [[nodiscard]] Counts Count() const { return target.Count().value(); }
    [[nodiscard]] std::string Name() const { return target.Name().value(); }
    [[nodiscard]] std::string Path() const { return target.Path().value(); }
    [[nodiscard]] ThrowingKey<Key> Parent() const { return ThrowingKey<Key>(target.Parent().value()); }
    void Remove(Text name) const { Check(target.Remove(name)); }
    void RemoveKey(Text path) const { Check(target.RemoveKey(path)); }
    template <class Other>
    void CopyTo(const ThrowingKey<Other>& other) const {
        Check(target.CopyTo(other.Unchecked()));
    }
    [[nodiscard]] auto Values() const { return Checked(target.Values()); }
    [[nodiscard]] auto Keys() const { return Checked(target.Keys()); }
    [[nodiscard]] auto Walk() const { return Checked(target.Walk()); }

protected:
    Target target;
};

class Store : public ThrowingKey<arbor::Store> {
public:
    explicit Store(HostObject* object) : ThrowingKey(arbor::Store(object)) {}

    void SetRoot(Text path) const { Check(target.SetRoot(path)); }
    void Clean() const { Check(target.Clean()); }
    void Save() const { Check(target.Save()); }
};

/// Applies the changes of a batch and saves.
inline void Save(Batch& batch) { Check(batch.Save()); }

}   // namespace throwing

}   // namespace arbor

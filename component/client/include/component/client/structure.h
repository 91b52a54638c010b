/// Reads and writes structures with `VisitMembers` as the values of a key.
#pragma once

#include <component/client/reference.h>

namespace arbor {

namespace detail {

struct MemberReader {
    Key key;
    ResultCode code = kernel::kDone;

    template <class Member>
    [[gnu::always_inline]] void operator()(Text name, Member& member) {
        if (kernel::IsFailure(code)) return;
        Result<Member> read = key.Get<Member>(name);
        if (read)
            member = *std::move(read);
        else if (read.Code() != kernel::kNoSuchEntry)
            code = read.Code();
    }
};

struct MemberWriter {
    Key key;
    ResultCode code = kernel::kDone;

    template <class Member>
    [[gnu::always_inline]] void operator()(Text name, const Member& member) {
        if (kernel::IsSuccess(code)) code = key.Set(name, member).Code();
    }
};

}   // namespace detail

template <detail::Structure T>
Result<T> Key::Get() const {
    if (address.object == nullptr) return Status(address.failure);
    T object{};
    detail::MemberReader reader{*this};
    VisitMembers(reader, object);
    if (kernel::IsFailure(reader.code)) return Status(reader.code);
    return object;
}

template <detail::Structure T>
Status Key::Set(const T& value) const {
    detail::MemberWriter writer{*this};
    detail::Visit(writer, value);
    return Status(writer.code);
}

}   // namespace arbor

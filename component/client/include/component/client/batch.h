/// Several changes of a store as one.
#pragma once

#include <component/client/store.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace arbor {

/// Collects changes, checks them, applies them in their order, and undoes them if one is refused.
///
///     arbor::Batch batch(store);
///     batch.Set("Network/Proxy", "Port", 8080).Remove("Network", "Old").RemoveKey("Temporary");
///     if (const arbor::Status saved = batch.Save(); !saved) Report(saved.Text());
///
/// `Apply` first checks that each `Set` is exact for the value that is there; a refusal then has changed nothing. If a
/// change is refused later, the changes before it are undone, the last one first. Values and keys whose removal was
/// undone are the last of their siblings, and the document counts as changed. A restored key is a new one: a `Key` that
/// was opened before the removal isn't valid any more. If there is no memory for undoing, the store keeps a part of the
/// changes. A batch that is destroyed without `Apply` or `Save` changes nothing.
///
/// This isn't a transaction over threads, which the interface doesn't have: another thread sees the changes one after
/// the other, can change the same values in between, and its save stores a part of them. Threads that need more share a
/// lock of their own. For one thread at a time.
class Batch {
public:
    /// `start` is the key at which the paths begin, or a reference to it. It must exist and stay valid.
    explicit Batch(const Key& start) : top(start) {}

    /// Sets a value of the key at `path`, as `Key::Set`. Missing keys are created. A structure is one change for each
    /// member.
    template <class T = Datum>
    Batch& Set(Text path, Text name, const T& value) {
        if constexpr (detail::Structure<T>)
            return SetMembers(path, name, value);
        else if constexpr (detail::kIsOptional<T>)
            return value ? Set(path, name, *value) : Collect(Kind::RemoveIfPresent, path, name);
        else if constexpr (detail::Converted<T>)
            return Set(path, name, Convert<T>::ToStored(value));
        else {
            const Status status = detail::WithTypedBytes(value, [&](detail::TypedBytes typed) {
                std::string_view bytes = typed.Bytes();
                if (!detail::MakePlain(typed.type, bytes)) return Status(kernel::kInvalidArgument);
                Collect(Kind::Set, path, name, typed.type, bytes);
                return Status();
            });
            if (!status && firstFailure) firstFailure = status;
            return *this;
        }
    }
    /// Sets each member of a structure as a value of the key at `path`.
    template <detail::Structure T>
    Batch& Set(Text path, const T& value) {
        return SetMembers(path, "", value);
    }
    /// Removes a value. Refused if it isn't there when its turn comes.
    Batch& Remove(Text path, Text name) { return Collect(Kind::Remove, path, name); }
    /// Removes a key with all in it. Refused if it isn't there, and with `kernel::kInvalidArgument` if it couldn't be
    /// restored: two siblings in it have one name, or a key's name has a separator.
    Batch& RemoveKey(Text path) { return Collect(Kind::RemoveKey, path, ""); }

    /// Applies all changes or none. On success the batch is empty, on failure it keeps the changes. Returns the first
    /// refusal.
    Status Apply() {
        if (!firstFailure) return firstFailure;
        try {
            for (const Change& change : changes) {
                if (const Status checked = Check(change); !checked) return checked;
            }
            for (const Change& change : changes) {
                const Status applied = ApplyOne(change);
                if (applied) continue;
                Undo();
                return applied;
            }
        } catch (const std::bad_alloc&) {
            Undo();
            return Status(kernel::kOutOfMemory);
        }
        changes.clear();
        undo.clear();
        return Status();
    }
    /// Applies the changes and saves the document once. If only the save fails, the changes stay in the store, and
    /// `Store::Save` can be repeated.
    Status Save() {
        const Status applied = Apply();
        return applied ? Store(top.Object()).Save() : applied;
    }

private:
    enum class Kind {
        Set,
        Remove,
        RemoveIfPresent,
        MakeKey,
        RemoveKey
    };

    struct Change {
        Kind kind;
        std::string path;
        std::string name;
        Datum datum{};
    };

    struct MemberCollector {
        Batch& batch;
        std::string path;

        template <class Member>
        void operator()(Text name, const Member& member) {
            batch.Set(path, name, member);
        }
    };

    template <class T>
    Batch& SetMembers(Text path, Text name, const T& value) {
        try {
            MemberCollector collector{*this, Join(path.View(), name.View())};
            detail::Visit(collector, value);
        } catch (const std::bad_alloc&) {
            firstFailure = Status(kernel::kOutOfMemory);
        }
        return *this;
    }

    Batch& Collect(Kind kind, Text path, Text name, TypeCode type = 0, std::string_view bytes = {}) {
        try {
            changes.push_back({kind, std::string(path.View()), std::string(name.View()), {type, std::string(bytes)}});
        } catch (const std::bad_alloc&) {
            firstFailure = Status(kernel::kOutOfMemory);
        }
        return *this;
    }

    static std::string Join(std::string_view path, std::string_view name) {
        std::string joined(path);
        if (!path.empty() && !name.empty()) joined += path.find('/') == path.npos ? '\\' : '/';
        return joined += name;
    }

    /// Refuses a `Set` that isn't exact for the value that is there now, and the removal of a key that can't be
    /// restored.
    [[nodiscard]] Status Check(const Change& change) const {
        const Result<Key> key = top.Open(change.path);
        if (!key) return Status(key.Code() == kernel::kNoSuchEntry ? kernel::kDone : key.Code());
        if (change.kind == Kind::RemoveKey) return CheckRestorable(*key);
        if (change.kind != Kind::Set) return Status();
        const Result<TypeCode> own = key->Type(change.name);
        std::string converted;
        const bool isExact = !own || detail::ConvertExactly(change.datum.type, change.datum.bytes, *own, converted);
        return Status(isExact ? kernel::kDone : kernel::kInvalidArgument);
    }

    /// False if two of the names are the same for the store, which ignores the case of A to Z: a search for the second
    /// one would find the first.
    [[nodiscard]] static bool AreUnique(std::vector<std::string>& names) {
        for (std::string& name : names) {
            for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
        std::sort(names.begin(), names.end());
        return std::adjacent_find(names.begin(), names.end()) == names.end();
    }

    [[nodiscard]] static Status CheckRestorable(const Key& removed) {
        WalkRange walk = removed.Walk();
        for (const WalkStep& step : walk) {
            std::vector<std::string> keys;
            for (const Key& child : step.key.Keys()) {
                auto name = child.Name();
                if (!name) return name;
                if (name->empty() || name->find_first_of("/\\") != name->npos) return Status(kernel::kInvalidArgument);
                keys.push_back(*std::move(name));
            }
            std::vector<std::string> values;
            for (const Value& value : step.key.Values()) values.push_back(value.Name());
            if (!AreUnique(keys) || !AreUnique(values)) return Status(kernel::kInvalidArgument);
        }
        return walk.Outcome();
    }

    /// Notes how to undo a change, then makes it.
    [[nodiscard]] Status ApplyOne(const Change& change) {
        switch (change.kind) {
            case Kind::Set:
                return ApplySet(change);
            case Kind::Remove:
            case Kind::RemoveIfPresent:
                return ApplyRemove(change);
            case Kind::RemoveKey:
                return ApplyRemoveKey(change);
            case Kind::MakeKey:
                break;
        }
        return top.Make(change.path);
    }

    [[nodiscard]] Status ApplySet(const Change& change) {
        Result<Key> key = top.Open(change.path);
        if (!key) {
            undo.push_back({Kind::RemoveKey, FirstMissing(change.path), ""});
            key = top.Make(change.path);
        }
        if (!key) return key;
        Result<Datum> old = key->Read(change.name);
        if (old)
            undo.push_back({Kind::Set, change.path, change.name, *std::move(old)});
        else if (old.Code() == kernel::kNoSuchEntry)
            undo.push_back({Kind::Remove, change.path, change.name});
        else
            return old;
        return key->Set(change.name, change.datum);
    }

    [[nodiscard]] Status ApplyRemove(const Change& change) {
        const Key key = *top.Open(change.path);
        Result<Datum> old = key.Read(change.name);
        const bool isAbsent = old.Code() == kernel::kNoSuchEntry;
        if (isAbsent && change.kind == Kind::RemoveIfPresent) return Status();
        if (!old) return old;
        undo.push_back({Kind::Set, change.path, change.name, *std::move(old)});
        return key.Remove(change.name);
    }

    [[nodiscard]] Status ApplyRemoveKey(const Change& change) {
        const Result<Key> key = top.Open(change.path);
        if (!key) return key;
        if (const Status checked = CheckRestorable(*key); !checked) return checked;
        std::vector<Change> restoringChanges;
        std::vector<std::string> paths;   // of the keys that the walk is in
        WalkRange walk = key->Walk();
        for (const WalkStep& step : walk) {
            const Result<std::string> name = step.key.Name();
            if (!name) return Status(name.Code());
            paths.resize(step.depth);
            paths.push_back(step.depth == 0 ? change.path : Join(paths.back(), *name));
            restoringChanges.push_back({Kind::MakeKey, paths.back(), ""});
            for (const Value& value : step.key.Values()) {
                Result<Datum> old = value.Read();
                if (!old) return old;
                restoringChanges.push_back({Kind::Set, paths.back(), value.Name(), *std::move(old)});
            }
        }
        if (!walk.Outcome()) return walk.Outcome();
        std::move(restoringChanges.rbegin(), restoringChanges.rend(),
                  std::back_inserter(undo));   // undone from the end
        return top.RemoveKey(change.path);
    }

    /// The part of `path` up to the first key that is missing.
    [[nodiscard]] std::string FirstMissing(std::string_view path) const {
        for (std::size_t end = 0;; ++end) {
            end = path.find_first_of("/\\", end);
            const std::string_view part = path.substr(0, end);
            if (end == path.npos || top.Open(part).Code() == kernel::kNoSuchEntry) return std::string(part);
        }
    }

    /// Undoes the changes that were made, the last one first. The first refusal is what `Apply` returns, so codes are
    /// dropped here.
    void Undo() {
        for (; !undo.empty(); undo.pop_back()) {
            const Change& change = undo.back();
            switch (change.kind) {
                case Kind::Set:
                    static_cast<void>(top.Make(change.path)->SetLenient(change.name, change.datum));
                    break;
                case Kind::Remove:
                case Kind::RemoveIfPresent:
                    static_cast<void>(top.Open(change.path)->Remove(change.name));
                    break;
                case Kind::MakeKey:
                    static_cast<void>(top.Make(change.path));
                    break;
                case Kind::RemoveKey:
                    static_cast<void>(top.RemoveKey(change.path));
                    break;
            }
        }
    }

    Key top;
    Status firstFailure{};   // of the calls that added changes
    std::vector<Change> changes{};
    std::vector<Change> undo{};
};

}   // namespace arbor

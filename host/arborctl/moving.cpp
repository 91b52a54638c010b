// Copies a key to a tree in memory first, so that source and target may contain each other or have the same name.

#include "moving.h"

#include "addressing.h"
#include "copy_disambiguated.h"
#include "value_text.h"

#include <host/text.h>

namespace arborctl {
namespace {

bool IsSameKey(const arbor::Key& left, const arbor::Key& right) {
    return left.Object() == right.Object() && left.Handle() == right.Handle();
}

bool IsSameKey(const std::optional<arbor::Key>& left, const arbor::Key& right) {
    return left && IsSameKey(*left, right);
}

/// Whether `path` leads through `key`, or to it.
bool LeadsThrough(const arbor::Key& root, const Path& path, const arbor::Key& key) {
    arbor::Key step = root;
    for (const PathName& name : path.Names()) {
        if (IsSameKey(step, key)) return true;
        const std::optional<Child> child = FindChild(step, name);
        if (!child) return false;
        step = child->key;
    }
    return IsSameKey(step, key);
}

struct Counts {
    std::uint32_t keys = 0;
    std::uint32_t values = 0;
};

Counts CountsOf(const arbor::Key& key) {
    const kernel::Registry methods(key.Object());
    Counts counts;
    ThrowIfFailed(arbor::Status(methods.GetKeyCount(key.Object(), &counts.keys, key.Handle())), "counting keys");
    ThrowIfFailed(arbor::Status(methods.GetValueCount(key.Object(), &counts.values, key.Handle())), "counting values");
    return counts;
}

std::string Describe(const Counts& counts) {
    return "a key with " + host::Counted(counts.keys, "key") + " and " + host::Counted(counts.values, "value");
}

[[noreturn]] void ThrowExists(const Path& path, const std::string& what) {
    throw StoreError(kernel::kAlreadyExists, path.Text() + " is " + what + "; --force replaces it");
}

/// Removes the key, or all that the root contains.
void RemoveTarget(const arbor::Key& root, const Path& path) {
    if (!path.IsRoot()) return RemoveKey(root, path);
    ThrowIfFailed(arbor::Status(kernel::Registry(root.Object()).Clean(root.Object())), path.Text());
}

/// For a removal that changes the numbers of siblings with the same name ("item#2"), after which the path `target`
/// would be that of another one.
[[noreturn]] void ThrowRenumbered(const Path& target) {
    throw StoreError(kernel::kAlreadyExists,
                     target.Text() +
                         ": the removal renumbers siblings with the same name, and the path would be that of "
                         "another one; give these names of their own first");
}

void TransferValue(const arbor::Key& from, const arbor::Key& to, const Transfer& transfer, const ValueSlot& source) {
    const Path& target = transfer.target;
    if (target.IsOfKey() || FindKey(to, target))
        throw StoreError(kernel::kInvalidArgument, target.Text() + " is a key, and a value needs a path of its own");
    const arbor::Datum datum = ValueOrThrow(source.Read(0), transfer.source.Text());
    const std::optional<ValueSlot> taken = FindValue(to, target);
    if (transfer.isMove && taken && taken->IsNumberedNamesakeOf(source)) ThrowRenumbered(target);
    if (transfer.isMove) RemoveEntry(from, transfer.source);
    const std::optional<ValueSlot> existing = FindValue(to, target);
    if (existing && !transfer.replacesTarget) ThrowExists(target, "a " + TypeName(existing->Type()));
    SetExactly(MakeKey(to, target.Parent()), target.Names().back(), datum);
}

/// Throws a `StoreError` if the target is a value, or a key that may not be replaced.
void ThrowIfTaken(const arbor::Key& to, const Transfer& transfer, const std::optional<arbor::Key>& target) {
    if (FindValue(to, transfer.target))
        throw StoreError(kernel::kInvalidArgument,
                         transfer.target.Text() + " is a value, and a key needs a path of its own");
    if (!target || transfer.replacesTarget) return;
    const Counts counts = CountsOf(*target);
    if (!transfer.target.IsRoot() || counts.keys + counts.values != 0) ThrowExists(transfer.target, Describe(counts));
}

/// Removes the source of a move and a target that is to be replaced, and returns the empty key at the target's path,
/// with the keys above it.
arbor::Key MakeTarget(const arbor::Key& from, const arbor::Key& to, const Transfer& transfer,
                      const std::optional<arbor::Key>& replaced) {
    const Path parentPath = transfer.target.IsRoot() ? transfer.target : transfer.target.Parent();
    const arbor::Key parent = MakeKey(to, parentPath);
    if (transfer.isMove) RemoveKey(from, transfer.source);
    if (replaced) {
        if (!IsSameKey(FindKey(to, transfer.target), *replaced)) ThrowRenumbered(transfer.target);
        RemoveTarget(to, transfer.target);
    }
    const bool isFree = transfer.target.IsRoot() || !FindKey(to, transfer.target);
    if (!isFree || !IsSameKey(FindKey(to, parentPath), parent)) ThrowRenumbered(transfer.target);
    return MakeKey(to, transfer.target);
}

void TransferKey(host::Kernel& kernel, const arbor::Key& from, const arbor::Key& to, const Transfer& transfer) {
    const arbor::Key source = OpenKey(from, transfer.source);
    std::optional<arbor::Key> target = FindKey(to, transfer.target);
    // As in a move that only changes the case of letters: the removal of the source removes the target.
    const bool isOntoItself = transfer.isMove && target && IsSameKey(*target, source);
    if (isOntoItself) target.reset();
    if (!isOntoItself && LeadsThrough(to, transfer.target, source))
        throw StoreError(kernel::kInvalidArgument, transfer.source.Text() + " can't be copied or moved into itself");
    const Document copy(kernel);
    CopyDisambiguated(source, copy.Root());
    if (!isOntoItself) ThrowIfTaken(to, transfer, target);
    CopyDisambiguated(copy.Root(), MakeTarget(from, to, transfer, target));
}

}   // namespace

void RemoveEntry(const arbor::Key& root, const Path& path) {
    const std::optional<ValueSlot> value = FindValue(root, path);
    value ? ThrowIfFailed(value->Remove(), value->PrintedName()) : RemoveKey(root, path);
}

void CopyOrMove(host::Kernel& kernel, const arbor::Key& from, const arbor::Key& to, const Transfer& transfer) {
    const std::optional<ValueSlot> value = FindValue(from, transfer.source);
    value ? TransferValue(from, to, transfer, *value) : TransferKey(kernel, from, to, transfer);
}

}   // namespace arborctl

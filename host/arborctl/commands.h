/// What the tool can do to a document. Each command prints its results to standard output and throws a `Refusal` where
/// the store refuses; the document is stored as its last step or not at all.
#pragma once

#include "store.h"

namespace arborctl {

struct Session {
    host::Kernel& kernel;
    const StoreSettings& settings;
};

void Tree(const Session& session, const std::string& path);
/// In the value's own type for `type` 0.
void Get(const Session& session, const std::string& path, const std::string& name, kernel::TypeCode type);
void Set(const Session& session, const std::string& path, const std::string& name, kernel::TypeCode type,
         const std::string& text);
void RemoveKey(const Session& session, const std::string& path);
void RemoveValue(const Session& session, const std::string& path, const std::string& name);
/// The subtree stands under the same path in `target`, which is made if it's missing.
void Copy(const Session& session, const std::string& path, const std::filesystem::path& target);
/// Elements that repeat in their parent become keys of their own: "item", "item#2".
void Import(const Session& session, const std::filesystem::path& foreign);
void Check(const Session& session);

}   // namespace arborctl

#include "document.h"

#include "addressing.h"

#include <host/result_text.h>
#include <host/system.h>
#include <host/text.h>

namespace arborctl {
Refusal::Refusal(kernel::ResultCode code, std::string_view tried)
    : std::runtime_error(host::Describe(code).append(" (").append(tried).append(")")), refused(code) {}

void Demand(arbor::Status status, std::string_view tried) {
    if (!status) throw Refusal(status.Code(), tried);
}

std::filesystem::path PathOf(const std::string& argument) { return std::u8string(argument.begin(), argument.end()); }

std::filesystem::path FollowLink(const std::filesystem::path& path) {
    std::error_code ignored;   // a path that can't be examined is no link
    return std::filesystem::is_symlink(path, ignored) ? host::RealPath(path) : path;
}

std::string PathText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return host::Printable({reinterpret_cast<const char*>(text.data()), text.size()});
}

std::string LoadState(kernel::ResultCode code) {
    return kernel::IsSuccess(code) ? "loads" : "doesn't load: " + host::Describe(code);
}

Document::Document(host::Kernel& kernel, const DocumentSettings& settings, Progress& progress)
    : object(kernel), stages(&progress), file(settings.document) {
    const std::string tried = "loading " + PathText(settings.document);
    const auto set = [&tried](kernel::ResultCode code) { Demand(arbor::Status(code), tried); };
    set(object.SetDocument(settings.document));
    set(object.SetNumber(kernel::PropertyReadOnly, settings.readOnly ? 1 : 0));
    set(object.SetNumber(kernel::PropertyOpenFlags, settings.create ? kernel::kOpenFlagCreate : 0));
    set(object.SetNumber(kernel::PropertyBackupMode, settings.backupMode));
    const Progress::Stage stage = progress.Begin("loading", file);
    const kernel::ResultCode code = object.Ready();
    if (kernel::IsFailure(code)) throw LoadError(code, tried);
    if (settings.root.IsRoot()) return;
    const arbor::Key root = OpenKey(Root(), settings.root);
    set(object.OwnMethods().SetRootKey(object.Get(), root.Handle()));
}

Document::Document(host::Kernel& kernel, host::IoObject& io) : object(kernel) {
    Demand(arbor::Status(object.SetIoObject(io.Get())), "naming the document's home");
    Demand(arbor::Status(object.Ready()), "loading");
}

Document::Document(host::Kernel& kernel) : object(kernel) {
    Demand(arbor::Status(object.Ready()), "making an empty tree");
}

void Document::Save() const {
    const Progress::Stage stage = stages != nullptr ? stages->Begin("saving", file) : Progress::Stage();
    Demand(Root().Save(), "saving");
}

/// A key that comes and goes marks the document as changed and leaves it as it was.
void Document::SaveAnyway() const {
    std::string name = "#";
    while (Root().Open(name)) name += '#';
    Demand(arbor::Status(Root().Make(name).Code()), "marking");
    Demand(Root().RemoveKey(name), "marking");
    Save();
}

}   // namespace arborctl

// GLib's GKeyFile. It has a format of its own: each key becomes a group named by its path. The converted document is
// written beside the XML document at the first load.

#include "peer.h"

#include <glib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace bench {
namespace {

/// The group of the root's values; no key has this name.
constexpr char kRootGroup[] = "/";

struct FreeText {
    void operator()(char* text) const { g_free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

/// GKeyFile stores no types, so a digit for the kind precedes each text.
std::string TypedText(Kind kind, std::string_view text) {
    return std::to_string(static_cast<unsigned>(kind)).append(text);
}

class KeyFile : public Peer {
public:
    void Load(const std::string& file) override {
        const std::string converted = file + ".ini";
        if (!std::filesystem::exists(converted)) Convert(file, converted);
        keyFile.reset(g_key_file_new());
        if (g_key_file_load_from_file(keyFile.get(), converted.c_str(), G_KEY_FILE_NONE, nullptr) == 0) {
            throw std::runtime_error("GKeyFile can't load the document");
        }
    }
    void Free() override { keyFile.reset(); }

    std::size_t Get(const Entry& entry, char* buffer) override {
        const Text typed(g_key_file_get_string(keyFile.get(), Group(entry), entry.name.c_str(), nullptr));
        return CopyTyped(entry.kind, typed.get() + 1, buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        g_key_file_set_string(keyFile.get(), Group(entry), entry.name.c_str(), TypedText(entry.kind, text).c_str());
    }

    ContentDigest Enumerate() override { return DigestOf(keyFile.get()); }

    [[nodiscard]] ContentDigest DigestOfSaved(std::string_view text) override {
        const Owned saved(g_key_file_new());
        g_key_file_load_from_data(saved.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
        return DigestOf(saved.get());
    }

    void Save(std::string& text) override {
        gsize size = 0;
        const Text data(g_key_file_to_data(keyFile.get(), &size, nullptr));
        text.append(data.get(), size);
    }

private:
    struct FreeKeyFile {
        void operator()(GKeyFile* owned) const { g_key_file_free(owned); }
    };
    using Owned = std::unique_ptr<GKeyFile, FreeKeyFile>;
    struct FreeTexts {
        void operator()(char** texts) const { g_strfreev(texts); }
    };
    using Texts = std::unique_ptr<char*, FreeTexts>;

    static const char* Group(const Entry& entry) { return entry.path.empty() ? kRootGroup : entry.path.c_str(); }
    static Kind KindIn(std::string_view typed) { return static_cast<Kind>(typed.front() - '0'); }

    void Convert(const std::string& file, const std::string& converted) {
        keyFile.reset(g_key_file_new());
        ReadDocument(
            ReadFile(file), [](const std::string&) {}, [&](const Entry& entry) { Set(entry, {}, entry.text); });
        std::string text;
        Save(text);
        std::ofstream(converted, std::ios::binary) << text;
    }

    static ContentDigest DigestOf(GKeyFile* file) {
        Enumeration content;
        const Texts groups(g_key_file_get_groups(file, nullptr));
        for (char** group = groups.get(); *group != nullptr; ++group) {
            const std::string_view path = *group;
            if (path != kRootGroup) content.AddKey(path.substr(path.rfind('/') + 1));
            const Texts names(g_key_file_get_keys(file, *group, nullptr, nullptr));
            for (char** name = names.get(); *name != nullptr; ++name) {
                const Text typed(g_key_file_get_string(file, *group, *name, nullptr));
                const std::size_t size = CopyTyped(KindIn(typed.get()), typed.get() + 1, content.ValueBuffer());
                content.AddValue(*name, size);
            }
        }
        return content.Digest();
    }

    Owned keyFile;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    return bench::RunPeer(argumentCount, arguments, {{"gkeyfile", [] { return std::make_unique<bench::KeyFile>(); }}});
}

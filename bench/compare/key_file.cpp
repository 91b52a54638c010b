// GLib's GKeyFile. It reads another format: the same tree as groups named by paths, written beside the document once.

#include "peer.h"

#include <glib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace bench {
namespace {

/// The group of the values at the root; no key has such a name.
constexpr char kRootGroup[] = "/";

struct FreeText {
    void operator()(char* text) const { g_free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

/// The kind stands in front of each text, as a user would have to do.
std::string Held(Kind kind, std::string_view text) { return std::to_string(static_cast<unsigned>(kind)).append(text); }

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
        const Text held(g_key_file_get_string(keyFile.get(), Group(entry), entry.name.c_str(), nullptr));
        return CopyTyped(entry.kind, held.get() + 1, buffer);
    }
    void Set(const Entry& entry, std::string_view, std::string_view text) override {
        g_key_file_set_string(keyFile.get(), Group(entry), entry.name.c_str(), Held(entry.kind, text).c_str());
    }

    Census Enumerate() override { return CensusOf(keyFile.get()); }

    [[nodiscard]] Census CensusOfSaved(std::string_view text) override {
        const Owned saved(g_key_file_new());
        g_key_file_load_from_data(saved.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
        return CensusOf(saved.get());
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
    static Kind KindIn(std::string_view held) { return static_cast<Kind>(held.front() - '0'); }

    void Convert(const std::string& file, const std::string& converted) {
        keyFile.reset(g_key_file_new());
        ReadDocument(
            ReadFile(file), [](const std::string&) {}, [&](const Entry& entry) { Set(entry, {}, entry.text); });
        std::string text;
        Save(text);
        std::ofstream(converted, std::ios::binary) << text;
    }

    static Census CensusOf(GKeyFile* file) {
        Census census;
        const Texts groups(g_key_file_get_groups(file, nullptr));
        for (char** group = groups.get(); *group != nullptr; ++group) {
            const std::string_view path = *group;
            if (path != kRootGroup) census.AddKey(path.substr(path.rfind('/') + 1));
            const Texts names(g_key_file_get_keys(file, *group, nullptr, nullptr));
            for (char** name = names.get(); *name != nullptr; ++name) {
                const Text held(g_key_file_get_string(file, *group, *name, nullptr));
                char buffer[kLongestValue];
                census.AddValue(*name, {buffer, CopyTyped(KindIn(held.get()), held.get() + 1, buffer)});
            }
        }
        return census;
    }

    Owned keyFile;
};

}   // namespace
}   // namespace bench

int main(int argumentCount, char** arguments) {
    return bench::RunPeer(argumentCount, arguments, {{"gkeyfile", [] { return std::make_unique<bench::KeyFile>(); }}});
}

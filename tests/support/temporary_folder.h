/// A new folder for one test, which is removed with its content when the test ends. `Path` and `Utf8` give paths in the
/// form that the module takes, with a drive. The functions on files use the standard library, not the module.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace testing_support {

class TemporaryFolder {
public:
    TemporaryFolder() : TemporaryFolder(std::filesystem::temp_directory_path()) {}

    /// In `parent` instead of the system's folder for temporary files.
    explicit TemporaryFolder(const std::filesystem::path& parent) {
        std::random_device random;
        do {
            folder = std::filesystem::absolute(parent) / ("arbor-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(folder));   // throws where it can't
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;   // a file that a failed test left open can't be removed
        for (std::filesystem::recursive_directory_iterator entry(folder, ignored), end; entry != end;
             entry.increment(ignored)) {
            if (entry->is_regular_file(ignored)) MakeWritable(entry->path());
        }
        std::filesystem::remove_all(folder, ignored);
    }

    /// The folder itself, as the standard library takes it.
    [[nodiscard]] const std::filesystem::path& Folder() const { return folder; }

    /// The path of an entry; of the folder itself for an empty name. Names are UTF-16, with either separator.
    [[nodiscard]] std::u16string Path(std::u16string_view name = {}) const {
        return DriveForm(Native(name)).u16string();
    }

    /// The same in UTF-8.
    [[nodiscard]] std::string Utf8(std::u16string_view name = {}) const {
        const std::u8string text = DriveForm(Native(name)).u8string();
        return {text.begin(), text.end()};
    }

    void Write(std::u16string_view name, std::string_view bytes) const {
        std::ofstream file(Native(name), std::ios::binary | std::ios::trunc);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        file.close();
        if (!file) throw std::runtime_error("can't write a test's file");
    }

    /// The bytes of a file, `kFolder` for a folder, or `kMissing`.
    [[nodiscard]] std::string Read(std::u16string_view name) const {
        if (std::filesystem::is_directory(Native(name))) return std::string(kFolder);
        std::ifstream file(Native(name), std::ios::binary);
        if (!file) return std::string(kMissing);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    [[nodiscard]] bool Exists(std::u16string_view name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(Native(name)));
    }

    void MakeFolder(std::u16string_view name) const { std::filesystem::create_directories(Native(name)); }

    void MakeReadOnly(std::u16string_view name) const {
        std::filesystem::permissions(Native(name), kWriteBits, std::filesystem::perm_options::remove);
    }

    /// The names in the folder, in order.
    [[nodiscard]] std::vector<std::string> List() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            const std::u8string name = entry.path().filename().u8string();
            names.emplace_back(name.begin(), name.end());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    /// An entry as the standard library takes it.
    [[nodiscard]] std::filesystem::path Native(std::u16string_view name) const {
        std::u16string portable(name);
        std::replace(portable.begin(), portable.end(), u'\\', u'/');
        return name.empty() ? folder : folder / portable;
    }

    static constexpr std::string_view kMissing = "<no such file>";
    static constexpr std::string_view kFolder = "<a folder>";

private:
    static constexpr std::filesystem::perms kWriteBits = std::filesystem::perms::owner_write |
                                                         std::filesystem::perms::group_write |
                                                         std::filesystem::perms::others_write;

    static void MakeWritable(const std::filesystem::path& path) {
        std::error_code ignored;
        std::filesystem::permissions(path, std::filesystem::perms::owner_write, std::filesystem::perm_options::add,
                                     ignored);
    }

    /// A system whose paths have no drive shows all of them on drive `Z:`.
    static std::filesystem::path DriveForm(const std::filesystem::path& path) {
        if constexpr (std::filesystem::path::preferred_separator == '\\') {
            std::filesystem::path preferred = path;
            return preferred.make_preferred();
        }
        std::u16string text = u"Z:" + path.u16string();
        std::replace(text.begin(), text.end(), u'/', u'\\');
        return text;
    }

    std::filesystem::path folder;
};

}   // namespace testing_support

#include "support/store.h"

#include <arborctl/apply.h>
#include <arborctl/copy_disambiguated.h>
#include <arborctl/diff.h>
#include <arborctl/flat_text.h>
#include <arborctl/json_document.h>
#include <arborctl/walk.h>
#include <component/kernel/type_table.h>

#include <random>
#include <sstream>

namespace {

/// A key (type 0) or value, as a walk finds it.
struct Entry {
    std::size_t depth;
    std::string name;
    kernel::TypeCode type;
    std::string bytes;

    bool operator==(const Entry&) const = default;
};

std::vector<Entry> EntriesOf(const arbor::Key& top) {
    std::vector<Entry> entries;
    arborctl::Walk(top, [&](const arbor::Key& key, std::size_t depth) {
        entries.push_back({depth, depth == 0 ? "" : arborctl::NameOf(key), 0, ""});
        arborctl::ForEachValue(key, [&](const arbor::Value& value) {
            const arbor::Datum datum = arborctl::Read(value);
            entries.push_back({depth, value.Name(), datum.type, datum.bytes});
        });
    });
    return entries;
}

/// Fills a tree with names and values at random. Each type and each kind of text occurs often in a hundred trees.
class RandomTree {
public:
    explicit RandomTree(unsigned seed) : random(seed) {}

    void Fill(const arbor::Key& top) {
        std::vector<arbor::Key> keys{top};
        for (std::size_t count = Below(12); count > 0; --count) {
            std::string name = Text(1 + Below(6));
            std::erase_if(name, [](char c) { return c == '/' || c == '\\'; });
            if (const auto key = keys[Below(keys.size())].Make(name)) keys.push_back(*key);
        }
        for (std::size_t count = Below(20); count > 0; --count) {
            const kernel::ValueTypeRow& row = kernel::kStoredTypes[Below(kernel::kStoredTypes.size())];
            const std::string name = Text(Below(6));
            const arbor::Key& key = keys[Below(keys.size())];
            if (key.Type(name)) continue;   // the store would convert the new data
            EXPECT_TRUE(key.SetLenient(name, {row.type, Bytes(row)}));
        }
    }

private:
    std::size_t Below(std::size_t limit) { return random() % limit; }

    std::string Text(std::size_t length) {
        constexpr const char* kPieces[] = {"a",
                                           "B",
                                           "#1",
                                           "#",
                                           "%x41",
                                           "%",
                                           "\t",
                                           "\n",
                                           "\x7F",
                                           "\"",
                                           "\\",
                                           "/",
                                           " ",
                                           "<&>",
                                           "{",
                                           "\xC3\xA9",
                                           "\xFF",
                                           "\xED\xA0\x80",
                                           "\xF0\x9F\x98\x80"};
        std::string text;
        while (length-- > 0) text += kPieces[Below(std::size(kPieces))];
        return text;
    }

    std::string Bytes(const kernel::ValueTypeRow& row) {
        if (row.type == kernel::tSTRING) return Text(Below(20));
        if (row.type == kernel::tVOID) return "";
        std::string bytes;
        for (std::size_t size = row.width != 0 ? row.width : 2 * Below(20); size > 0; --size) {
            const char byte = Below(8) == 0 ? '\xFF' : static_cast<char>(Below(256));
            bytes += row.type == kernel::tWSTRING && byte == 0 ? 'w' : byte;   // surrogates too
        }
        if (Below(4) == 0 && row.type != kernel::tWSTRING) bytes.assign(bytes.size(), '\0');
        if (Below(4) == 0 && row.width != 0) bytes.back() = '\x80';   // -0.0, and the least integers
        return bytes;
    }

    std::mt19937 random;
};

/// The flat text that makes `before` equal to `after`.
std::string Patch(const arbor::Key& before, const arbor::Key& after) {
    std::string patch;
    arborctl::FlatChanges flat([&patch](const std::string& line) { patch += line + '\n'; });
    const arborctl::PackedTree packed = arborctl::Pack(before, arborctl::PackedNames::Printed);
    arborctl::Compare(packed.Root(), after, [&flat](const arborctl::Change& change) { flat.Add(change); });
    flat.End();
    return patch;
}

TEST(RoundTripTest, AThousandTreesComeBackFromJsonAndFlatTextUnchanged) {
    host::Kernel kernel;
    kernel.LoadModule(test::ModulePath());
    for (unsigned seed = 0; seed < 1000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const arborctl::Document original(kernel);
        RandomTree(seed).Fill(original.Root());
        std::ostringstream json;
        arborctl::WriteJsonDocument(json, original.Root(), [] {});
        const arborctl::Document copy(kernel);
        arborctl::CopyDisambiguated(arborctl::ReadJsonDocument(json.str(), "random"), copy.Root());
        ASSERT_EQ(EntriesOf(copy.Root()), EntriesOf(original.Root())) << json.str();
        std::string flat;
        arborctl::PrintFlat(
            original.Root(), "", [&flat](const std::string& line) { flat += line + '\n'; }, [] {});
        const arborctl::Document applied(kernel);
        arborctl::ApplyText(kernel, applied.Root(), flat, "random", {.forms = arborctl::LineForms::Flat});
        ASSERT_EQ(EntriesOf(applied.Root()), EntriesOf(original.Root())) << flat;
        const arborctl::Document other(kernel);
        RandomTree(seed + 1).Fill(other.Root());
        const std::string patch = Patch(original.Root(), other.Root());
        arborctl::ApplyText(kernel, original.Root(), patch, "patch");
        ASSERT_EQ(Patch(original.Root(), other.Root()), "") << patch;
    }
}

}   // namespace

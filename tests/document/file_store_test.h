/// The fixture of the tests of loading and saving: a folder of their own, and objects of the module on documents in it.
#pragma once

#include "object/registration.h"
#include "support/store.h"
#include "support/temporary_folder.h"

#include <component/kernel/properties.h>

#include <optional>
#include <utility>

namespace test {

class FileStoreTest : public testing::Test {
protected:
    FileStoreTest() { kernel.Start(&ModuleEntry); }
    ~FileStoreTest() override {
        store.reset();
        EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport();
    }

    /// A new object on the document `name`, not ready yet, with no tree of an earlier one left.
    Store& MakeStore(std::u16string_view name) {
        store.emplace(kernel);
        EXPECT_EQ(store->object.SetName(folder.Path(name)), kDone);
        return *store;
    }

    /// The same, ready on what stands there.
    Store& LoadStore(std::u16string_view name) {
        MakeStore(name);
        store->code = store->object.Ready();
        return *store;
    }

    /// The trace lines of that level since the last call.
    std::vector<std::string> LinesOf(std::uint32_t level) {
        std::vector<std::string> found;
        for (const host::TraceLine& line : std::exchange(lines, {})) {
            if (line.level == level) found.push_back(line.text);
        }
        return found;
    }

    /// What a save writes of a tree whose one value `v` is a number.
    static std::string DocumentOf(int number) {
        return "<arbor>\r\n    <tDWORD name=\"v\">" + std::to_string(number) + "</tDWORD>\r\n</arbor>\r\n";
    }

    const std::string kDocument = DocumentOf(1);
    testing_support::TemporaryFolder folder;
    std::vector<host::TraceLine> lines;
    host::Kernel kernel{
        {.traceLevel = 599, .traceSink = [this](const host::TraceLine& line) { lines.push_back(line); }}};
    std::optional<Store> store;
};

}   // namespace test

// Threads of two containers that share a folder may have the same id, and so the same name for their temporary files.

#include "object/registration.h"
#include "support/file_faults.h"
#include "support/store.h"
#include "support/temporary_folder.h"

#include <component/kernel/properties.h>
#include <component/platform/errors.h>

namespace test {
namespace {

using namespace testing_support;

TEST(SameThreadIdTest, NoOtherSaverGetsTheTemporaryFileBeforeTheFinalMove) {
    const testing_support::TemporaryFolder folder;
    const std::u16string document = folder.Path(u"store.xml");
    folder.Write(u"store.xml", "<arbor></arbor>");
    host::Kernel kernel;
    kernel.Start(&ModuleEntry);
    Store store(kernel);
    store.object.SetName(document);
    store.object.SetNumber(PropertyBackupMode, 2);
    ASSERT_EQ(store.object.Ready(), kDone);
    store.SetNumber(0, "v", tDWORD, 2U);

    std::u16string temporary;
    int refused = 0;
    bool isMoved = false;
    {
        const testing_support::FileFaults calls(
            {.nth = testing_support::kAllFurtherCalls}, [&](const FileEvent& event) {
                if (temporary.empty()) temporary = event.path;
                isMoved = isMoved || (event.call == FileCall::Move && event.path == temporary);
                if (isMoved) return;
                platform::Handle reservation = platform::kInvalidHandle;
                EXPECT_EQ(platform::CreateReplacementFile(temporary.c_str(), document.c_str(), document.c_str(),
                                                          &reservation),
                          platform::kInvalidHandle);
                EXPECT_EQ(platform::GetLastError(), platform::kErrorSharingViolation);
                ++refused;
            });
        EXPECT_EQ(store.Save(), kDone);
    }
    EXPECT_TRUE(isMoved);
    EXPECT_EQ(refused, 5) << "after open, write, flush, first and second backup";
    Store saved(kernel);
    saved.object.SetName(document);
    EXPECT_EQ(saved.object.Ready(), kDone);
    EXPECT_EQ(saved.Number<std::uint32_t>(0, "v", tDWORD), 2U);
}

}   // namespace
}   // namespace test

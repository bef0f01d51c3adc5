// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/FileIdentity.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace corvane::detail {
namespace {

// What file systems other than the one the tests run on would say.
TEST(FileIdentityTests, AnItemIsKnownByWhatItsFileSystemKeeps)
{
    const FileIdentity full{1, 20, 1000, 5, S_IFREG, false, 1, "generation 1"};
    const auto with = [&full](auto change) {
        FileIdentity other = full;
        change(other);
        return other;
    };
    using I = FileIdentity;
    const I otherSystem = with([](I& i) { i.fileSystem = 2; });
    const I noHandle = with([](I& i) { i.handle.clear(); });
    const I noBirth = with([](I& i) { i.birthSeconds = i.birthNanoseconds = 0; });
    const I bare = with([](I& i) { i.handle.clear(), i.birthSeconds = i.birthNanoseconds = 0; });
    const I anew = with([](I& i) { i.isNumberedAnew = true; });
    struct Row {
        const char* name;
        I a, b;
        bool isSame;
    };
    const Row rows[] = {
        {"itself", full, full, true},
        {"another inode", full, with([](I& i) { i.inode = 21; }), false},
        {"another kind", full, with([](I& i) { i.kind = S_IFDIR; }), false},
        {"another generation", full, with([](I& i) { i.handle = "generation 2"; }), false},
        {"another generation, births unknown", noBirth, with([](I& i) { i.handle = "generation 2"; }), false},
        {"a handle of another form", full, with([](I& i) { i.handleType = 2, i.handle = "x"; }), true},
        {"born later", full, with([](I& i) { i.birthSeconds = 1001; }), false},
        {"born a tick later, no handle", noHandle, with([](I& i) { i.birthNanoseconds = 6; }), false},
        {"the disk's number changed", full, otherSystem, true},
        {"the disk's number changed, no handle", noHandle, otherSystem, true},
        {"the disk's number changed, birth unknown", noBirth, otherSystem, true},
        {"nothing but the inode", bare, full, true},
        {"nothing but the inode, another disk", bare, otherSystem, false},
        {"numbered anew", anew, with([](I& i) { i.isNumberedAnew = true, i.inode = 7, i.birthSeconds = 9; }),
         true},
        {"numbered anew, another kind", anew, with([](I& i) { i.isNumberedAnew = true, i.kind = S_IFDIR; }),
         false},
        {"numbered anew on one side", anew, full, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(isSameItem(row.a, row.b), row.isSame) << row.name;
        EXPECT_EQ(isSameItem(row.b, row.a), row.isSame) << row.name;
    }
}

} // namespace
} // namespace corvane::detail

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Support/TemporaryFolder.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace corvane::tests {

/// Runs `body` in a child process, which has what it did to itself to itself. Expectations that fail there are
/// printed, and fail the test.
template <typename Body>
void inChild(Body body)
{
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "see the expectations of the child above";
}

/// Runs `body` in a child process as somebody whom permissions hold. Root becomes nobody, and `folder` with all in
/// it nobody's.
template <typename Body>
void asOrdinaryUser(const TemporaryFolder& folder, Body body)
{
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0) {
        ASSERT_EQ(::lchown(folder.path().c_str(), nobody, nobody), 0);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
            ASSERT_EQ(::lchown(entry.path().c_str(), nobody, nobody), 0);
    }
    inChild([&] {
        if (::geteuid() == 0) {
            ASSERT_EQ(::setresgid(nobody, nobody, nobody), 0);
            ASSERT_EQ(::setresuid(nobody, nobody, nobody), 0);
        }
        body();
    });
}

/// Gives the process mounts of its own, and says whether it could.
inline bool ownMounts()
{
    const auto write = [](const char* file, const std::string& text) {
        const int descriptor = ::open(file, O_WRONLY | O_CLOEXEC);
        const bool isWritten =
            ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
        ::close(descriptor);
        return isWritten;
    };
    const std::string user = std::to_string(::geteuid()), group = std::to_string(::getegid());
    const bool isRoot = ::geteuid() == 0;
    if (::unshare(isRoot ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0)
        return false;
    if (!isRoot &&
        !(write("/proc/self/setgroups", "deny") && write("/proc/self/uid_map", "0 " + user + " 1") &&
          write("/proc/self/gid_map", "0 " + group + " 1")))
        return false;
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// Whether `withSmallDisk` can be had here: it takes a mount of one's own.
inline bool canMount()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(ownMounts() && ::mount("none", "/tmp", "tmpfs", 0, "size=64k") == 0 ? 0 : 1);
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

/// Runs `body` in a child process that finds a file system with room for a megabyte and 20 items in `folder`, an
/// empty one that exists.
template <typename Body>
void withSmallDisk(const std::string& folder, Body body)
{
    inChild([&] {
        ASSERT_TRUE(ownMounts());
        ASSERT_EQ(::mount("none", folder.c_str(), "tmpfs", 0, "size=1m,nr_inodes=20"), 0);
        body();
    });
}

} // namespace corvane::tests

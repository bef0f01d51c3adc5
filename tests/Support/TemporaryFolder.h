// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace corvane::tests {

/// A fresh folder, with its symbolic links resolved, that is gone with all it holds when the test ends.
class TemporaryFolder {
public:
    TemporaryFolder() : TemporaryFolder(std::filesystem::temp_directory_path()) {}
    explicit TemporaryFolder(const std::filesystem::path& parent)
    {
        std::string pattern = (parent / "corvane-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::system_error(errno, std::system_category(), pattern);
        path_ = std::filesystem::canonical(pattern);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder()
    {
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(path_, ignored))
            if (entry.is_directory(ignored) && !entry.is_symlink(ignored))
                std::filesystem::permissions(entry, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(path_, ignored);
    }

    /// Where making and removing thousands of folders costs no disk, if there is such a place.
    static std::filesystem::path inMemory()
    {
        const std::filesystem::path memory = "/dev/shm";
        return ::access(memory.c_str(), W_OK | X_OK) == 0 ? memory : std::filesystem::temp_directory_path();
    }

    const std::filesystem::path& path() const { return path_; }
    std::string operator/(std::string_view name) const { return (path_ / name).string(); }

    /// Writes the file `name`, with the folders that lead to it; gives its path.
    std::string write(std::string_view name, std::string_view content = {}) const
    {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        EXPECT_TRUE(std::filesystem::exists(file)) << file;
        return file.string();
    }

    /// Makes the folder `name`, with those that lead to it; gives its path.
    std::string makeFolder(std::string_view name) const
    {
        std::filesystem::create_directories(path_ / name);
        return (path_ / name).string();
    }

    static std::string read(const std::filesystem::path& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    std::filesystem::path path_;
};

} // namespace corvane::tests

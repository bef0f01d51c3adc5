// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Storage/OSStatus.h>
#include <corvane/Platform/Storage/SecretBytes.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

namespace corvane {

/// An open file or folder; a negative number is none.
class Descriptor {
public:
    explicit Descriptor(int number = -1) noexcept : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor();

    int get() const noexcept { return number_; }
    explicit operator bool() const noexcept { return number_ >= 0; }

private:
    int number_;
};

/// Makes a folder and those on the way to it for the user alone, as the rules for data directories have it. False with
/// the reason in `errno` when one of them cannot be made.
bool makeFolders(const std::string& path);

/// A folder that only its owner may enter, with small files that are written once. Links are followed on the way to it,
/// never at its end nor inside. Thread-compatible.
class PrivateFolder {
public:
    enum class Creation { allowed, never };
    enum class FileState { sound, missing, notAFile, foreign, exposed, unreadable };
    enum class Written { now, before, failed };

    /// `errSecItemNotFound` when it does not exist and may not be made.
    static OSStatus open(const std::string& path, Creation creation, PrivateFolder& folder);
    /// `folder`, or the usual one where that is empty; absent for a user without a home.
    static std::optional<std::string> pathFor(const std::string& folder);

    /// The bytes of a file that belongs to the user and to nobody else, at most `limit` of them.
    FileState read(const std::string& name, std::size_t limit, SecretBytes& content) const;
    /// Puts a whole, synced file under a name that no file has; leaves alone the one that has it.
    Written write(const std::string& name, DataView content) const;
    bool remove(const std::string& name) const;
    FileState state(const std::string& name) const;

    /// Holds others out until it is destroyed; empty when they hold it for longer than `wait`, or it cannot be made.
    Descriptor lock(const std::string& name, std::chrono::milliseconds wait) const;

    /// Puts `from` under a name that no file has, as `write` does.
    Written link(const std::string& from, const std::string& name) const;

    const std::string& path() const noexcept { return path_; }

private:
    Descriptor folder_;
    std::string path_;
};

} // namespace corvane

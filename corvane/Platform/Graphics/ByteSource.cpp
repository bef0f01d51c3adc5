// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/ByteSource.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace corvane::images {

std::optional<ByteSource> ByteSource::open(const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return std::nullopt;
    struct Descriptor {
        explicit Descriptor(int number) : file(number) {}
        Descriptor(const Descriptor&) = delete;
        Descriptor& operator=(const Descriptor&) = delete;
        ~Descriptor() { ::close(file); }
        int file;
    };
    const auto owner = std::make_shared<const Descriptor>(file);
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0)
        return std::nullopt;
    ByteSource source;
    source.owner_ = owner;
    source.size_ = static_cast<std::uint64_t>(status.st_size);
    source.file_ = file;
    return source;
}

ByteSource ByteSource::owning(Data data)
{
    const auto owner = std::make_shared<const Data>(std::move(data));
    ByteSource source = viewing(*owner);
    source.owner_ = owner;
    return source;
}

ByteSource ByteSource::viewing(DataView data)
{
    ByteSource source;
    source.memory_ = data;
    source.size_ = data.size();
    return source;
}

std::size_t ByteSource::read(std::uint64_t offset, std::span<std::byte> into) const noexcept
{
    if (offset >= size_)
        return 0;
    if (file_ < 0) {
        const std::size_t count = std::min(into.size(), memory_.size() - static_cast<std::size_t>(offset));
        if (count > 0)
            std::memcpy(into.data(), memory_.data() + offset, count);
        return count;
    }
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t got =
            ::pread(file_, into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

} // namespace corvane::images

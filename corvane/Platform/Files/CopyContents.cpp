// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/CopyContents.h>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace corvane::detail {

namespace {

std::error_code lastError() noexcept
{
    return {errno, std::system_category()};
}

// Has the system copy from `begin` up to `end`, and says how far it came. It may be unable to, which is no error:
// what is left is read and written.
off_t copyInSystem(int from, int to, off_t begin, off_t end) noexcept
{
    constexpr off_t piece = 64 << 20;
    while (begin < end) {
        off_t in = begin, out = begin;
        const ssize_t copied =
            ::copy_file_range(from, &in, to, &out, static_cast<std::size_t>(std::min(piece, end - begin)), 0);
        if (copied < 0 && errno == EINTR)
            continue;
        if (copied <= 0)
            break;
        // Let the disk begin: the file is going to be synced as a whole.
        ::sync_file_range(to, begin, copied, SYNC_FILE_RANGE_WRITE);
        begin += copied;
    }
    return begin;
}

// From `begin` up to `end`, or to the end of the file if `end` is negative.
std::error_code copyThroughMemory(int from, int to, off_t begin, off_t end) noexcept
{
    constexpr std::size_t size = std::size_t{256} << 10U;
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
    if (!buffer)
        return std::make_error_code(std::errc::not_enough_memory);
    while (end < 0 || begin < end) {
        const std::size_t wanted = end < 0 ? size : std::min(size, static_cast<std::size_t>(end - begin));
        const ssize_t got = ::pread(from, buffer.get(), wanted, begin);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return lastError();
        if (got == 0)
            break;
        for (ssize_t done = 0; done < got;) {
            const ssize_t written =
                ::pwrite(to, buffer.get() + done, static_cast<std::size_t>(got - done), begin + done);
            if (written < 0 && errno != EINTR)
                return lastError();
            done += std::max<ssize_t>(written, 0);
        }
        begin += got;
    }
    return {};
}

} // namespace

std::error_code copyContents(int from, int to) noexcept
{
    if (::ioctl(to, FICLONE, from) == 0)
        return {};
    struct stat found {};
    if (::fstat(from, &found) != 0)
        return lastError();
    const off_t size = found.st_size;
    for (off_t begin = 0; begin < size;) {
        const off_t data = ::lseek(from, begin, SEEK_DATA);
        if (data < 0 && errno == ENXIO) // a hole up to the end
            break;
        off_t end = size;
        if (data >= 0) {
            begin = data;
            if (const off_t hole = ::lseek(from, begin, SEEK_HOLE); hole > begin)
                end = std::min(hole, size);
        }
        if (const off_t reached = copyInSystem(from, to, begin, end); reached < end)
            if (const std::error_code error = copyThroughMemory(from, to, reached, end))
                return error;
        begin = end;
    }
    if (::ftruncate(to, size) != 0) // a hole at the end
        return lastError();
    // Files of the system's own say that they are empty and are not; others may have grown.
    return copyThroughMemory(from, to, size, -1);
}

} // namespace corvane::detail

// SPDX-License-Identifier: Apache-2.0
// Damages image files of every format in many ways and has them read: properties, image, thumbnails. What it looks
// for is a crash, a hang or a finding of a sanitizer; what comes out of a damaged file may be absent or a picture.
//
//     corvane_image_mutations [count for each format] [seconds] [first seed]
//
// The same numbers give the same files. Stops early, and says so, when the seconds are over.
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/Platform/Graphics/CGImageDestination.h>
#include <corvane/Platform/Graphics/CGImageSource.h>
#include <tests/Support/ImageFiles.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace corvane::tests {

namespace {

using Clock = std::chrono::steady_clock;

std::optional<CGImage> seedPicture(bool translucent)
{
    return drawWith(96, 64, [&](CGContext& context) {
        for (int x = 0; x < 96; x += 4)
            for (int y = 0; y < 64; y += 4) {
                context.setFillColor(CGColor::genericRGB(
                    x / 96.0, y / 64.0, std::fabs(std::sin(x * y * 0.02)), translucent && x > 48 ? 0.4 : 1));
                context.fill(CGRect::make(x, y, 4, 4));
            }
    });
}

struct Format {
    const char* name;
    std::vector<Data> seeds;
};

std::vector<Format> formats()
{
    std::vector<Format> all{{"PNG", {}}, {"JPEG", {}}, {"TIFF", {}}, {"HEIC", {}}};
    for (const ImageFile& file : imageFiles())
        for (Format& format : all)
            if (file.name.starts_with(format.name))
                format.seeds.push_back(file.bytes);
    all[0].seeds.push_back(pngWithProfile(200, 100, 50, swappedProfile()));
    all[1].seeds.push_back(jpegWithProfile(200, 100, 50, swappedProfile()));
    for (const bool translucent : {false, true}) {
        const auto picture = seedPicture(translucent);
        if (!picture)
            continue;
        const CGImageExportFormat kinds[] = {CGImageExportFormat::png, CGImageExportFormat::jpg,
                                             CGImageExportFormat::tiff, CGImageExportFormat::heic};
        for (std::size_t i = 0; i < 4; ++i)
            if (auto bytes = data(*picture, kinds[i], PropertyDictionary{{kCGImagePropertyOrientation, 6}}))
                all[i].seeds.push_back(*std::move(bytes));
    }
    return all;
}

// A PNG piece with a wrong checksum is refused before anything looks into it: most damaged files get right ones.
void repairChecksums(Data& file)
{
    static const auto table = [] {
        std::array<std::uint32_t, 256> made{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) != 0 ? 0xEDB88320u ^ c >> 1 : c >> 1;
            made[i] = c;
        }
        return made;
    }();
    std::size_t at = 8;
    while (at + 12 <= file.size()) {
        std::uint32_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | std::to_integer<std::uint32_t>(file[at + i]);
        if (length > file.size() - at - 12)
            return;
        std::uint32_t sum = 0xFFFFFFFF;
        for (std::size_t i = at + 4; i < at + 8 + length; ++i)
            sum = table[(sum ^ std::to_integer<std::uint32_t>(file[i])) & 0xFF] ^ sum >> 8;
        sum = ~sum;
        for (std::size_t i = 0; i < 4; ++i)
            file[at + 8 + length + i] = static_cast<std::byte>(sum >> (24 - 8 * i));
        at += 12 + length;
    }
}

class Mutator {
public:
    explicit Mutator(std::uint64_t seed) : random_(seed) {}

    Data mutate(const Format& format)
    {
        Data file = format.seeds[below(format.seeds.size())];
        // Headers are where the decisions are: half of the damage goes to the first bytes.
        const std::size_t steps = 1 + below(below(4) == 0 ? 24 : 4);
        for (std::size_t i = 0; i < steps && !file.empty(); ++i) {
            const std::size_t reach = below(2) == 0 ? std::min<std::size_t>(file.size(), 512) : file.size();
            damage(file, below(reach), format);
        }
        if (format.name == std::string_view("PNG") && below(8) != 0)
            repairChecksums(file);
        return file;
    }

private:
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(random_() % limit); }

    void damage(Data& file, std::size_t at, const Format& format)
    {
        switch (below(9)) {
        case 0:
            file[at] ^= static_cast<std::byte>(1u << below(8));
            break;
        case 1:
        case 2:
            file[at] = static_cast<std::byte>(below(256));
            break;
        case 3: {
            constexpr unsigned char telling[] = {0x00, 0xFF, 0x7F, 0x80, 0x01, 0xFE};
            const auto value = static_cast<std::byte>(telling[below(std::size(telling))]);
            for (std::size_t i = at; i < std::min(at + 1 + below(4), file.size()); ++i)
                file[i] = value;
            break;
        }
        case 4:
            file.resize(at);
            break;
        case 5:
            file.erase(file.begin() + static_cast<std::ptrdiff_t>(at),
                       file.begin() + static_cast<std::ptrdiff_t>(std::min(file.size(), at + 1 + below(16))));
            break;
        case 6:
            file.insert(file.begin() + static_cast<std::ptrdiff_t>(at), 1 + below(16),
                        static_cast<std::byte>(below(256)));
            break;
        case 7: { // a piece of another file
            const Data& other = format.seeds[below(format.seeds.size())];
            const std::size_t from = below(other.size());
            const std::size_t count = std::min({other.size() - from, file.size() - at, 1 + below(64)});
            std::copy_n(other.begin() + static_cast<std::ptrdiff_t>(from), count,
                        file.begin() + static_cast<std::ptrdiff_t>(at));
            break;
        }
        default: { // a piece of its own, elsewhere
            const std::size_t from = below(file.size());
            const std::size_t count = std::min({file.size() - from, file.size() - at, 1 + below(64)});
            std::copy_n(Data(file).begin() + static_cast<std::ptrdiff_t>(from), count,
                        file.begin() + static_cast<std::ptrdiff_t>(at));
            break;
        }
        }
    }

    std::mt19937_64 random_;
};

struct Outcome {
    int images = 0;
    int thumbnails = 0;
    double slowest = 0; // seconds for one file
    bool consistent = true;
};

void read(const Data& file, Outcome& outcome)
{
    const auto start = Clock::now();
    if (auto source = CGImageSource::createBorrowing(file)) {
        const auto properties = source->properties(0);
        const auto image = source->image(0);
        const auto small = source->thumbnail(0, {{kCGImageSourceCreateThumbnailWithTransform, true},
                                                 {kCGImageSourceThumbnailMaxPixelSize, 9}});
        static_cast<void>(source->count());
        static_cast<void>(source->image(1));
        outcome.images += image ? 1 : 0;
        outcome.thumbnails += small ? 1 : 0;
        // What can be decoded has properties that tell its size, and its thumbnail keeps to the edge.
        if (image)
            outcome.consistent = outcome.consistent && properties && imageSize(*properties) == image->size();
        if (small)
            outcome.consistent = outcome.consistent && small->width() <= 9 && small->height() <= 9;
    }
    outcome.slowest = std::max(outcome.slowest, std::chrono::duration<double>(Clock::now() - start).count());
}

// For the debugger: the file that was being read when the process ended.
void keep(const Data& file)
{
    if (const char* path = std::getenv("CORVANE_KEEP_MUTATION"))
        if (std::FILE* out = std::fopen(path, "wb")) {
            std::fwrite(file.data(), 1, file.size(), out);
            std::fclose(out);
        }
}

int run(long count, double seconds, std::uint64_t seed)
{
    bool good = true;
    const std::vector<Format> all = formats();
    for (const Format& format : all) {
        if (format.seeds.size() < 2) {
            std::printf("%s: the files to damage could not be made\n", format.name);
            return 1;
        }
        const auto start = Clock::now();
        const auto deadline =
            start + std::chrono::duration<double>(seconds / static_cast<double>(all.size()));
        Outcome outcome;
        for (const Data& whole : format.seeds)
            read(whole, outcome);
        const bool readable =
            outcome.images == static_cast<int>(format.seeds.size()) && outcome.thumbnails == outcome.images;
        outcome = {};
        long done = 0;
        for (; done < count && Clock::now() < deadline; ++done) {
            const Data file = Mutator(seed + static_cast<std::uint64_t>(done)).mutate(format);
            keep(file);
            read(file, outcome);
        }
        const bool fast = outcome.slowest < 20;
        std::printf(
            "%s: %ld of %ld damaged files, %d still gave an image and %d a thumbnail, slowest %.2f s%s%s%s\n",
            format.name, done, count, outcome.images, outcome.thumbnails, outcome.slowest,
            readable ? "" : "; AN UNDAMAGED FILE WAS NOT READ",
            outcome.consistent ? "" : "; PROPERTIES AND IMAGES DISAGREE", fast ? "" : "; TOO SLOW");
        std::fflush(stdout);
        good = good && readable && outcome.consistent && fast;
    }
    return good ? 0 : 1;
}

} // namespace

} // namespace corvane::tests

int main(int argc, char** argv)
{
    const long count = argc > 1 ? std::atol(argv[1]) : 200;
    const double seconds = argc > 2 ? std::atof(argv[2]) : 60;
    const auto seed = static_cast<std::uint64_t>(argc > 3 ? std::atoll(argv[3]) : 1);
    return corvane::tests::run(count, seconds, seed);
}

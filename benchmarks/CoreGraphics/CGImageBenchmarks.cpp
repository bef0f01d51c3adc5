// SPDX-License-Identifier: Apache-2.0
// Thumbnails, sizes and whole images of pictures as cameras make them, beside what other desktops use.
#include <benchmarks/Support/Goals.h>
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/Platform/Graphics/CGImageDestination.h>

#include <benchmark/benchmark.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <vips/vips.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace corvane::benchmarks {

namespace {

// A photograph's mixture: a sky, soft hills, textured ground with edges, and the grain of a sensor.
std::optional<CGImage> picture(Int width, Int height)
{
    PixelMemory pixels = PixelMemory::allocate(width, height);
    if (!pixels)
        return std::nullopt;
    constexpr std::size_t cells = 256;
    std::vector<float> lattice(cells * cells);
    std::uint32_t state = 12345;
    const auto random = [&state] {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) / 16777216.0f;
    };
    for (float& value : lattice)
        value = random();
    const auto noise = [&](float x, float y) {
        const auto left = static_cast<std::size_t>(x);
        const auto top = static_cast<std::size_t>(y);
        const float u = x - static_cast<float>(left);
        const float v = y - static_cast<float>(top);
        const auto at = [&](std::size_t i, std::size_t j) { return lattice[j % cells * cells + i % cells]; };
        return (at(left, top) * (1 - u) + at(left + 1, top) * u) * (1 - v) +
               (at(left, top + 1) * (1 - u) + at(left + 1, top + 1) * u) * v;
    };
    for (Int y = 0; y < height; ++y) {
        std::uint8_t* row = pixels.row(y);
        const float down = static_cast<float>(y) / static_cast<float>(height);
        for (Int x = 0; x < width; ++x, row += 4) {
            const float u = static_cast<float>(x) / 1000.0f;
            const float v = static_cast<float>(y) / 1000.0f;
            const float hills = 0.35f + 0.25f * noise(u * 1.5f, 3.0f);
            float light = 0.75f - 0.3f * down;
            float red = light * 0.75f, green = light * 0.9f, blue = light * 1.15f;
            if (down > hills) {
                const float coarse = noise(u * 8, v * 8);
                const float fine = noise(u * 60, v * 60);
                const float edge = noise(u * 3, v * 5) > 0.55f ? 0.25f : 0.0f;
                light = 0.25f + 0.3f * coarse + 0.2f * fine + edge;
                red = light * (0.7f + 0.4f * noise(u * 2, v * 2));
                green = light * 0.95f;
                blue = light * 0.55f;
            }
            const float grain = (random() + random() - 1) * 0.08f;
            const auto byte = [&](float value) {
                return static_cast<std::uint8_t>(std::clamp((value + grain) * 255.0f, 0.0f, 255.0f));
            };
            row[0] = byte(blue);
            row[1] = byte(green);
            row[2] = byte(red);
            row[3] = 255;
        }
    }
    return CGImage::fromPixels(std::move(pixels));
}

struct Size {
    const char* name;
    Int width, height;
};
constexpr Size sizes[] = {{"12 MP", 4000, 3000}, {"24 MP", 6000, 4000}};

// Made at its first use and kept for the next run: encoding them takes longer than all the measuring.
std::string file(const Size& size, CGImageExportFormat format)
{
    const auto folder = std::filesystem::temp_directory_path() / "corvane-benchmark-pictures";
    std::filesystem::create_directories(folder);
    const std::string path =
        (folder / (std::to_string(size.width) + "." + std::string(fileExtension(format)))).string();
    static std::map<Int, std::optional<CGImage>> made;
    if (!std::filesystem::exists(path)) {
        auto& image = made[size.width];
        if (!image)
            image = picture(size.width, size.height);
        // Qualities that give files of the sizes that cameras make.
        auto options = defaultWritingOptions(format);
        if (format == CGImageExportFormat::jpg)
            options = {{kCGImageDestinationLossyCompressionQuality, 0.85}};
        else if (format == CGImageExportFormat::heic)
            options = {{kCGImageDestinationLossyCompressionQuality, 0.5}};
        if (!image || !write(*image, format, URL::fromPath(path), options))
            return {};
    }
    return path;
}

void thumbnailByCorvane(benchmark::State& state, const Size& size, CGImageExportFormat format)
{
    const URL url = URL::fromPath(file(size, format));
    for (auto _ : state)
        if (auto image = thumbnail(url, 256); !image || image->width() != 256)
            state.SkipWithError("no thumbnail");
}

void thumbnailByVips(benchmark::State& state, const Size& size, CGImageExportFormat format)
{
    const std::string path = file(size, format);
    for (auto _ : state) {
        VipsImage* image = nullptr;
        if (vips_thumbnail(path.c_str(), &image, 256, "size", VIPS_SIZE_DOWN, nullptr) != 0) {
            state.SkipWithError(vips_error_buffer());
            vips_error_clear();
            break;
        }
        std::size_t bytes = 0;
        g_free(vips_image_write_to_memory(image, &bytes));
        g_object_unref(image);
    }
}

void thumbnailByPixbuf(benchmark::State& state, const Size& size, CGImageExportFormat format)
{
    const std::string path = file(size, format);
    for (auto _ : state) {
        GdkPixbuf* image = gdk_pixbuf_new_from_file_at_scale(path.c_str(), 256, 256, TRUE, nullptr);
        if (image == nullptr) {
            state.SkipWithError("no thumbnail");
            break;
        }
        g_object_unref(image);
    }
}

void imageByCorvane(benchmark::State& state, const Size& size, CGImageExportFormat format)
{
    const URL url = URL::fromPath(file(size, format));
    for (auto _ : state)
        if (auto whole = image(url); !whole)
            state.SkipWithError("no image");
}

void imageByPixbuf(benchmark::State& state, const Size& size, CGImageExportFormat format)
{
    const std::string path = file(size, format);
    for (auto _ : state) {
        GdkPixbuf* whole = gdk_pixbuf_new_from_file(path.c_str(), nullptr);
        if (whole == nullptr) {
            state.SkipWithError("no image");
            break;
        }
        g_object_unref(whole);
    }
}

void sizeByCorvane(benchmark::State& state, const Size& size, CGImageExportFormat format)
{
    const URL url = URL::fromPath(file(size, format));
    for (auto _ : state)
        if (auto read = orientedImageSize(url); !read || static_cast<Int>(read->width) != size.width)
            state.SkipWithError("no size");
}

struct Row {
    const char* name;
    CGImageExportFormat format;
    double atMost;
    bool pixbufReads;
};
constexpr Row rows[] = {{"JPEG", CGImageExportFormat::jpg, 0.85, true},
                        {"PNG", CGImageExportFormat::png, 1.05, true},
                        {"HEIC", CGImageExportFormat::heic, 1.05, false},
                        {"TIFF", CGImageExportFormat::tiff, 1.2, true}};

using Measured = void (*)(benchmark::State&, const Size&, CGImageExportFormat);

void add(const std::string& name, Measured measured, const Size& size, const Row& row)
{
    benchmark::RegisterBenchmark(name.c_str(), measured, size, row.format)
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
}

[[maybe_unused]] const bool registered = [] {
    vips_init("benchmark");
    vips_cache_set_max(0);
    static std::vector<RatioGoal> ratios;
    static std::vector<TimeGoal> times;
    for (const Row& row : rows) {
        for (const Size& size : sizes) {
            const std::string subject = std::string("thumbnail of ") + size.name + " " + row.name;
            add(subject + "/Corvane", thumbnailByCorvane, size, row);
            add(subject + "/libvips", thumbnailByVips, size, row);
            if (row.pixbufReads)
                add(subject + "/gdk-pixbuf", thumbnailByPixbuf, size, row);
            ratios.emplace_back(subject, "libvips", row.atMost, Measure::processorTime);
        }
        const Size& large = sizes[1];
        const std::string subject = std::string("size of ") + large.name + " " + row.name;
        add(subject + "/Corvane", sizeByCorvane, large, row);
        times.emplace_back(subject, 500e3);
        const std::string whole = std::string("image of ") + large.name + " " + row.name;
        add(whole + "/Corvane", imageByCorvane, large, row);
        if (row.pixbufReads)
            add(whole + "/gdk-pixbuf", imageByPixbuf, large, row);
    }
    return true;
}();

} // namespace

} // namespace corvane::benchmarks

// SPDX-License-Identifier: Apache-2.0
#include <tests/Support/ImageFiles.h>

#include <jpeglib.h>
#include <lcms2.h>
#include <png.h>
#include <tiffio.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

// The HEVC encoder forgets a little memory of each of its sessions; fontconfig keeps its patterns for good.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libx265\nleak:libfontconfig";
}

namespace corvane::tests {

namespace {

constexpr Int width = 37;
constexpr Int height = 23;

// The picture: red grows to the right, green downward, blue both ways, alpha shrinks to the right. From 0 to 1.
double level(Int x, Int y, int component)
{
    const double across = static_cast<double>(x) / (width - 1);
    const double down = static_cast<double>(y) / (height - 1);
    const double all[] = {across, down, (across + down) / 2, 1 - across * 0.7};
    return all[component];
}

unsigned sample(Int x, Int y, int component, unsigned largest)
{
    return static_cast<unsigned>(level(x, y, component) * largest + 0.5);
}

int byte(Int x, Int y, int component, unsigned largest = 255)
{
    return static_cast<int>(sample(x, y, component, largest) * 255.0 / largest + 0.5);
}

// Writes into a temporary stream of the C library, which every one of the three libraries can use.
class Stream {
public:
    Stream() : file(open_memstream(&bytes_, &size_)) {}
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { std::free(bytes_); }
    Data close()
    {
        std::fclose(file);
        const auto* from = reinterpret_cast<const std::byte*>(bytes_);
        return Data(from, from + size_);
    }

private:
    char* bytes_ = nullptr;
    std::size_t size_ = 0;

public:
    std::FILE* file;
};

int samplesOf(int colours)
{
    return (colours == PNG_COLOR_TYPE_GRAY || colours == PNG_COLOR_TYPE_PALETTE ? 1
            : colours == PNG_COLOR_TYPE_GRAY_ALPHA                              ? 2
            : colours == PNG_COLOR_TYPE_RGB                                     ? 3
                                                                                : 4);
}

using Rows = std::vector<std::vector<std::uint8_t>>;

Data writePNG(Int across, Int down, int colours, int depth, bool interlaced, Rows& rows, const Data& profile,
              const std::function<void(png_structp, png_infop)>& more)
{
    Stream stream;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, stream.file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(across), static_cast<png_uint_32>(down), depth, colours,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (!profile.empty())
        png_set_iCCP(png, info, "profile", 0, reinterpret_cast<png_const_bytep>(profile.data()),
                     static_cast<png_uint_32>(profile.size()));
    if (more)
        more(png, info);
    png_write_info(png, info);
    std::vector<png_bytep> pointers;
    for (auto& row : rows)
        pointers.push_back(row.data());
    png_write_image(png, pointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return stream.close();
}

// Component of the picture that stands in sample `index` of a pixel with `samples` samples.
int componentOf(int index, int samples)
{
    return samples == 2 && index == 1 ? 3 : index;
}

void pack(std::vector<std::uint8_t>& row, std::size_t index, int depth, unsigned value)
{
    if (depth == 16) {
        row[index * 2] = static_cast<std::uint8_t>(value >> 8);
        row[index * 2 + 1] = static_cast<std::uint8_t>(value);
    } else {
        const std::size_t bit = index * static_cast<std::size_t>(depth);
        row[bit / 8] =
            static_cast<std::uint8_t>(row[bit / 8] | value << (8 - depth - static_cast<int>(bit % 8)));
    }
}

ImageFile pngOf(const char* name, int colours, int depth, bool interlaced)
{
    const int samples = samplesOf(colours);
    const unsigned largest = (1u << depth) - 1;
    const bool palette = colours == PNG_COLOR_TYPE_PALETTE;
    Rows rows(height, std::vector<std::uint8_t>(static_cast<std::size_t>(width * samples * depth + 7) / 8));
    for (Int y = 0; y < height; ++y)
        for (Int x = 0; x < width; ++x)
            for (int c = 0; c < samples; ++c)
                pack(rows[static_cast<std::size_t>(y)], static_cast<std::size_t>(x * samples + c), depth,
                     sample(x, y, componentOf(c, samples), largest));
    const Data bytes =
        writePNG(width, height, colours, depth, interlaced, rows, {}, [&](png_structp png, png_infop info) {
            if (!palette)
                return;
            std::vector<png_color> entries;
            std::vector<png_byte> alphas;
            for (unsigned i = 0; i <= largest; ++i) {
                entries.push_back({static_cast<png_byte>(i), static_cast<png_byte>(255 - i), 100});
                alphas.push_back(static_cast<png_byte>(i % 2 == 0 ? 255 : 128));
            }
            png_set_PLTE(png, info, entries.data(), static_cast<int>(entries.size()));
            png_set_tRNS(png, info, alphas.data(), static_cast<int>(alphas.size()), nullptr);
        });
    const auto expected = [=](Int x, Int y) -> Pixel {
        if (palette) {
            const int i = static_cast<int>(sample(x, y, 0, largest));
            return {i, 255 - i, 100, i % 2 == 0 ? 255 : 128};
        }
        const int red = byte(x, y, 0, largest);
        const int alpha = samples % 2 == 0 ? byte(x, y, 3, largest) : 255;
        return samples <= 2 ? Pixel{red, red, red, alpha}
                            : Pixel{red, byte(x, y, 1, largest), byte(x, y, 2, largest), alpha};
    };
    return {name, bytes, width, height, 1, palette ? 8 : depth, palette || samples % 2 == 0, expected};
}

Data writeJPEG(Int across, Int down, int components, J_COLOR_SPACE space, bool progressive, bool adobe,
               const Data& profile, const std::function<unsigned(Int, Int, int)>& value)
{
    Stream stream;
    jpeg_compress_struct codec;
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    jpeg_stdio_dest(&codec, stream.file);
    codec.image_width = static_cast<JDIMENSION>(across);
    codec.image_height = static_cast<JDIMENSION>(down);
    codec.input_components = components;
    codec.in_color_space = space;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, 100, TRUE);
    for (int c = 0; c < components; ++c)
        codec.comp_info[c].h_samp_factor = codec.comp_info[c].v_samp_factor = 1;
    if (progressive)
        jpeg_simple_progression(&codec);
    codec.write_Adobe_marker = adobe ? TRUE : FALSE;
    jpeg_start_compress(&codec, TRUE);
    if (!profile.empty())
        jpeg_write_icc_profile(&codec, reinterpret_cast<const JOCTET*>(profile.data()),
                               static_cast<unsigned>(profile.size()));
    std::vector<JSAMPLE> row(static_cast<std::size_t>(across * components));
    for (Int y = 0; y < down; ++y) {
        for (Int x = 0; x < across; ++x)
            for (int c = 0; c < components; ++c)
                row[static_cast<std::size_t>(x * components + c)] = static_cast<JSAMPLE>(value(x, y, c));
        JSAMPROW rows = row.data();
        jpeg_write_scanlines(&codec, &rows, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    return stream.close();
}

ImageFile jpegOf(const char* name, int components, J_COLOR_SPACE space, bool progressive, bool adobe)
{
    const auto value = [=](Int x, Int y, int c) -> unsigned {
        if (components < 4)
            return sample(x, y, c, 255);
        const unsigned ink = c == 3 ? 40 : 255 - sample(x, y, c, 255); // black is even
        return adobe ? 255 - ink : ink;
    };
    const auto expected = [=](Int x, Int y) -> Pixel {
        if (components == 1)
            return {byte(x, y, 0), byte(x, y, 0), byte(x, y, 0), 255};
        if (components == 3)
            return {byte(x, y, 0), byte(x, y, 1), byte(x, y, 2), 255};
        const auto light = [&](int c) { return (byte(x, y, c) * (255 - 40) + 127) / 255; };
        return {light(0), light(1), light(2), 255};
    };
    return {name,  writeJPEG(width, height, components, space, progressive, adobe, {}, value),
            width, height,
            6,     8,
            false, expected};
}

// A file that libtiff writes by position.
struct TIFFBuffer {
    Data bytes;
    std::size_t at = 0;

    static TIFFBuffer* self(thandle_t handle) { return static_cast<TIFFBuffer*>(handle); }
    static tmsize_t read(thandle_t handle, void* into, tmsize_t count)
    {
        TIFFBuffer& b = *self(handle);
        const std::size_t left = b.bytes.size() - std::min(b.at, b.bytes.size());
        const std::size_t got = std::min(left, static_cast<std::size_t>(count));
        std::memcpy(into, b.bytes.data() + b.at, got);
        b.at += got;
        return static_cast<tmsize_t>(got);
    }
    static tmsize_t write(thandle_t handle, void* from, tmsize_t count)
    {
        TIFFBuffer& b = *self(handle);
        const std::size_t end = b.at + static_cast<std::size_t>(count);
        b.bytes.resize(std::max(end, b.bytes.size()));
        std::memcpy(b.bytes.data() + b.at, from, static_cast<std::size_t>(count));
        b.at = end;
        return count;
    }
    static toff_t seek(thandle_t handle, toff_t offset, int whence)
    {
        TIFFBuffer& b = *self(handle);
        b.at = static_cast<std::size_t>(offset) + (whence == SEEK_CUR   ? b.at
                                                   : whence == SEEK_END ? b.bytes.size()
                                                                        : 0);
        return b.at;
    }
};

struct TIFFKind {
    const char* name;
    int photometric;
    int colours;
    int bits;
    bool isFloat = false;
    int alpha = -1; // or the kind of extra sample
    int compression = COMPRESSION_NONE;
    int tile = 0;
    bool separate = false;
    bool bigEndian = false;
    int tolerance = 1;
};

ImageFile tiffOf(const TIFFKind& kind)
{
    const int samples = kind.colours + (kind.alpha >= 0 ? 1 : 0);
    const bool multiplied = kind.alpha == EXTRASAMPLE_ASSOCALPHA;
    const auto value = [=](Int x, Int y, int c) {
        if (kind.photometric == PHOTOMETRIC_SEPARATED)
            return c == 3 ? 0.0 : 1 - level(x, y, c);
        if (c == kind.colours)
            return level(x, y, 3);
        double v = level(x, y, c) * (multiplied ? level(x, y, 3) : 1);
        return kind.photometric == PHOTOMETRIC_MINISWHITE ? 1 - v : v;
    };
    const auto put = [=](std::uint8_t* to, Int index, double v) {
        if (kind.isFloat) {
            const auto real = static_cast<float>(v);
            std::memcpy(to + index * 4, &real, 4);
        } else if (kind.bits == 16) {
            const auto word = static_cast<std::uint16_t>(v * 65535 + 0.5);
            std::memcpy(to + index * 2, &word, 2);
        } else if (kind.bits == 8) {
            to[index] = static_cast<std::uint8_t>(v * 255 + 0.5);
        } else if (v >= 0.51) { // also when it is turned round, half a level is light
            to[index / 8] = static_cast<std::uint8_t>(to[index / 8] | 0x80 >> index % 8);
        }
    };
    TIFFBuffer buffer;
    TIFF* tiff = TIFFClientOpen(
        "", kind.bigEndian ? "wb" : "wl", &buffer, TIFFBuffer::read, TIFFBuffer::write, TIFFBuffer::seek,
        [](thandle_t) { return 0; },
        [](thandle_t h) { return static_cast<toff_t>(TIFFBuffer::self(h)->bytes.size()); }, nullptr, nullptr);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, kind.separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, kind.compression);
    if (kind.isFloat)
        TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
    if (kind.alpha >= 0) {
        const auto extra = static_cast<std::uint16_t>(kind.alpha);
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    if (kind.photometric == PHOTOMETRIC_PALETTE) {
        std::array<std::uint16_t, 256> red, green, blue;
        for (std::size_t i = 0; i < 256; ++i) {
            red[i] = static_cast<std::uint16_t>(i * 257);
            green[i] = static_cast<std::uint16_t>((255 - i) * 257);
            blue[i] = 100 * 257;
        }
        TIFFSetField(tiff, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
    }
    if (kind.tile > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, kind.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, kind.tile);
        std::vector<std::uint8_t> tile(static_cast<std::size_t>(TIFFTileSize(tiff)));
        for (Int top = 0; top < height; top += kind.tile)
            for (Int left = 0; left < width; left += kind.tile) {
                std::fill(tile.begin(), tile.end(), std::uint8_t{0});
                for (Int y = 0; y < kind.tile; ++y)
                    for (Int x = 0; x < kind.tile; ++x)
                        for (int c = 0; c < samples; ++c)
                            if (left + x < width && top + y < height)
                                put(tile.data(), (y * kind.tile + x) * samples + c,
                                    value(left + x, top + y, c));
                TIFFWriteTile(tiff, tile.data(), static_cast<std::uint32_t>(left),
                              static_cast<std::uint32_t>(top), 0, 0);
            }
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 5);
        const int planes = kind.separate ? samples : 1;
        std::vector<std::uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
        for (int plane = 0; plane < planes; ++plane)
            for (Int y = 0; y < height; ++y) {
                std::fill(row.begin(), row.end(), std::uint8_t{0});
                for (Int x = 0; x < width; ++x)
                    for (int c = 0; c < samples / planes; ++c)
                        put(row.data(), x * (samples / planes) + c, value(x, y, kind.separate ? plane : c));
                TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y),
                                  static_cast<std::uint16_t>(plane));
            }
    }
    TIFFClose(tiff);
    const auto expected = [=](Int x, Int y) -> Pixel {
        const auto shown = [&](int c) {
            return kind.bits == 1 ? (level(x, y, c) >= 0.49 ? 255 : 0) : byte(x, y, c);
        };
        const int alpha = kind.alpha >= 0 ? shown(3) : 255;
        if (kind.photometric == PHOTOMETRIC_PALETTE)
            return {shown(0), 255 - shown(0), 100, 255};
        return kind.colours == 1 ? Pixel{shown(0), shown(0), shown(0), alpha}
                                 : Pixel{shown(0), shown(1), shown(2), alpha};
    };
    return {kind.name, buffer.bytes, width, height, kind.tolerance, kind.bits, kind.alpha >= 0, expected};
}

} // namespace

std::vector<ImageFile> imageFiles()
{
    std::vector<ImageFile> files{
        pngOf("PNG grey 1", PNG_COLOR_TYPE_GRAY, 1, false),
        pngOf("PNG grey 2 interlaced", PNG_COLOR_TYPE_GRAY, 2, true),
        pngOf("PNG grey 4", PNG_COLOR_TYPE_GRAY, 4, false),
        pngOf("PNG grey 8", PNG_COLOR_TYPE_GRAY, 8, false),
        pngOf("PNG grey 16", PNG_COLOR_TYPE_GRAY, 16, false),
        pngOf("PNG grey alpha 8", PNG_COLOR_TYPE_GRAY_ALPHA, 8, false),
        pngOf("PNG grey alpha 16 interlaced", PNG_COLOR_TYPE_GRAY_ALPHA, 16, true),
        pngOf("PNG palette 4", PNG_COLOR_TYPE_PALETTE, 4, false),
        pngOf("PNG palette 8 interlaced", PNG_COLOR_TYPE_PALETTE, 8, true),
        pngOf("PNG RGB 8", PNG_COLOR_TYPE_RGB, 8, false),
        pngOf("PNG RGB 8 interlaced", PNG_COLOR_TYPE_RGB, 8, true),
        pngOf("PNG RGB 16", PNG_COLOR_TYPE_RGB, 16, false),
        pngOf("PNG RGBA 8", PNG_COLOR_TYPE_RGBA, 8, false),
        pngOf("PNG RGBA 16", PNG_COLOR_TYPE_RGBA, 16, false),
        jpegOf("JPEG grey", 1, JCS_GRAYSCALE, false, false),
        jpegOf("JPEG colour", 3, JCS_RGB, false, false),
        jpegOf("JPEG progressive", 3, JCS_RGB, true, false),
        jpegOf("JPEG CMYK", 4, JCS_CMYK, false, false),
        jpegOf("JPEG CMYK inverted", 4, JCS_CMYK, false, true),
    };
    const TIFFKind kinds[] = {
        {.name = "TIFF bilevel fax",
         .photometric = PHOTOMETRIC_MINISWHITE,
         .colours = 1,
         .bits = 1,
         .compression = COMPRESSION_CCITTFAX4},
        {.name = "TIFF grey", .photometric = PHOTOMETRIC_MINISBLACK, .colours = 1, .bits = 8},
        {.name = "TIFF grey, white is 0", .photometric = PHOTOMETRIC_MINISWHITE, .colours = 1, .bits = 8},
        {.name = "TIFF grey 16, white is 0", .photometric = PHOTOMETRIC_MINISWHITE, .colours = 1, .bits = 16},
        {.name = "TIFF grey alpha",
         .photometric = PHOTOMETRIC_MINISBLACK,
         .colours = 1,
         .bits = 8,
         .alpha = EXTRASAMPLE_UNASSALPHA},
        {.name = "TIFF palette", .photometric = PHOTOMETRIC_PALETTE, .colours = 1, .bits = 8},
        {.name = "TIFF RGB LZW",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 8,
         .compression = COMPRESSION_LZW},
        {.name = "TIFF RGB Deflate tiles",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 8,
         .compression = COMPRESSION_ADOBE_DEFLATE,
         .tile = 16},
        {.name = "TIFF RGB planes",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 8,
         .separate = true},
        {.name = "TIFF RGB 16 big endian",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 16,
         .bigEndian = true},
        {.name = "TIFF RGB float", .photometric = PHOTOMETRIC_RGB, .colours = 3, .bits = 32, .isFloat = true},
        {.name = "TIFF RGBA",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 8,
         .alpha = EXTRASAMPLE_UNASSALPHA,
         .compression = COMPRESSION_PACKBITS},
        {.name = "TIFF RGBA multiplied tiles",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 8,
         .alpha = EXTRASAMPLE_ASSOCALPHA,
         .tile = 16,
         .tolerance = 3},
        {.name = "TIFF RGBA 16",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 16,
         .alpha = EXTRASAMPLE_UNASSALPHA},
        {.name = "TIFF CMYK",
         .photometric = PHOTOMETRIC_SEPARATED,
         .colours = 4,
         .bits = 8,
         .compression = COMPRESSION_LZW},
        {.name = "TIFF in JPEG",
         .photometric = PHOTOMETRIC_RGB,
         .colours = 3,
         .bits = 8,
         .compression = COMPRESSION_JPEG,
         .tile = 16,
         .tolerance = 40},
    };
    for (const TIFFKind& kind : kinds)
        files.push_back(tiffOf(kind));
    return files;
}

Data swappedProfile()
{
    cmsCIExyY white{0.3127, 0.3290, 1};
    cmsCIExyYTRIPLE primaries{{0.30, 0.60, 1}, {0.64, 0.33, 1}, {0.15, 0.06, 1}};
    cmsFloat64Number parameters[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    cmsToneCurve* curve = cmsBuildParametricToneCurve(nullptr, 4, parameters);
    cmsToneCurve* curves[] = {curve, curve, curve};
    cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsMLU* name = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(name, "en", "US", "Swapped");
    cmsWriteTag(profile, cmsSigProfileDescriptionTag, name);
    cmsMLUfree(name);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Data bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return bytes;
}

Data jpegWithProfile(std::uint8_t red, std::uint8_t green, std::uint8_t blue, const Data& profile)
{
    const std::uint8_t colour[] = {red, green, blue};
    return writeJPEG(16, 16, 3, JCS_RGB, false, false, profile, [&](Int, Int, int c) { return colour[c]; });
}

Data pngWithProfile(std::uint8_t red, std::uint8_t green, std::uint8_t blue, const Data& profile)
{
    Rows rows(16);
    for (auto& row : rows)
        for (int x = 0; x < 16; ++x)
            row.insert(row.end(), {red, green, blue});
    return writePNG(16, 16, PNG_COLOR_TYPE_RGB, 8, false, rows, profile, {});
}

} // namespace corvane::tests

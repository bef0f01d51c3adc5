// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImageProperties.h>
#include <corvane/Platform/Graphics/ImageCodec.h>
#include <corvane/Platform/Graphics/RasterBuilder.h>

#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

namespace corvane::images {

namespace {

constexpr tmsize_t mostAtOnce = tmsize_t{1} << 30; // a strip of the largest images; libtiff asks for no more

// An open file, over bytes that are read or over bytes that are collected.
class File {
public:
    explicit File(ByteSource bytes) : bytes_(std::move(bytes)), isWriting_(false) { open("r"); }
    File() : bytes_(ByteSource::viewing({})), isWriting_(true) { open("w"); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(); }

    TIFF* get() const { return tiff_; }
    bool isSound() const { return tiff_ != nullptr && !failed_; }
    void close()
    {
        if (tiff_ != nullptr)
            TIFFClose(tiff_);
        tiff_ = nullptr;
    }
    bool hasFailed() const { return failed_; }

    template <typename T>
    T tag(std::uint32_t name, T otherwise) const
    {
        T value = otherwise;
        return TIFFGetFieldDefaulted(tiff_, name, &value) == 1 ? value : otherwise;
    }

    Data data;

private:
    static File* self(thandle_t handle) { return static_cast<File*>(handle); }

    void open(const char* mode)
    {
        TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
        if (options == nullptr)
            return;
        TIFFOpenOptionsSetMaxSingleMemAlloc(options, mostAtOnce);
        TIFFOpenOptionsSetErrorHandlerExtR(
            options,
            [](TIFF*, void* user, const char*, const char*, va_list) -> int {
                static_cast<File*>(user)->failed_ = true;
                return 1;
            },
            this);
        TIFFOpenOptionsSetWarningHandlerExtR(
            options,
            [](TIFF*, void* user, const char*, const char* format, va_list) -> int {
                // Tags that nobody knows are common and harmless. One that the file is too short for is ignored by
                // libtiff as well, which would show a picture without its palette.
                if (std::strstr(format, "IO error") != nullptr)
                    static_cast<File*>(user)->failed_ = true;
                return 1;
            },
            this);
        // No mapping ("m"): a file that is cut short while it is read must not end the process.
        tiff_ = TIFFClientOpenExt(
            "", isWriting_ ? mode : "rm", this,
            [](thandle_t handle, void* into, tmsize_t count) { return self(handle)->read(into, count); },
            [](thandle_t handle, void* from, tmsize_t count) { return self(handle)->write(from, count); },
            [](thandle_t handle, toff_t offset, int whence) { return self(handle)->seek(offset, whence); },
            [](thandle_t) { return 0; },
            [](thandle_t handle) { return static_cast<toff_t>(self(handle)->size()); }, nullptr, nullptr,
            options);
        TIFFOpenOptionsFree(options);
    }

    std::uint64_t size() const { return isWriting_ ? data.size() : bytes_.size(); }
    tmsize_t read(void* into, tmsize_t count)
    {
        if (count <= 0)
            return 0;
        const std::span<std::byte> room(static_cast<std::byte*>(into), static_cast<std::size_t>(count));
        const ByteSource written = ByteSource::viewing(data); // directories are read back while writing
        const std::size_t got = (isWriting_ ? written : bytes_).read(offset_, room);
        offset_ += got;
        return static_cast<tmsize_t>(got);
    }
    tmsize_t write(const void* from, tmsize_t count)
    {
        const std::uint64_t end = offset_ + static_cast<std::uint64_t>(count);
        if (!isWriting_ || count < 0 || end > std::uint64_t{0xFFFFFFFF})
            return 0;
        if (end > data.size())
            data.resize(end);
        std::memcpy(data.data() + offset_, from, static_cast<std::size_t>(count));
        offset_ = end;
        return count;
    }
    toff_t seek(toff_t offset, int whence)
    {
        offset_ = offset + (whence == SEEK_CUR ? offset_ : whence == SEEK_END ? size() : 0);
        return offset_;
    }

    ByteSource bytes_;
    bool isWriting_;
    bool failed_ = false;
    std::uint64_t offset_ = 0;
    TIFF* tiff_ = nullptr;
};

struct Page {
    ImageHeader header;
    std::uint16_t bits = 1;
    std::uint16_t samples = 1;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t photometric = 0;
    bool isTiled = false;
    bool alphaIsMultiplied = false;
    Layout layout = Layout::rgbaMultiplied;
    bool isPlain = false; // rows of whole samples that are taken as they are
};

Page describe(const File& file)
{
    Page page;
    ImageHeader& header = page.header;
    header.width = file.tag<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    header.height = file.tag<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    page.bits = file.tag<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    page.samples = file.tag<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    page.format = file.tag<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    page.photometric = file.tag<std::uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    page.isTiled = TIFFIsTiled(file.get()) != 0;
    header.depth = page.bits;
    if (const auto turn = file.tag<std::uint16_t>(TIFFTAG_ORIENTATION, 1); turn >= 1 && turn <= 8)
        header.orientation = turn;

    const auto across = static_cast<double>(file.tag<float>(TIFFTAG_XRESOLUTION, 0));
    const auto along = static_cast<double>(file.tag<float>(TIFFTAG_YRESOLUTION, 0));
    const auto unit = file.tag<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    if (across > 0 && along > 0 && std::isfinite(across) && std::isfinite(along) && unit != RESUNIT_NONE) {
        header.dpiWidth = unit == RESUNIT_CENTIMETER ? across * 2.54 : across;
        header.dpiHeight = unit == RESUNIT_CENTIMETER ? along * 2.54 : along;
    }

    std::uint16_t extras = 0;
    std::uint16_t* kinds = nullptr;
    if (TIFFGetFieldDefaulted(file.get(), TIFFTAG_EXTRASAMPLES, &extras, &kinds) != 1)
        extras = 0;
    page.alphaIsMultiplied = extras > 0 && kinds[0] == EXTRASAMPLE_ASSOCALPHA;
    header.hasAlpha = page.alphaIsMultiplied || (extras > 0 && kinds[0] == EXTRASAMPLE_UNASSALPHA);

    int colours = 0;
    switch (page.photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
        header.colorModel = kCGImagePropertyColorModelGray;
        colours = 1;
        page.layout = !header.hasAlpha         ? Layout::gray
                      : page.alphaIsMultiplied ? Layout::grayAlphaMultiplied
                                               : Layout::grayAlpha;
        break;
    case PHOTOMETRIC_RGB:
        colours = 3;
        page.layout = !header.hasAlpha         ? Layout::rgb
                      : page.alphaIsMultiplied ? Layout::rgbaMultiplied
                                               : Layout::rgba;
        break;
    case PHOTOMETRIC_SEPARATED:
        header.colorModel = kCGImagePropertyColorModelCMYK;
        header.hasAlpha = false;
        colours = file.tag<std::uint16_t>(TIFFTAG_INKSET, INKSET_CMYK) == INKSET_CMYK ? 4 : 0;
        page.layout = Layout::cmyk;
        break;
    case PHOTOMETRIC_CIELAB:
    case PHOTOMETRIC_ICCLAB:
    case PHOTOMETRIC_ITULAB:
        header.colorModel = kCGImagePropertyColorModelLab;
        break;
    default:
        break; // palette, YCbCr and the like are RGB when they are read
    }
    const bool known = (page.format == SAMPLEFORMAT_UINT && (page.bits == 8 || page.bits == 16)) ||
                       (page.format == SAMPLEFORMAT_IEEEFP && page.bits == 32);
    page.isPlain = known && colours > 0 && page.samples >= colours + (header.hasAlpha ? 1 : 0) &&
                   page.samples <= 16 &&
                   file.tag<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_CONTIG;
    if (!page.isPlain) {
        page.layout = Layout::rgbaMultiplied;
        header.hasAlpha = header.hasAlpha && page.photometric != PHOTOMETRIC_SEPARATED;
    }

    std::uint32_t length = 0;
    void* profile = nullptr;
    if (TIFFGetField(file.get(), TIFFTAG_ICCPROFILE, &length, &profile) == 1 && profile != nullptr) {
        const auto* bytes = static_cast<const std::byte*>(profile);
        header.profile.assign(bytes, bytes + length);
    }
    return page;
}

// Samples of a file as bytes of the layout; those beyond it are left out.
void takeSamples(const Page& page, const std::uint8_t* from, std::uint8_t* to, Int pixels)
{
    const Int wanted = samplesPerPixel(page.layout);
    const Int stride = page.samples;
    const bool invert = page.photometric == PHOTOMETRIC_MINISWHITE;
    if (page.bits == 8 && stride == wanted && !invert) {
        std::memcpy(to, from, static_cast<std::size_t>(pixels * wanted));
        return;
    }
    const auto convert = [&]<typename T>(const T*, auto&& toByte) {
        for (Int x = 0; x < pixels; ++x)
            for (Int c = 0; c < wanted; ++c) {
                T sample{};
                std::memcpy(&sample, from + (x * stride + c) * static_cast<Int>(sizeof(T)), sizeof(T));
                const unsigned byte = toByte(sample);
                *to++ = static_cast<std::uint8_t>(invert && c == 0 ? 255 - byte : byte);
            }
    };
    if (page.bits == 8)
        convert(static_cast<const std::uint8_t*>(nullptr),
                [](std::uint8_t sample) -> unsigned { return sample; });
    else if (page.bits == 16)
        convert(static_cast<const std::uint16_t*>(nullptr),
                [](std::uint16_t sample) -> unsigned { return (sample * 255u + 32767u) / 65535u; });
    else
        convert(static_cast<const float*>(nullptr), [](float sample) -> unsigned {
            return sample > 0 ? static_cast<unsigned>(std::min(sample, 1.0f) * 255.0f + 0.5f)
                              : 0; // also for NaN
        });
}

class TIFFDecoder final : public ImageDecoder {
public:
    explicit TIFFDecoder(ByteSource bytes) : file_(std::move(bytes)) {}

    Int count() override
    {
        constexpr Int mostPages = 65535;
        return file_.isSound() ? std::min<Int>(TIFFNumberOfDirectories(file_.get()), mostPages) : 0;
    }

    std::optional<ImageHeader> header(Int index) override
    {
        if (!select(index))
            return std::nullopt;
        Page page = describe(file_);
        if (page.header.width < 1 || page.header.height < 1)
            return std::nullopt;
        return std::move(page.header);
    }

    std::optional<CGImage> decode(Int index, const DecodeRequest& request) override
    {
        if (!select(index))
            return std::nullopt;
        Page page = describe(file_);
        if (!isWithinLimits(page.header, request))
            return std::nullopt;
        // The general reader gives RGB of its own making for these, to which the file's profile does not
        // apply.
        const bool profileFits = page.isPlain || page.photometric == PHOTOMETRIC_RGB ||
                                 page.photometric == PHOTOMETRIC_YCBCR ||
                                 page.photometric == PHOTOMETRIC_PALETTE;
        const PixelSize stored{page.header.width, page.header.height};
        RasterBuilder builder(page.layout, stored, fitting(stored, request.edge),
                              profileFits ? DataView(page.header.profile) : DataView());
        if (!builder)
            return std::nullopt;
        const bool read = !page.isPlain  ? readGeneral(page, builder)
                          : page.isTiled ? readTiles(page, builder)
                                         : readScanlines(page, builder);
        if (!read || file_.hasFailed())
            return std::nullopt;
        return std::move(builder).finish(request.applyOrientation ? page.header.orientation : 1);
    }

private:
    bool select(Int index)
    {
        return file_.isSound() && index >= 0 && index <= 65534 &&
               (index == 0 || TIFFSetDirectory(file_.get(), static_cast<tdir_t>(index)) == 1) &&
               !file_.hasFailed();
    }

    // Memory for rows of the file, if what libtiff will write there is what they take.
    static RawBytes room(tmsize_t given, Int width, const Page& page, Int rows)
    {
        const Int needed = width * page.samples * (page.bits / 8) * rows;
        return given < needed || given > mostAtOnce ? nullptr : allocateBytes(given);
    }

    bool readScanlines(const Page& page, RasterBuilder& builder)
    {
        const tmsize_t lineSize = TIFFScanlineSize(file_.get());
        const RawBytes line = room(lineSize, page.header.width, page, 1);
        if (!line)
            return false;
        const bool direct = page.bits == 8 && page.photometric != PHOTOMETRIC_MINISWHITE &&
                            page.samples == samplesPerPixel(page.layout) &&
                            lineSize == page.header.width * page.samples;
        for (std::uint32_t y = 0; builder.wantsMore(); ++y) {
            std::uint8_t* row = builder.row();
            if (TIFFReadScanline(file_.get(), direct ? row : line.get(), y) != 1 || file_.hasFailed())
                return false;
            if (!direct)
                takeSamples(page, line.get(), row, page.header.width);
            builder.commit();
        }
        return true;
    }

    bool readTiles(const Page& page, RasterBuilder& builder)
    {
        const Int tileWidth = file_.tag<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
        const Int tileHeight = file_.tag<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
        constexpr Int largestTile = 1 << 16;
        if (tileWidth < 1 || tileHeight < 1 || tileWidth > largestTile || tileHeight > largestTile)
            return false;
        const RawBytes tile = room(TIFFTileSize(file_.get()), tileWidth, page, tileHeight);
        const Int samples = samplesPerPixel(page.layout);
        const Int rowBytes = page.header.width * samples;
        const RawBytes band = allocateBytes(rowBytes * std::min(tileHeight, page.header.height));
        if (!tile || !band)
            return false;
        const Int tileRowBytes = tileWidth * page.samples * (page.bits / 8);
        for (Int top = 0; top < page.header.height; top += tileHeight) {
            const Int rows = std::min(tileHeight, page.header.height - top);
            for (Int left = 0; left < page.header.width; left += tileWidth) {
                if (TIFFReadTile(file_.get(), tile.get(), static_cast<std::uint32_t>(left),
                                 static_cast<std::uint32_t>(top), 0, 0) < 0 ||
                    file_.hasFailed())
                    return false;
                const Int columns = std::min(tileWidth, page.header.width - left);
                for (Int y = 0; y < rows; ++y)
                    takeSamples(page, tile.get() + y * tileRowBytes,
                                band.get() + y * rowBytes + left * samples, columns);
            }
            for (Int y = 0; y < rows; ++y) {
                std::memcpy(builder.row(), band.get() + y * rowBytes, static_cast<std::size_t>(rowBytes));
                builder.commit();
            }
        }
        return true;
    }

    // Everything else that libtiff can show: palettes, few bits, YCbCr, Lab, separate planes. In bands of a
    // strip or a row of tiles.
    bool readGeneral(const Page& page, RasterBuilder& builder)
    {
        const auto height = static_cast<std::uint32_t>(page.header.height);
        const auto width = static_cast<std::uint32_t>(page.header.width);
        const std::uint32_t stated = page.isTiled ? file_.tag<std::uint32_t>(TIFFTAG_TILELENGTH, 0)
                                                  : file_.tag<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, height);
        const std::uint32_t step = std::clamp(stated, std::uint32_t{1}, height);
        char reason[1024];
        TIFFRGBAImage reader{};
        if (TIFFRGBAImageOK(file_.get(), reason) == 0 ||
            TIFFRGBAImageBegin(&reader, file_.get(), 1, reason) == 0)
            return false;
        // Rows are taken as they are stored; the caller turns them.
        reader.orientation = ORIENTATION_TOPLEFT;
        reader.req_orientation = ORIENTATION_TOPLEFT;
        const RawBytes memory = allocateBytes(Int{width} * step * 4);
        auto* band = reinterpret_cast<std::uint32_t*>(memory.get());
        bool good = band != nullptr;
        for (std::uint32_t top = 0; good && top < height; top += step) {
            const std::uint32_t rows = std::min(step, height - top);
            reader.row_offset = static_cast<int>(top);
            reader.col_offset = 0;
            good = TIFFRGBAImageGet(&reader, band, width, rows) == 1 && !file_.hasFailed();
            for (std::uint32_t y = 0; good && y < rows; ++y) {
                std::uint8_t* row = builder.row();
                const std::uint32_t* from = band + std::size_t{y} * width;
                for (std::uint32_t x = 0; x < width; ++x, row += 4) {
                    row[0] = static_cast<std::uint8_t>(TIFFGetR(from[x]));
                    row[1] = static_cast<std::uint8_t>(TIFFGetG(from[x]));
                    row[2] = static_cast<std::uint8_t>(TIFFGetB(from[x]));
                    row[3] = static_cast<std::uint8_t>(TIFFGetA(from[x]));
                }
                builder.commit();
            }
        }
        TIFFRGBAImageEnd(&reader);
        return good;
    }

    File file_;
};

class TIFFEncoder final : public ImageEncoder {
public:
    explicit TIFFEncoder(Int count) : count_(count) {}

    bool add(const CGImage& image, const PropertyDictionary& options) override
    {
        if (!file_.isSound())
            return false;
        TIFF* tiff = file_.get();
        const bool opaque = image.isOpaque();
        const std::uint16_t samples = opaque ? 3 : 4;
        const std::uint16_t compression = compressionOf(options);
        if (TIFFIsCODECConfigured(compression) == 0)
            return false;
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.width()));
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.height()));
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation(options));
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
        if (compression == COMPRESSION_LZW || compression == COMPRESSION_ADOBE_DEFLATE)
            TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        if (!opaque) {
            const std::uint16_t kind = EXTRASAMPLE_ASSOCALPHA;
            TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
        }
        const double across = std::clamp(number(options, kCGImagePropertyDPIWidth, 72), 0.01, 1e6);
        const double along = std::clamp(number(options, kCGImagePropertyDPIHeight, across), 0.01, 1e6);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, across);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, along);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        const auto rowBytes = static_cast<std::size_t>(image.width()) * samples;
        const std::size_t rows = std::clamp<std::size_t>((1u << 16) / rowBytes, 1, 1024);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rows));
        if (count_ > 1) {
            TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
            TIFFSetField(tiff, TIFFTAG_PAGENUMBER, page_,
                         static_cast<std::uint16_t>(std::min<Int>(count_, 65535)));
        }
        std::vector<std::uint8_t> row(rowBytes);
        for (Int y = 0; y < image.height(); ++y) {
            std::uint8_t* to = row.data();
            const std::uint8_t* from = image.row(y);
            for (Int x = 0; x < image.width(); ++x, from += 4, to += samples) {
                to[0] = from[2];
                to[1] = from[1];
                to[2] = from[0];
                if (!opaque)
                    to[3] = from[3];
            }
            if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y)) != 1)
                return false;
        }
        ++page_;
        return TIFFWriteDirectory(tiff) == 1 && !file_.hasFailed();
    }

    std::optional<Data> finish() override
    {
        file_.close();
        if (file_.hasFailed())
            return std::nullopt;
        return std::move(file_.data);
    }

private:
    static std::uint16_t compressionOf(const PropertyDictionary& options)
    {
        const PropertyValue* settings = find(options, kCGImagePropertyTIFFDictionary);
        const PropertyDictionary* tiff = settings != nullptr ? settings->asDictionary() : nullptr;
        const double value = tiff != nullptr ? number(*tiff, kCGImagePropertyTIFFCompression, 1) : 1;
        constexpr std::uint16_t supported[] = {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE,
                                               COMPRESSION_PACKBITS};
        for (const std::uint16_t known : supported)
            if (value == known)
                return known;
        return COMPRESSION_NONE;
    }

    File file_;
    Int count_;
    std::uint16_t page_ = 0;
};

} // namespace

const ImageFormat tiffFormat{"public.tiff", true,
                             [](DataView beginning) {
                                 using namespace std::string_view_literals;
                                 return startsWith(beginning, "II*\0"sv) ||
                                        startsWith(beginning, "MM\0*"sv) ||
                                        startsWith(beginning, "II+\0"sv) || startsWith(beginning, "MM\0+"sv);
                             },
                             makeDecoder<TIFFDecoder>, makeEncoder<TIFFEncoder>};

} // namespace corvane::images

// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImageProperties.h>
#include <corvane/Platform/Graphics/Exif.h>
#include <corvane/Platform/Graphics/ImageCodec.h>
#include <corvane/Platform/Graphics/RasterBuilder.h>

#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstring>

namespace corvane::images {

namespace {

constexpr double metresPerInch = 0.0254;

// libpng reports errors by a function that must not return. No frame between it and a setjmp may hold an
// object with a destructor, so everything lives in the classes and their steps are small.
[[noreturn]] void stop(png_structp png, png_const_charp)
{
    std::longjmp(*static_cast<std::jmp_buf*>(png_get_error_ptr(png)), 1);
}
void ignore(png_structp, png_const_charp) {}

class Reader {
public:
    explicit Reader(ByteSource bytes) : bytes_(std::move(bytes))
    {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, &jump_, stop, ignore);
        if (png_ == nullptr)
            return;
        info_ = png_create_info_struct(png_);
        png_set_read_fn(png_, this, [](png_structp png, png_bytep into, std::size_t count) {
            static_cast<Reader*>(png_get_io_ptr(png))->read(png, into, count);
        });
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png_, &info_, nullptr); }

    bool readHeader()
    {
        if (info_ == nullptr || setjmp(jump_) != 0)
            return false;
        png_read_info(png_, info_);
        return true;
    }

    // Asks for whole bytes: palette and small greys expanded, 16 bits rounded to 8.
    bool start()
    {
        if (setjmp(jump_) != 0)
            return false;
        png_set_expand(png_);
        png_set_scale_16(png_);
        passes_ = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        return true;
    }

    bool readRow(std::uint8_t* row)
    {
        if (setjmp(jump_) != 0)
            return false;
        png_read_row(png_, row, nullptr);
        return true;
    }

    // The checksum of the last piece of data and the end mark are looked at only here.
    bool finish()
    {
        if (setjmp(jump_) != 0)
            return false;
        png_read_end(png_, nullptr);
        return true;
    }

    int passes() const { return passes_; }
    std::size_t rowBytes() const { return png_get_rowbytes(png_, info_); }
    Layout layout() const
    {
        switch (png_get_color_type(png_, info_)) {
        case PNG_COLOR_TYPE_GRAY:
            return Layout::gray;
        case PNG_COLOR_TYPE_GRAY_ALPHA:
            return Layout::grayAlpha;
        case PNG_COLOR_TYPE_RGB:
            return Layout::rgb;
        default:
            return Layout::rgba;
        }
    }

    ImageHeader describe()
    {
        ImageHeader header;
        header.width = png_get_image_width(png_, info_);
        header.height = png_get_image_height(png_, info_);
        const int colours = png_get_color_type(png_, info_);
        header.depth = colours == PNG_COLOR_TYPE_PALETTE ? 8 : png_get_bit_depth(png_, info_);
        header.hasAlpha =
            (colours & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
        header.colorModel = (colours & PNG_COLOR_MASK_COLOR) != 0 ? kCGImagePropertyColorModelRGB
                                                                  : kCGImagePropertyColorModelGray;
        png_uint_32 across = 0, along = 0;
        int unit = 0;
        png_uint_32 length = 0;
        png_bytep bytes = nullptr;
        if (png_get_eXIf_1(png_, info_, &length, &bytes) != 0)
            readExif(std::as_bytes(std::span(bytes, length)), header, true);
        if (png_get_pHYs(png_, info_, &across, &along, &unit) != 0 && unit == PNG_RESOLUTION_METER &&
            across > 0 && along > 0) {
            header.dpiWidth = across * metresPerInch;
            header.dpiHeight = along * metresPerInch;
        }
        png_charp name = nullptr;
        int compression = 0;
        if (png_get_iCCP(png_, info_, &name, &compression, &bytes, &length) != 0) {
            const DataView profile = std::as_bytes(std::span(bytes, length));
            header.profile.assign(profile.begin(), profile.end());
        }
        return header;
    }

    // Deflate makes at most 1032 bytes of one: a file that is too short for what it declares is not begun
    // with.
    bool cannotHold()
    {
        const std::uint64_t declared = std::uint64_t{png_get_image_height(png_, info_)} * rowBytesInFile();
        return declared / 1032 > bytes_.size();
    }

private:
    std::uint64_t rowBytesInFile()
    {
        const std::uint64_t bits =
            std::uint64_t{png_get_bit_depth(png_, info_)} * png_get_channels(png_, info_);
        return png_get_image_width(png_, info_) * bits / 8;
    }

    void read(png_structp png, png_bytep into, std::size_t count)
    {
        // Many small reads become few large ones.
        while (count > 0) {
            if (at_ == filled_) {
                filled_ = bytes_.read(offset_, std::as_writable_bytes(std::span(window_)));
                offset_ += filled_;
                at_ = 0;
                if (filled_ == 0)
                    png_error(png, "truncated");
            }
            const std::size_t part = std::min(count, filled_ - at_);
            std::memcpy(into, window_.data() + at_, part);
            into += part;
            at_ += part;
            count -= part;
        }
    }

    ByteSource bytes_;
    std::jmp_buf jump_{};
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    int passes_ = 1;
    std::uint64_t offset_ = 0;
    std::size_t at_ = 0;
    std::size_t filled_ = 0;
    std::array<std::uint8_t, 16384> window_;
};

class PNGDecoder final : public ImageDecoder {
public:
    explicit PNGDecoder(ByteSource bytes) : bytes_(std::move(bytes)) {}

    std::optional<ImageHeader> header(Int) override
    {
        const auto reader = std::make_unique<Reader>(bytes_);
        if (!reader->readHeader())
            return std::nullopt;
        return reader->describe();
    }

    std::optional<CGImage> decode(Int, const DecodeRequest& request) override
    {
        const auto reader = std::make_unique<Reader>(bytes_);
        if (!reader->readHeader())
            return std::nullopt;
        const ImageHeader header = reader->describe();
        if (!isWithinLimits(header, request) || reader->cannotHold() || !reader->start())
            return std::nullopt;
        const PixelSize stored{header.width, header.height};
        RasterBuilder builder(reader->layout(), stored, fitting(stored, request.edge), header.profile);
        if (!builder)
            return std::nullopt;
        if (!(reader->passes() > 1 ? readInterlaced(*reader, builder, header.height)
                                   : readRows(*reader, builder)) ||
            !reader->finish())
            return std::nullopt;
        return std::move(builder).finish(request.applyOrientation ? header.orientation : 1);
    }

private:
    static bool readRows(Reader& reader, RasterBuilder& builder)
    {
        while (builder.wantsMore()) {
            if (!reader.readRow(builder.row()))
                return false;
            builder.commit();
        }
        return true;
    }

    // Each pass fills in pixels between those of the passes before, so all rows are kept until the last.
    static bool readInterlaced(Reader& reader, RasterBuilder& builder, Int height)
    {
        const std::size_t rowBytes = reader.rowBytes();
        const RawBytes rows = allocateBytes(static_cast<Int>(rowBytes) * height);
        if (!rows)
            return false;
        for (int pass = 0; pass < reader.passes(); ++pass)
            for (Int y = 0; y < height; ++y)
                if (!reader.readRow(rows.get() + static_cast<std::size_t>(y) * rowBytes))
                    return false;
        for (Int y = 0; y < height; ++y) {
            std::memcpy(builder.row(), rows.get() + static_cast<std::size_t>(y) * rowBytes, rowBytes);
            builder.commit();
        }
        return true;
    }

    ByteSource bytes_;
};

class Writer {
public:
    Writer()
    {
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, &jump_, stop, ignore);
        if (png_ == nullptr)
            return;
        info_ = png_create_info_struct(png_);
        png_set_write_fn(
            png_, this,
            [](png_structp png, png_bytep from, std::size_t count) {
                const DataView bytes = std::as_bytes(std::span(from, count));
                Data& kept = static_cast<Writer*>(png_get_io_ptr(png))->data;
                kept.insert(kept.end(), bytes.begin(), bytes.end());
            },
            [](png_structp) {});
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&png_, &info_); }

    bool start(Int width, Int height, bool opaque, const PropertyDictionary& options)
    {
        const int turn = orientation(options);
        exif_ = makeExif(turn);
        const double across = number(options, kCGImagePropertyDPIWidth, 0);
        const double along = number(options, kCGImagePropertyDPIHeight, across);
        if (info_ == nullptr || setjmp(jump_) != 0)
            return false;
        constexpr png_uint_32 most = 0x7FFFFFFF; // of the format; the library's own limit is lower
        png_set_user_limits(png_, most, most);
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                     opaque ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_sRGB(png_, info_, PNG_sRGB_INTENT_PERCEPTUAL);
        if (across > 0 && along > 0)
            png_set_pHYs(png_, info_, perMetre(across), perMetre(along), PNG_RESOLUTION_METER);
        if (turn != 1)
            png_set_eXIf_1(png_, info_, static_cast<png_uint_32>(exif_.size()),
                           reinterpret_cast<png_bytep>(exif_.data()));
        png_write_info(png_, info_);
        return true;
    }

    bool writeRow(const std::uint8_t* row)
    {
        if (setjmp(jump_) != 0)
            return false;
        png_write_row(png_, row);
        return true;
    }

    bool finish()
    {
        if (setjmp(jump_) != 0)
            return false;
        png_write_end(png_, nullptr);
        return true;
    }

    Data data;

private:
    static png_uint_32 perMetre(double dpi)
    {
        return static_cast<png_uint_32>(std::lround(std::clamp(dpi / metresPerInch, 1.0, 2e9)));
    }

    std::jmp_buf jump_{};
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    Data exif_;
};

class PNGEncoder final : public ImageEncoder {
public:
    bool add(const CGImage& image, const PropertyDictionary& options) override
    {
        const bool opaque = image.isOpaque();
        if (!writer_->start(image.width(), image.height(), opaque, options))
            return false;
        std::vector<std::uint8_t> row(static_cast<std::size_t>(image.width()) * (opaque ? 3 : 4));
        for (Int y = 0; y < image.height(); ++y) {
            divideAlphaOut(image.row(y), row.data(), image.width(), !opaque);
            if (!writer_->writeRow(row.data()))
                return false;
        }
        return writer_->finish();
    }
    std::optional<Data> finish() override { return std::move(writer_->data); }

private:
    std::unique_ptr<Writer> writer_ = std::make_unique<Writer>();
};

} // namespace

const ImageFormat pngFormat{"public.png", false,
                            [](DataView beginning) { return startsWith(beginning, "\x89PNG\r\n\x1A\n"); },
                            makeDecoder<PNGDecoder>, makeEncoder<PNGEncoder>};

} // namespace corvane::images

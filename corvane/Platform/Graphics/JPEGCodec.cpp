// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImageProperties.h>
#include <corvane/Platform/Graphics/Exif.h>
#include <corvane/Platform/Graphics/ImageCodec.h>
#include <corvane/Platform/Graphics/RasterBuilder.h>

#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>

namespace corvane::images {

namespace {

// libjpeg reports errors by a function that must not return. No frame between it and the setjmp below may
// hold an object with a destructor, so everything lives in the classes and their steps are small.
struct Errors {
    jpeg_error_mgr manager;
    std::jmp_buf jump;

    void install(jpeg_common_struct* codec)
    {
        codec->err = jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr failed) {
            std::longjmp(reinterpret_cast<Errors*>(failed->err)->jump, 1);
        };
        manager.output_message = [](j_common_ptr) {};
        manager.emit_message = [](j_common_ptr told, int level) {
            if (level < 0)
                ++told->err->num_warnings;
        };
    }
};

class Reader {
public:
    explicit Reader(ByteSource bytes) : bytes_(std::move(bytes))
    {
        errors_.install(reinterpret_cast<jpeg_common_struct*>(&codec_));
        if (setjmp(errors_.jump) != 0)
            return;
        jpeg_create_decompress(&codec_);
        codec_.client_data = this;
        // Progressive files keep all their coefficients: enough for 150 megapixels, then a refusal.
        codec_.mem->max_memory_to_use = 1L << 30;
        progress_.progress_monitor = [](j_common_ptr common) {
            // Scans beyond any real file's are there to keep a reader busy.
            if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > 200)
                std::longjmp(reinterpret_cast<Errors*>(common->err)->jump, 1);
        };
        codec_.progress = &progress_;
        setUpSource();
        isCreated_ = true;
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { jpeg_destroy_decompress(&codec_); }

    bool readHeader()
    {
        if (!isCreated_ || setjmp(errors_.jump) != 0)
            return false;
        jpeg_save_markers(&codec_, JPEG_APP0 + 1, 0xFFFF);
        jpeg_save_markers(&codec_, JPEG_APP0 + 2, 0xFFFF);
        return jpeg_read_header(&codec_, TRUE) == JPEG_HEADER_OK;
    }

    bool start(unsigned eighths, J_COLOR_SPACE colours)
    {
        if (setjmp(errors_.jump) != 0)
            return false;
        codec_.scale_num = eighths;
        codec_.scale_denom = 8;
        codec_.out_color_space = colours;
        return jpeg_start_decompress(&codec_) != FALSE && isClean();
    }

    // The first warning means that bytes are missing or damaged, and libjpeg begins to make some up.
    bool readRow(std::uint8_t* row)
    {
        if (setjmp(errors_.jump) != 0)
            return false;
        return jpeg_read_scanlines(&codec_, &row, 1) == 1 && isClean();
    }

    bool finish()
    {
        if (setjmp(errors_.jump) != 0)
            return false;
        return jpeg_finish_decompress(&codec_) != FALSE && isClean();
    }

    bool isClean() const { return errors_.manager.num_warnings == 0; }
    const jpeg_decompress_struct& codec() const { return codec_; }
    const ByteSource& bytes() const { return bytes_; }

private:
    void setUpSource()
    {
        source_.init_source = [](j_decompress_ptr) {};
        source_.term_source = [](j_decompress_ptr) {};
        source_.resync_to_restart = jpeg_resync_to_restart;
        source_.fill_input_buffer = [](j_decompress_ptr codec) { return self(codec)->fill(); };
        source_.skip_input_data = [](j_decompress_ptr codec, long count) { self(codec)->skip(count); };
        source_.bytes_in_buffer = 0;
        source_.next_input_byte = nullptr;
        codec_.src = &source_;
        if (const DataView memory = bytes_.memory(); !memory.empty()) {
            source_.next_input_byte = reinterpret_cast<const JOCTET*>(memory.data());
            source_.bytes_in_buffer = memory.size();
            offset_ = memory.size();
        }
    }
    static Reader* self(j_decompress_ptr codec) { return static_cast<Reader*>(codec->client_data); }

    boolean fill()
    {
        // Headers fit into little. From then on much at once: close to the end of what it has, libjpeg decodes by a
        // slower, more careful path.
        const std::size_t room = offset_ == 0 ? std::size_t{32768} : window_.size();
        std::size_t count = 0;
        if (bytes_.memory().empty())
            count = bytes_.read(offset_, std::as_writable_bytes(std::span(window_).first(room)));
        offset_ += count;
        if (count == 0) {
            // An end marker, and the warning that tells of it.
            ++errors_.manager.num_warnings;
            window_[0] = 0xFF;
            window_[1] = JPEG_EOI;
            count = 2;
        }
        source_.next_input_byte = window_.data();
        source_.bytes_in_buffer = count;
        return TRUE;
    }
    void skip(long count)
    {
        if (count <= 0)
            return;
        const auto wanted = static_cast<std::uint64_t>(count);
        const std::size_t here =
            static_cast<std::size_t>(std::min<std::uint64_t>(wanted, source_.bytes_in_buffer));
        source_.next_input_byte += here;
        source_.bytes_in_buffer -= here;
        if (bytes_.memory().empty())
            offset_ += wanted - here;
    }

    ByteSource bytes_;
    jpeg_decompress_struct codec_{};
    Errors errors_{};
    jpeg_progress_mgr progress_{};
    jpeg_source_mgr source_{};
    std::array<JOCTET, 112 * 1024> window_;
    std::uint64_t offset_ = 0;
    bool isCreated_ = false;
};

// An ICC profile comes in numbered pieces, in any order.
Data assembleProfile(const jpeg_decompress_struct& codec)
{
    constexpr std::string_view name("ICC_PROFILE\0", 12);
    std::array<DataView, 256> pieces;
    std::size_t count = 0;
    for (auto* marker = codec.marker_list; marker != nullptr; marker = marker->next) {
        const DataView bytes = std::as_bytes(std::span(marker->data, marker->data_length));
        if (marker->marker != JPEG_APP0 + 2 || bytes.size() < 14 || !startsWith(bytes, name))
            continue;
        pieces[std::to_integer<std::size_t>(bytes[12])] = bytes.subspan(14);
        count = std::to_integer<std::size_t>(bytes[13]);
    }
    Data profile;
    for (std::size_t i = 1; i <= count; ++i) {
        if (pieces[i].empty())
            return {};
        profile.insert(profile.end(), pieces[i].begin(), pieces[i].end());
    }
    return profile;
}

ImageHeader describe(const jpeg_decompress_struct& codec)
{
    ImageHeader header;
    header.width = codec.image_width;
    header.height = codec.image_height;
    header.depth = codec.data_precision;
    header.colorModel = codec.num_components == 1   ? kCGImagePropertyColorModelGray
                        : codec.num_components == 4 ? kCGImagePropertyColorModelCMYK
                                                    : kCGImagePropertyColorModelRGB;
    const bool hasDensity = codec.saw_JFIF_marker != 0 && codec.X_density > 0 && codec.Y_density > 0 &&
                            (codec.density_unit == 1 || codec.density_unit == 2);
    if (hasDensity) {
        const double perInch = codec.density_unit == 2 ? 2.54 : 1;
        header.dpiWidth = codec.X_density * perInch;
        header.dpiHeight = codec.Y_density * perInch;
    }
    for (auto* marker = codec.marker_list; marker != nullptr; marker = marker->next) {
        const DataView bytes = std::as_bytes(std::span(marker->data, marker->data_length));
        if (marker->marker == JPEG_APP0 + 1 && startsWith(bytes, std::string_view("Exif\0\0", 6))) {
            readExif(bytes.subspan(6), header, !hasDensity);
            break;
        }
    }
    header.profile = assembleProfile(codec);
    return header;
}

class JPEGDecoder final : public ImageDecoder {
public:
    explicit JPEGDecoder(ByteSource bytes) : bytes_(std::move(bytes)) {}

    std::optional<ImageHeader> header(Int) override
    {
        const auto reader = std::make_unique<Reader>(bytes_);
        if (!reader->readHeader())
            return std::nullopt;
        return describe(reader->codec());
    }

    std::optional<CGImage> decode(Int, const DecodeRequest& request) override
    {
        const auto reader = std::make_unique<Reader>(bytes_);
        if (!reader->readHeader())
            return std::nullopt;
        const jpeg_decompress_struct& codec = reader->codec();
        const ImageHeader header = describe(codec);
        if (!isWithinLimits(header, request) || cannotHold(header))
            return std::nullopt;

        const PixelSize stored{header.width, header.height};
        const PixelSize target = fitting(stored, request.edge);
        const Layout layout = codec.num_components == 1   ? Layout::gray
                              : codec.num_components == 4 ? Layout::cmyk
                                                          : Layout::bgraMultiplied;
        const J_COLOR_SPACE colours = layout == Layout::gray   ? JCS_GRAYSCALE
                                      : layout == Layout::cmyk ? JCS_CMYK
                                                               : JCS_EXT_BGRA;
        // The transform of a smaller block gives an exact average at a fraction of the cost; at least twice
        // the wanted size is left for the averaging here, which has no fixed steps.
        unsigned eighths = 8;
        while (target != stored && eighths > 1 &&
               std::max(stored.width, stored.height) * (eighths / 2) / 8 >=
                   2 * std::max(target.width, target.height))
            eighths /= 2;
        if (!reader->start(eighths, colours))
            return std::nullopt;
        const PixelSize scaled{codec.output_width, codec.output_height};
        RasterBuilder builder(layout, scaled, target, header.profile);
        if (!builder)
            return std::nullopt;
        // Those who write CMYK in JPEG name themselves and write it inverted.
        const bool inverted = layout == Layout::cmyk && codec.saw_Adobe_marker != 0;
        while (builder.wantsMore()) {
            std::uint8_t* row = builder.row();
            if (!reader->readRow(row))
                return std::nullopt;
            if (inverted)
                for (Int i = 0; i < scaled.width * 4; ++i)
                    row[i] = static_cast<std::uint8_t>(255 - row[i]);
            builder.commit();
        }
        if (!reader->finish())
            return std::nullopt;
        return std::move(builder).finish(request.applyOrientation ? header.orientation : 1);
    }

private:
    // Each block of 64 pixels needs a bit at least, a component may be coarser than the image by 4 each way.
    bool cannotHold(const ImageHeader& header) const
    {
        const auto pixels =
            static_cast<std::uint64_t>(header.width) * static_cast<std::uint64_t>(header.height);
        return pixels / (64 * 16) > bytes_.size() * 8;
    }

    ByteSource bytes_;
};

// Collects what libjpeg writes.
class Writer {
public:
    Writer() = default;
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { jpeg_destroy_compress(&codec_); }

    bool start(Int width, Int height, double quality, const PropertyDictionary& options)
    {
        errors_.install(reinterpret_cast<jpeg_common_struct*>(&codec_));
        const double across = number(options, kCGImagePropertyDPIWidth, 72);
        const double along = number(options, kCGImagePropertyDPIHeight, across);
        turn_ = orientation(options);
        if (turn_ != 1)
            exif_ = makeExif(turn_);
        if (setjmp(errors_.jump) != 0)
            return false;
        jpeg_create_compress(&codec_);
        codec_.client_data = this;
        setUpDestination();
        codec_.image_width = static_cast<JDIMENSION>(width);
        codec_.image_height = static_cast<JDIMENSION>(height);
        codec_.input_components = 4;
        codec_.in_color_space = JCS_EXT_BGRX;
        jpeg_set_defaults(&codec_);
        jpeg_set_quality(&codec_, std::max(1, static_cast<int>(std::lround(quality * 100))), TRUE);
        // Colour at half the resolution is the rule, but not for those who ask for the best.
        codec_.comp_info[0].h_samp_factor = codec_.comp_info[0].v_samp_factor = quality >= 0.9 ? 1 : 2;
        codec_.optimize_coding = TRUE;
        codec_.density_unit = 1;
        codec_.X_density =
            static_cast<UINT16>(std::clamp(std::lround(std::clamp(across, 1.0, 65535.0)), 1L, 65535L));
        codec_.Y_density =
            static_cast<UINT16>(std::clamp(std::lround(std::clamp(along, 1.0, 65535.0)), 1L, 65535L));
        jpeg_start_compress(&codec_, TRUE);
        if (turn_ != 1) {
            jpeg_write_m_header(&codec_, JPEG_APP0 + 1, static_cast<unsigned>(exif_.size() + 6));
            for (const char c : {'E', 'x', 'i', 'f', '\0', '\0'})
                jpeg_write_m_byte(&codec_, c);
            for (const std::byte byte : exif_)
                jpeg_write_m_byte(&codec_, std::to_integer<int>(byte));
        }
        return true;
    }

    bool writeRow(const std::uint8_t* row)
    {
        if (setjmp(errors_.jump) != 0)
            return false;
        JSAMPROW rows = const_cast<JSAMPROW>(row); // read only
        return jpeg_write_scanlines(&codec_, &rows, 1) == 1;
    }

    bool finish()
    {
        if (setjmp(errors_.jump) != 0)
            return false;
        jpeg_finish_compress(&codec_);
        return true;
    }

    Data data;

private:
    void setUpDestination()
    {
        destination_.init_destination = [](j_compress_ptr codec) { self(codec)->rewind(); };
        destination_.empty_output_buffer = [](j_compress_ptr codec) -> boolean {
            self(codec)->keep(self(codec)->window_.size());
            self(codec)->rewind();
            return TRUE;
        };
        destination_.term_destination = [](j_compress_ptr codec) {
            Writer* writer = self(codec);
            writer->keep(writer->window_.size() - writer->destination_.free_in_buffer);
        };
        codec_.dest = &destination_;
    }
    static Writer* self(j_compress_ptr codec) { return static_cast<Writer*>(codec->client_data); }
    void rewind()
    {
        destination_.next_output_byte = window_.data();
        destination_.free_in_buffer = window_.size();
    }
    void keep(std::size_t count)
    {
        const DataView bytes = std::as_bytes(std::span(window_.data(), count));
        data.insert(data.end(), bytes.begin(), bytes.end());
    }

    jpeg_compress_struct codec_{};
    Errors errors_{};
    jpeg_destination_mgr destination_{};
    std::array<JOCTET, 32768> window_;
    int turn_ = 1;
    Data exif_;
};

class JPEGEncoder final : public ImageEncoder {
public:
    bool add(const CGImage& image, const PropertyDictionary& options) override
    {
        if (image.width() > JPEG_MAX_DIMENSION || image.height() > JPEG_MAX_DIMENSION)
            return false;
        if (!writer_->start(image.width(), image.height(), quality(options, 1.0), options))
            return false;
        const bool opaque = image.isOpaque();
        Data overWhite(opaque ? 0 : static_cast<std::size_t>(image.bytesPerRow()));
        for (Int y = 0; y < image.height(); ++y) {
            const std::uint8_t* row = image.row(y);
            if (!opaque) {
                // The format has no alpha: what shines through is white.
                for (Int i = 0; i < image.bytesPerRow(); ++i)
                    overWhite[static_cast<std::size_t>(i)] =
                        static_cast<std::byte>(std::min(255, row[i] + 255 - row[i | 3]));
                row = reinterpret_cast<const std::uint8_t*>(overWhite.data());
            }
            if (!writer_->writeRow(row))
                return false;
        }
        return writer_->finish();
    }
    std::optional<Data> finish() override { return std::move(writer_->data); }

private:
    std::unique_ptr<Writer> writer_ = std::make_unique<Writer>();
};

} // namespace

const ImageFormat jpegFormat{"public.jpeg", false,
                             [](DataView beginning) { return startsWith(beginning, "\xFF\xD8\xFF"); },
                             makeDecoder<JPEGDecoder>, makeEncoder<JPEGEncoder>};

} // namespace corvane::images

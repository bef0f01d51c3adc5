// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImageProperties.h>
#include <corvane/Platform/Graphics/Exif.h>
#include <corvane/Platform/Graphics/ImageCodec.h>
#include <corvane/Platform/Graphics/RasterBuilder.h>

#include <libheif/heif.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace corvane::images {

namespace {

// libheif counts its users and forgets every codec when the count drops to zero, even when somebody else in
// the process drops it once too often. One count is held for good.
void holdLibrary()
{
    static const bool held = [] {
        heif_init(nullptr);
        return true;
    }();
    static_cast<void>(held);
}

bool succeeded(const heif_error& error)
{
    return error.code == heif_error_Ok;
}

template <typename T, void (*release)(T*)>
struct Release {
    void operator()(T* held) const noexcept { release(held); }
};
using Context = std::unique_ptr<heif_context, Release<heif_context, heif_context_free>>;
struct ReleaseHandle {
    void operator()(const heif_image_handle* handle) const noexcept { heif_image_handle_release(handle); }
};
using Handle = std::unique_ptr<heif_image_handle, ReleaseHandle>;
struct ReleaseImage {
    void operator()(const heif_image* image) const noexcept { heif_image_release(image); }
};
using Image = std::unique_ptr<heif_image, ReleaseImage>;
struct ReleaseOptions {
    void operator()(heif_decoding_options* options) const noexcept { heif_decoding_options_free(options); }
    void operator()(heif_encoding_options* options) const noexcept { heif_encoding_options_free(options); }
};

class HEICDecoder final : public ImageDecoder {
public:
    explicit HEICDecoder(ByteSource bytes) : bytes_(std::move(bytes)) { holdLibrary(); }

    Int count() override
    {
        return read(Wanted::headers) ? heif_context_get_number_of_top_level_images(context_.get()) : 0;
    }

    std::optional<ImageHeader> header(Int index) override
    {
        const Handle handle = read(Wanted::headers) ? open(index) : nullptr;
        if (!handle)
            return std::nullopt;
        return describe(handle.get());
    }

    std::optional<CGImage> decode(Int index, const DecodeRequest& request) override
    {
        const Handle handle = read(Wanted::pixels) ? open(index) : nullptr;
        if (!handle)
            return std::nullopt;
        const ImageHeader header = describe(handle.get());
        if (!isWithinLimits(header, request))
            return std::nullopt;
        const std::unique_ptr<heif_decoding_options, ReleaseOptions> options(heif_decoding_options_alloc());
        options->convert_hdr_to_8bit = 1;
        options->strict_decoding = 1;
        heif_image* made = nullptr;
        const heif_chroma chroma =
            header.hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
        const heif_error error =
            heif_decode_image(handle.get(), &made, heif_colorspace_RGB, chroma, options.get());
        const Image image(made);
        if (!succeeded(error) || !image)
            return std::nullopt;

        const PixelSize decoded{heif_image_get_width(image.get(), heif_channel_interleaved),
                                heif_image_get_height(image.get(), heif_channel_interleaved)};
        int stride = 0;
        const std::uint8_t* rows =
            heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
        if (decoded != PixelSize{header.width, header.height} || rows == nullptr)
            return std::nullopt;
        const bool multiplied = header.hasAlpha && heif_image_is_premultiplied_alpha(image.get()) != 0;
        const Layout layout = multiplied        ? Layout::rgbaMultiplied
                              : header.hasAlpha ? Layout::rgba
                                                : Layout::rgb;
        RasterBuilder builder(layout, decoded, fitting(decoded, request.edge), header.profile);
        if (!builder)
            return std::nullopt;
        const auto rowBytes = static_cast<std::size_t>(decoded.width * samplesPerPixel(layout));
        for (Int y = 0; y < decoded.height; ++y) {
            std::memcpy(builder.row(), rows + y * stride, rowBytes);
            builder.commit();
        }
        return std::move(builder).finish(1);
    }

private:
    enum class Wanted { nothing, headers, pixels };

    bool read(Wanted wanted)
    {
        if (has_ < wanted) {
            has_ = wanted;
            position_ = 0;
            context_.reset(heif_context_alloc());
            if (!context_)
                return false;
            // Decoding stays on the calling thread: those who want more cores decode several files.
            heif_context_set_max_decoding_threads(context_.get(), 0);
            isOpen_ = succeeded(heif_context_read_from_reader(context_.get(), &reader(), this, nullptr));
        }
        return isOpen_;
    }

    bool readBytes(std::span<std::byte> into)
    {
        // libheif loads the coded picture along with the headers. Who asks for the headers alone does not wait
        // for that: a block of this size is no header, and stays as zeros.
        constexpr std::size_t largestHeader = 256 * 1024;
        if (position_ > bytes_.size() || into.size() > bytes_.size() - position_)
            return false;
        if (has_ == Wanted::pixels || into.size() <= largestHeader) {
            if (into.size() > window_.size()) {
                if (bytes_.read(position_, into) != into.size())
                    return false;
            } else { // many reads of a few bytes become few
                if (position_ < windowStart_ || position_ + into.size() > windowStart_ + windowSize_) {
                    windowStart_ = position_;
                    windowSize_ = bytes_.read(position_, window_);
                    if (windowSize_ < into.size())
                        return false;
                }
                std::memcpy(into.data(), window_.data() + (position_ - windowStart_), into.size());
            }
        }
        position_ += into.size();
        return true;
    }

    static const heif_reader& reader()
    {
        static const heif_reader functions = [] {
            heif_reader made{};
            made.reader_api_version = 1;
            made.get_position = [](void* user) { return static_cast<std::int64_t>(self(user)->position_); };
            made.read = [](void* into, std::size_t count, void* user) {
                return self(user)->readBytes({static_cast<std::byte*>(into), count}) ? 0 : 1;
            };
            made.seek = [](std::int64_t position, void* user) {
                if (position < 0 || static_cast<std::uint64_t>(position) > self(user)->bytes_.size())
                    return 1;
                self(user)->position_ = static_cast<std::uint64_t>(position);
                return 0;
            };
            made.wait_for_file_size = [](std::int64_t size, void* user) {
                return size >= 0 && static_cast<std::uint64_t>(size) <= self(user)->bytes_.size()
                           ? heif_reader_grow_status_size_reached
                           : heif_reader_grow_status_size_beyond_eof;
            };
            return made;
        }();
        return functions;
    }
    static HEICDecoder* self(void* user) { return static_cast<HEICDecoder*>(user); }

    // The primary picture is the first, the others follow as the file lists them.
    Handle open(Int index)
    {
        const Int all = heif_context_get_number_of_top_level_images(context_.get());
        if (index < 0 || index >= all)
            return nullptr;
        heif_image_handle* handle = nullptr;
        heif_item_id primary = 0;
        if (!succeeded(heif_context_get_primary_image_ID(context_.get(), &primary)))
            return nullptr;
        std::vector<heif_item_id> items(static_cast<std::size_t>(all));
        heif_context_get_list_of_top_level_image_IDs(context_.get(), items.data(), static_cast<int>(all));
        std::stable_partition(items.begin(), items.end(),
                              [primary](heif_item_id id) { return id == primary; });
        if (!succeeded(heif_context_get_image_handle(context_.get(), items[static_cast<std::size_t>(index)],
                                                     &handle)))
            return nullptr;
        return Handle(handle);
    }

    static ImageHeader describe(const heif_image_handle* handle)
    {
        ImageHeader header;
        header.width = heif_image_handle_get_width(handle);
        header.height = heif_image_handle_get_height(handle);
        header.hasAlpha = heif_image_handle_has_alpha_channel(handle) != 0;
        const int depth = heif_image_handle_get_luma_bits_per_pixel(handle);
        header.depth = depth > 0 ? depth : 8;
        // Absent for pictures that state their colours by numbers: those are turned into sRGB's by libheif.
        constexpr std::size_t largestProfile = 16u << 20;
        const std::size_t size = heif_image_handle_get_raw_color_profile_size(handle);
        if (size > 0 && size <= largestProfile) {
            header.profile.resize(size);
            if (!succeeded(heif_image_handle_get_raw_color_profile(handle, header.profile.data())))
                header.profile.clear();
        }
        readResolution(handle, header);
        return header;
    }

    static void readResolution(const heif_image_handle* handle, ImageHeader& header)
    {
        heif_item_id block = 0;
        if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &block, 1) != 1)
            return;
        constexpr std::size_t largestBlock = 1u << 20;
        const std::size_t size = heif_image_handle_get_metadata_size(handle, block);
        if (size < 8 || size > largestBlock)
            return;
        Data exif(size);
        if (!succeeded(heif_image_handle_get_metadata(handle, block, exif.data())))
            return;
        // The block begins with the distance from there to the EXIF header, usually past "Exif\0\0".
        std::size_t start = 4;
        for (int i = 0; i < 4; ++i)
            start += std::to_integer<std::size_t>(exif[static_cast<std::size_t>(i)]) << (8 * (3 - i));
        if (start >= size)
            return;
        readExif(DataView(exif).subspan(start), header, true);
        header.orientation = 1; // the format's own transformations are what counts, and are applied
    }

    ByteSource bytes_;
    Context context_;
    Wanted has_ = Wanted::nothing;
    bool isOpen_ = false;
    std::uint64_t position_ = 0;
    std::array<std::byte, 4096> window_;
    std::uint64_t windowStart_ = 0;
    std::size_t windowSize_ = 0;
};

class HEICEncoder final : public ImageEncoder {
public:
    HEICEncoder()
    {
        holdLibrary();
        context_.reset(heif_context_alloc());
    }

    bool add(const CGImage& image, const PropertyDictionary& options) override
    {
        constexpr Int longestSide = 16384; // what encoders take
        if (!context_ || image.width() > longestSide || image.height() > longestSide)
            return false;
        heif_encoder* found = nullptr;
        if (!succeeded(heif_context_get_encoder_for_format(context_.get(), heif_compression_HEVC, &found)))
            return false;
        const std::unique_ptr<heif_encoder, Release<heif_encoder, heif_encoder_release>> encoder(found);
        heif_encoder_set_lossy_quality(found, static_cast<int>(std::lround(quality(options, 0.8) * 100)));
        // Seven times faster than the default at the same quality for the same size; where the encoder is not
        // the one that knows the word, its own default holds.
        heif_encoder_set_parameter_string(found, "preset", "ultrafast");

        const bool opaque = image.isOpaque();
        heif_image* made = nullptr;
        if (!succeeded(heif_image_create(
                static_cast<int>(image.width()), static_cast<int>(image.height()), heif_colorspace_RGB,
                opaque ? heif_chroma_interleaved_RGB : heif_chroma_interleaved_RGBA, &made)))
            return false;
        const Image pixels(made);
        if (!succeeded(heif_image_add_plane(made, heif_channel_interleaved, static_cast<int>(image.width()),
                                            static_cast<int>(image.height()), 8)))
            return false;
        fill(made, image, opaque);

        const std::unique_ptr<heif_encoding_options, ReleaseOptions> how(heif_encoding_options_alloc());
        how->image_orientation = static_cast<heif_orientation>(orientation(options));
        heif_color_profile_nclx* colours = heif_nclx_color_profile_alloc();
        colours->color_primaries = heif_color_primaries_ITU_R_BT_709_5;
        colours->transfer_characteristics = heif_transfer_characteristic_IEC_61966_2_1;
        colours->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
        colours->full_range_flag = 1;
        how->output_nclx_profile = colours;
        const heif_error error = heif_context_encode_image(context_.get(), made, found, how.get(), nullptr);
        how->output_nclx_profile = nullptr;
        heif_nclx_color_profile_free(colours);
        return succeeded(error);
    }

    std::optional<Data> finish() override
    {
        heif_writer writer{};
        writer.writer_api_version = 1;
        writer.write = [](heif_context*, const void* bytes, std::size_t count, void* into) -> heif_error {
            const auto* from = static_cast<const std::byte*>(bytes);
            static_cast<Data*>(into)->assign(from, from + count);
            return {heif_error_Ok, heif_suberror_Unspecified, ""};
        };
        Data data;
        if (!context_ || !succeeded(heif_context_write(context_.get(), &writer, &data)) || data.empty())
            return std::nullopt;
        return data;
    }

private:
    static void fill(heif_image* made, const CGImage& image, bool opaque)
    {
        int stride = 0;
        std::uint8_t* rows = heif_image_get_plane(made, heif_channel_interleaved, &stride);
        for (Int y = 0; y < image.height(); ++y)
            divideAlphaOut(image.row(y), rows + y * stride, image.width(), !opaque);
    }

    Context context_;
};

bool isHEIC(DataView beginning)
{
    if (beginning.size() < 12 || !startsWith(beginning.subspan(4), "ftyp"))
        return false;
    // The major brand may be a general one; the specific ones follow after the version.
    for (std::size_t at = 8; at + 4 <= beginning.size(); at += at == 8 ? 8 : 4)
        for (const std::string_view brand : {"heic", "heix", "heim", "heis", "hevc", "hevx"})
            if (startsWith(beginning.subspan(at), brand))
                return true;
    return false;
}

} // namespace

const ImageFormat heicFormat{"public.heic", true, isHEIC, makeDecoder<HEICDecoder>, makeEncoder<HEICEncoder>};

} // namespace corvane::images

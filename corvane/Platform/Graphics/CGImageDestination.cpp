// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/AtomicFile.h>
#include <corvane/Platform/Graphics/CGImageDestination.h>
#include <corvane/Platform/Graphics/ImageCodec.h>

#include <algorithm>
#include <new>
#include <system_error>

namespace corvane {

using namespace images;

struct CGImageDestination::State {
    std::unique_ptr<ImageEncoder> encoder;
    PropertyDictionary options;
    Int missing = 0;
    bool failed = false;
    std::optional<AtomicFile> file; // or
    Data* data = nullptr;

    static std::unique_ptr<State> create(std::string_view type, Int count, const PropertyDictionary& options)
    {
        for (const ImageFormat* format : imageFormats()) {
            if (format->type != type || count < 1 || (count > 1 && !format->holdsMany))
                continue;
            auto state = std::make_unique<State>();
            state->encoder = format->makeEncoder(count);
            state->options = options;
            state->missing = count;
            return state;
        }
        return nullptr;
    }
};

CGImageDestination::CGImageDestination(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}
CGImageDestination::CGImageDestination(CGImageDestination&&) noexcept = default;
CGImageDestination& CGImageDestination::operator=(CGImageDestination&&) noexcept = default;
CGImageDestination::~CGImageDestination() = default;

std::optional<CGImageDestination> CGImageDestination::create(const URL& url, std::string_view type, Int count,
                                                             const PropertyDictionary& options)
{
    std::unique_ptr<State> state = State::create(type, count, options);
    if (!state || !url.isFileURL() || url.hasDirectoryPath())
        return std::nullopt;
    std::error_code error;
    state->file = AtomicFile::create(url.path(), error);
    if (!state->file)
        return std::nullopt;
    return CGImageDestination(std::move(state));
}

std::optional<CGImageDestination> CGImageDestination::create(Data& data, std::string_view type, Int count,
                                                             const PropertyDictionary& options)
{
    std::unique_ptr<State> state = State::create(type, count, options);
    if (!state)
        return std::nullopt;
    state->data = &data;
    return CGImageDestination(std::move(state));
}

void CGImageDestination::addImage(const CGImage& image, const PropertyDictionary& options)
{
    if (state_->failed || state_->missing == 0) {
        state_->failed = true;
        return;
    }
    --state_->missing;
    PropertyDictionary all = options;
    all.insert(state_->options.begin(), state_->options.end());
    try {
        state_->failed = !state_->encoder->add(image, all);
    } catch (const std::bad_alloc&) {
        state_->failed = true;
    }
}

bool CGImageDestination::finalize()
{
    const std::unique_ptr<ImageEncoder> encoder = std::move(state_->encoder);
    if (!encoder || state_->failed || state_->missing > 0)
        return false;
    std::optional<Data> encoded = encoder->finish();
    if (!encoded)
        return false;
    if (state_->data != nullptr) {
        *state_->data = *std::move(encoded);
        return true;
    }
    std::optional<AtomicFile> file = std::move(state_->file);
    return !file->write(*encoded) && !file->commit();
}

} // namespace corvane

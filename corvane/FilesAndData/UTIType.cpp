// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/UTIType.h>
#include <corvane/Platform/Files/TypeIdentifiers.h>

#include <utility>

namespace corvane {

UTIType::UTIType(std::string identifier)
    : owned_(std::make_shared<const std::string>(std::move(identifier))), identifier_(*owned_)
{}

std::optional<UTIType> UTIType::fromFileExtension(std::string_view extension)
{
    using TypeIdentifiers::TagClass;
    const std::string_view declared =
        TypeIdentifiers::declaredIdentifierForTag(TagClass::filenameExtension, extension);
    if (!declared.empty())
        return UTIType(Declared{declared});
    std::optional<std::string> dynamic =
        TypeIdentifiers::preferredIdentifierForTag(TagClass::filenameExtension, extension);
    return dynamic ? std::optional(UTIType(*std::move(dynamic))) : std::nullopt;
}

UTIType UTIType::fromType(std::uint32_t code)
{
    return UTIType(TypeIdentifiers::stringForOSType(code));
}

bool UTIType::conforms(std::string_view to) const noexcept
{
    return TypeIdentifiers::conforms(identifier_, to);
}

std::uint32_t UTIType::osType() const noexcept
{
    return TypeIdentifiers::osTypeFromString(identifier_);
}

std::optional<std::string> UTIType::localizedDescription() const
{
    return TypeIdentifiers::description(identifier_);
}

std::optional<PropertyDictionary> UTIType::declaration() const
{
    return TypeIdentifiers::declaration(identifier_);
}

std::optional<URL> UTIType::bundleURL() const
{
    return TypeIdentifiers::declaringBundleURL(identifier_);
}

bool operator==(const UTIType& a, const UTIType& b) noexcept
{
    return TypeIdentifiers::equal(a.identifier_, b.identifier_);
}

constinit const UTIType UTIType::item(Declared{"public.item"});
constinit const UTIType UTIType::content(Declared{"public.content"});
constinit const UTIType UTIType::compositeContent(Declared{"public.composite-content"});
constinit const UTIType UTIType::application(Declared{"com.apple.application"});
constinit const UTIType UTIType::message(Declared{"public.message"});
constinit const UTIType UTIType::contact(Declared{"public.contact"});
constinit const UTIType UTIType::archive(Declared{"public.archive"});
constinit const UTIType UTIType::diskImage(Declared{"public.disk-image"});
constinit const UTIType UTIType::data(Declared{"public.data"});
constinit const UTIType UTIType::directory(Declared{"public.directory"});
constinit const UTIType UTIType::resolvable(Declared{"com.apple.resolvable"});
constinit const UTIType UTIType::symLink(Declared{"public.symlink"});
constinit const UTIType UTIType::mountPoint(Declared{"com.apple.mount-point"});
constinit const UTIType UTIType::aliasFile(Declared{"com.apple.alias-file"});
constinit const UTIType UTIType::aliasRecord(Declared{"com.apple.alias-record"});
constinit const UTIType UTIType::url(Declared{"public.url"});
constinit const UTIType UTIType::fileURL(Declared{"public.file-url"});
constinit const UTIType UTIType::text(Declared{"public.text"});
constinit const UTIType UTIType::plainText(Declared{"public.plain-text"});
constinit const UTIType UTIType::utf8PlainText(Declared{"public.utf8-plain-text"});
constinit const UTIType UTIType::utf16PlainText(Declared{"public.utf16-plain-text"});
constinit const UTIType UTIType::rtf(Declared{"public.rtf"});
constinit const UTIType UTIType::html(Declared{"public.html"});
constinit const UTIType UTIType::xml(Declared{"public.xml"});
constinit const UTIType UTIType::sourceCode(Declared{"public.source-code"});
constinit const UTIType UTIType::cSource(Declared{"public.c-source"});
constinit const UTIType UTIType::objectiveCSource(Declared{"public.objective-c-source"});
constinit const UTIType UTIType::cppSource(Declared{"public.c-plus-plus-source"});
constinit const UTIType UTIType::objCPPSource(Declared{"public.objective-c-plus-plus-source"});
constinit const UTIType UTIType::cHeader(Declared{"public.c-header"});
constinit const UTIType UTIType::cppHeader(Declared{"public.c-plus-plus-header"});
constinit const UTIType UTIType::javaSource(Declared{"com.sun.java-source"});
constinit const UTIType UTIType::pdf(Declared{"com.adobe.pdf"});
constinit const UTIType UTIType::rtfd(Declared{"com.apple.rtfd"});
constinit const UTIType UTIType::flatRTFD(Declared{"com.apple.flat-rtfd"});
constinit const UTIType UTIType::webArchive(Declared{"com.apple.webarchive"});
constinit const UTIType UTIType::image(Declared{"public.image"});
constinit const UTIType UTIType::jpeg(Declared{"public.jpeg"});
constinit const UTIType UTIType::jpeg2000(Declared{"public.jpeg-2000"});
constinit const UTIType UTIType::tiff(Declared{"public.tiff"});
constinit const UTIType UTIType::pict(Declared{"com.apple.pict"});
constinit const UTIType UTIType::gif(Declared{"com.compuserve.gif"});
constinit const UTIType UTIType::png(Declared{"public.png"});
constinit const UTIType UTIType::quickTimeImage(Declared{"com.apple.quicktime-image"});
constinit const UTIType UTIType::audiovisualContent(Declared{"public.audiovisual-content"});
constinit const UTIType UTIType::movie(Declared{"public.movie"});
constinit const UTIType UTIType::video(Declared{"public.video"});
constinit const UTIType UTIType::audio(Declared{"public.audio"});
constinit const UTIType UTIType::qtMovie(Declared{"com.apple.quicktime-movie"});
constinit const UTIType UTIType::mpeg(Declared{"public.mpeg"});
constinit const UTIType UTIType::mpeg4(Declared{"public.mpeg-4"});
constinit const UTIType UTIType::mP3(Declared{"public.mp3"});
constinit const UTIType UTIType::mpeg4Audio(Declared{"public.mpeg-4-audio"});
constinit const UTIType UTIType::folder(Declared{"public.folder"});
constinit const UTIType UTIType::volume(Declared{"public.volume"});
constinit const UTIType UTIType::package(Declared{"com.apple.package"});
constinit const UTIType UTIType::bundle(Declared{"com.apple.bundle"});
constinit const UTIType UTIType::framework(Declared{"com.apple.framework"});
constinit const UTIType UTIType::applicationBundle(Declared{"com.apple.application-bundle"});
constinit const UTIType UTIType::applicationFile(Declared{"com.apple.application-file"});
constinit const UTIType UTIType::vCard(Declared{"public.vcard"});
constinit const UTIType UTIType::inkText(Declared{"com.apple.ink.inktext"});

} // namespace corvane

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Files/FileManager.h>

#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// A file, a symbolic link or a whole folder, read into memory: a document that is a folder of files, say.
///
///     const FileWrapper document = FileWrapper::fromURL(url);
///     if (const FileWrapper* notes = document.child("Notes.txt"))
///         show(notes->contents);
///
/// A value without ties to the disk: later changes there do not show, and it writes nothing. Thread-compatible.
struct CORVANE_API FileWrapper {
    /// Reads the item, and all that a folder holds; links are taken as links, `url` itself included. Throws
    /// `std::filesystem::filesystem_error` that names the first item that cannot be read, goes away meanwhile, or is
    /// none of the three kinds. A process that writes meanwhile may be met half-way.
    [[nodiscard]] static FileWrapper fromURL(const URL& url);

    std::string filename;
    FileManager::Attributes attributes; ///< the type is one of `regular`, `directory` and `symbolicLink`
    Data contents;                      ///< of a file
    std::string destination;            ///< of a link, as it is written there
    std::vector<FileWrapper> children;  ///< of a folder, by their names

    /// Null when the folder has no item of that name.
    [[nodiscard]] const FileWrapper* child(std::string_view name) const noexcept;
};

} // namespace corvane

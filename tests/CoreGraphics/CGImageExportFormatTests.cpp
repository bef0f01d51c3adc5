// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImageExportFormat.h>

#include <gtest/gtest.h>

namespace corvane {

TEST(CGImageExportFormat, FromPathExtension)
{
    using enum CGImageExportFormat;
    const struct {
        const char* extension;
        std::optional<CGImageExportFormat> format;
    } rows[] = {{"jpg", jpg},  {"JPEG", jpg},  {"png", png},   {"PnG", png}, {"tiff", tiff},
                {"Tif", tiff}, {"heic", heic}, {"HEIC", heic}, {"gif", {}},  {".png", {}},
                {"heif", {}},  {"", {}},       {"png ", {}}};
    for (const auto& row : rows)
        EXPECT_EQ(exportFormatFromPathExt(row.extension), row.format) << row.extension;
}

TEST(CGImageExportFormat, NamesAndTypes)
{
    const struct {
        CGImageExportFormat format;
        int raw;
        const char* extension;
        const char* type;
    } rows[] = {{CGImageExportFormat::png, 0, "png", "public.png"},
                {CGImageExportFormat::jpg, 1, "jpg", "public.jpeg"},
                {CGImageExportFormat::tiff, 2, "tiff", "public.tiff"},
                {CGImageExportFormat::heic, 3, "heic", "public.heic"}};
    for (const auto& row : rows) {
        EXPECT_EQ(static_cast<int>(row.format), row.raw);
        EXPECT_EQ(fileExtension(row.format), row.extension);
        EXPECT_EQ(cgType(row.format), row.type);
    }
}

} // namespace corvane

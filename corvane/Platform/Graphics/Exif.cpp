// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/Exif.h>

#include <cmath>

namespace corvane::images {

namespace {

enum : std::uint32_t {
    tagOrientation = 0x0112,
    tagXResolution = 0x011A,
    tagYResolution = 0x011B,
    tagUnit = 0x0128
};
enum : std::uint32_t { typeShort = 3, typeRational = 5 };

class Reader {
public:
    explicit Reader(DataView bytes) : bytes_(bytes), bigEndian_(startsWith(bytes, "MM")) {}

    // 0 beyond the end, which no meaningful field has.
    std::uint32_t get(std::size_t offset, std::size_t count) const
    {
        if (offset > bytes_.size() || bytes_.size() - offset < count)
            return 0;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value = value << 8 |
                    std::to_integer<std::uint32_t>(bytes_[offset + (bigEndian_ ? i : count - 1 - i)]);
        return value;
    }
    double rational(std::size_t offset) const
    {
        const std::uint32_t below = get(offset + 4, 4);
        return below == 0 ? 0 : static_cast<double>(get(offset, 4)) / below;
    }

private:
    DataView bytes_;
    bool bigEndian_;
};

} // namespace

void readExif(DataView exif, ImageHeader& header, bool resolutionToo)
{
    if (!startsWith(exif, "II") && !startsWith(exif, "MM"))
        return;
    const Reader reader(exif);
    const std::size_t directory = reader.get(4, 4);
    const std::uint32_t entries = reader.get(directory, 2);
    double across = 0;
    double along = 0;
    std::uint32_t unit = 2;
    for (std::uint32_t i = 0; i < entries; ++i) {
        const std::size_t entry = directory + 2 + std::size_t{i} * 12;
        if (entry >= exif.size())
            break;
        const std::uint32_t tag = reader.get(entry, 2);
        const std::uint32_t type = reader.get(entry + 2, 2);
        const std::uint32_t value = reader.get(entry + 8, 2);
        if (tag == tagOrientation && type == typeShort && value >= 1 && value <= 8)
            header.orientation = static_cast<int>(value);
        else if (tag == tagUnit && type == typeShort)
            unit = value;
        else if (tag == tagXResolution && type == typeRational)
            across = reader.rational(reader.get(entry + 8, 4));
        else if (tag == tagYResolution && type == typeRational)
            along = reader.rational(reader.get(entry + 8, 4));
    }
    if (!resolutionToo || !(across > 0 && along > 0) || (unit != 2 && unit != 3))
        return;
    const double perInch = unit == 3 ? 2.54 : 1;
    header.dpiWidth = across * perInch;
    header.dpiHeight = along * perInch;
}

Data makeExif(int orientation)
{
    const unsigned char bytes[] = {'M', 'M',
                                   0,   42,
                                   0,   0,
                                   0,   8, // header, directory at 8
                                   0,   1, // one entry
                                   1,   0x12,
                                   0,   3,
                                   0,   0,
                                   0,   1, // orientation, one short
                                   0,   static_cast<unsigned char>(orientation),
                                   0,   0,
                                   0,   0,
                                   0,   0};
    const auto view = std::as_bytes(std::span(bytes));
    return Data(view.begin(), view.end());
}

} // namespace corvane::images

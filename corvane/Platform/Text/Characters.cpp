// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Characters.h>
#include <corvane/Platform/Text/Utf8.h>

#include <unicode/uchar.h>
#include <unicode/uscript.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

namespace corvane {

namespace {

using detail::CodePoint;
using detail::codePointAt;
using detail::isBadByte;

// What the rules of extended grapheme clusters ask of a code point: one kind and some marks. The rules are those
// that ICU's own iterator goes by, conjuncts of Indic consonants included; a walk over a table is several times
// faster than the iterator, needs no object to be opened and can begin anywhere.
enum Kind : std::uint8_t {
    other,
    control,
    cr,
    lf,
    extend,
    zwj,
    regional,
    prepend,
    spacing,
    l,
    v,
    t,
    lv,
    lvt,
    pict
};
constexpr std::uint8_t kindMask = 0x0F;
constexpr std::uint8_t consonantMark = 0x10; // of a script whose consonants join across a virama
constexpr std::uint8_t viramaMark = 0x20;
constexpr std::uint8_t joinMark = 0x40; // may stand between consonant and virama

bool joinsConsonants(UChar32 c)
{
    UErrorCode status = U_ZERO_ERROR;
    switch (uscript_getScript(c, &status)) {
    case USCRIPT_GUJARATI:
    case USCRIPT_TELUGU:
    case USCRIPT_MALAYALAM:
    case USCRIPT_ORIYA:
    case USCRIPT_BENGALI:
    case USCRIPT_DEVANAGARI:
        return true;
    default:
        return false;
    }
}

std::uint8_t kindOf(UChar32 c)
{
    switch (u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_CONTROL:
        return control;
    case U_GCB_CR:
        return cr;
    case U_GCB_LF:
        return lf;
    case U_GCB_EXTEND:
        return u_getCombiningClass(c) != 0 ? extend | joinMark : extend;
    case U_GCB_ZWJ:
        return zwj | joinMark;
    case U_GCB_REGIONAL_INDICATOR:
        return regional;
    case U_GCB_PREPEND:
        return prepend;
    case U_GCB_SPACING_MARK:
        return spacing;
    case U_GCB_L:
        return l;
    case U_GCB_V:
        return v;
    case U_GCB_T:
        return t;
    case U_GCB_LV:
        return lv;
    case U_GCB_LVT:
        return lvt;
    default:
        return u_hasBinaryProperty(c, UCHAR_EXTENDED_PICTOGRAPHIC) ? pict : other;
    }
}

std::uint8_t classOf(UChar32 c)
{
    std::uint8_t result = kindOf(c);
    const int syllabic = u_getIntPropertyValue(c, UCHAR_INDIC_SYLLABIC_CATEGORY);
    if ((syllabic == U_INSC_CONSONANT || syllabic == U_INSC_VIRAMA) && joinsConsonants(c))
        result |= syllabic == U_INSC_VIRAMA ? viramaMark : consonantMark;
    return result;
}

// A page holds 256 code points and is made when a text first has one of them. Pages stay for the process's life.
using Page = std::array<std::uint8_t, 256>;
std::array<std::atomic<const Page*>, 0x1100> pages{};

[[gnu::noinline]] const Page* makePage(std::size_t number) noexcept
{
    auto page = std::make_unique<Page>();
    for (std::size_t i = 0; i < page->size(); ++i)
        (*page)[i] = classOf(static_cast<UChar32>(number << 8U | i));
    const Page* current = nullptr;
    if (pages[number].compare_exchange_strong(current, page.get(), std::memory_order_acq_rel))
        current = page.release();
    return current;
}

std::uint8_t classAt(CodePoint point) noexcept
{
    if (isBadByte(point))
        return control; // alone on both sides
    const std::size_t number = point.value >> 8U;
    const Page* page = pages[number].load(std::memory_order_acquire);
    if (!page) [[unlikely]]
        page = makePage(number);
    return (*page)[point.value & 0xFFU];
}

// Decides, code point by code point, where a character ends. Begins anew at each end.
class Cluster {
public:
    explicit Cluster(std::uint8_t first) noexcept
        : last_(first & kindMask),
          regionals_((first & kindMask) == regional),
          pict_((first & kindMask) == pict),
          conjunct_((first & consonantMark) != 0)
    {}

    bool endsBefore(std::uint8_t next) noexcept
    {
        const auto kind = static_cast<Kind>(next & kindMask);
        if (breaks(kind, next))
            return true;
        regionals_ += kind == regional;
        pict_ = kind == pict ? 1 : pict_ == 1 && kind == zwj ? 2 : pict_ == 1 && kind == extend ? 1 : 0;
        if (next & consonantMark)
            conjunct_ = 1;
        else if (conjunct_ != 0 && (next & viramaMark))
            conjunct_ = 2;
        else if (!(next & joinMark))
            conjunct_ = 0;
        last_ = kind;
        return false;
    }

private:
    bool breaks(Kind kind, std::uint8_t next) const noexcept
    {
        if (last_ == cr)
            return kind != lf;
        if (last_ == control || last_ == lf || kind == control || kind == cr || kind == lf)
            return true;
        if (kind == extend || kind == zwj || kind == spacing || last_ == prepend)
            return false;
        switch (kind) {
        case l:
        case lv:
        case lvt:
            return last_ != l;
        case v:
            return last_ != l && last_ != lv && last_ != v;
        case t:
            return last_ != lv && last_ != v && last_ != lvt && last_ != t;
        case pict:
            return pict_ != 2;
        case regional:
            return !(last_ == regional && regionals_ % 2 == 1);
        default:
            return !((next & consonantMark) && conjunct_ == 2);
        }
    }

    std::uint8_t last_;
    unsigned regionals_;
    int pict_;     // 1 behind a pictograph and what extends it, 2 when one joiner came too
    int conjunct_; // 1 behind a joining consonant, 2 when a virama came too
};

bool isAscii(char c) noexcept
{
    return static_cast<signed char>(c) >= 0;
}

// Whether 8 bytes are ASCII without a carriage return. May deny it where there is none, for a byte above one.
bool arePlain(const char* bytes) noexcept
{
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    constexpr std::uint64_t ones = 0x0101010101010101, high = 0x8080808080808080;
    return ((word | ((word ^ 0x0D * ones) - ones)) & high) == 0;
}

// Behind as many ASCII characters as there are at `offset`, at most `characters`, in steps of eight.
std::size_t skipPlain(std::string_view text, std::size_t offset, Int& characters) noexcept
{
    // The byte behind them must be ASCII too, or it could be an accent on the last.
    while (characters >= 8 && text.size() - offset > 8 && arePlain(text.data() + offset) &&
           isAscii(text[offset + 8])) {
        offset += 8;
        characters -= 8;
    }
    return offset;
}

} // namespace

bool detail::isAloneByTable(CodePoint point) noexcept
{
    const auto kind = static_cast<Kind>(classAt(point) & kindMask);
    return kind == other || kind == control || kind == pict;
}

std::size_t skipCharacters(std::string_view text, std::size_t offset, Int& characters) noexcept
{
    while (characters > 0 && offset < text.size()) {
        offset = skipPlain(text, offset, characters);
        if (characters == 0)
            break;
        CodePoint point = codePointAt(text, offset);
        std::uint8_t next = 0;
        bool isKnown = false; // whether `next` is the class of what is at `offset`
        while (characters > 0) {
            const std::size_t behind = offset + point.length;
            if (point.value < 0x80 && point.value != 0x0D &&
                (behind == text.size() || isAscii(text[behind]))) {
                offset = behind;
                --characters;
                break; // perhaps more of that kind
            }
            Cluster cluster(isKnown ? next : classAt(point));
            isKnown = false;
            for (offset = behind; offset < text.size(); offset += point.length) {
                point = codePointAt(text, offset);
                next = classAt(point);
                if (cluster.endsBefore(next)) {
                    isKnown = true;
                    break;
                }
            }
            --characters;
            if (!isKnown)
                break;
        }
    }
    return offset;
}

std::size_t nextCharacterOffset(std::string_view text, std::size_t offset) noexcept
{
    Int one = 1;
    return skipCharacters(text, offset, one);
}

Int characterCount(std::string_view text) noexcept
{
    constexpr Int most = std::numeric_limits<Int>::max();
    Int left = most;
    static_cast<void>(skipCharacters(text, 0, left));
    return most - left;
}

} // namespace corvane

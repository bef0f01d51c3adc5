// SPDX-License-Identifier: Apache-2.0
// A list of photos in a narrow window: names are shortened, numbered, sorted out of free text, and two versions of a
// caption are compared, all in the characters that people see.
#include <corvane/Platform/Text/Characters.h>
#include <corvane/StringsAndText/String.h>

#include <cstdio>
#include <string>
#include <vector>

using namespace corvane;

namespace {

// Text padded to a width on the screen where every character takes one column.
std::string column(std::string text, Int width)
{
    text.append(static_cast<std::size_t>(width - characterCount(text)), ' ');
    return text;
}

} // namespace

int main()
{
    // The last one spells its accent apart, and has a family that is one character.
    const std::vector<std::string> names{
        "Sunset", "Summer holidays in Łódź.jpg",
        "Famille a\u0300 la plage \U0001F468\u200D\U0001F469\u200D\U0001F467!"};
    const Int last = static_cast<Int>(names.size());
    for (Int i = 0; i < last; ++i) {
        const std::string& name = names[static_cast<std::size_t>(i)];
        std::printf("%s |%s|%s|%s|\n", zeroPadded(i + 1, 10).c_str(),
                    column(reducedStringAtStart(name, 12), 12).c_str(),
                    column(reducedStringAtMiddle(name, 11), 11).c_str(),
                    column(reducedStringAtEnd(name, 12), 12).c_str());
    }

    // Copies are numbered on. Only one digit counts as a number.
    std::string copy = "Sunset";
    for (int i = 0; i < 3; ++i)
        copy = incremented(copy);
    std::printf("%s, %s\n", copy.c_str(), incremented("Sunset (10)").c_str());

    // An accent written apart is the same character, so the prefix is there.
    const std::string title = "E\u0301tretat at noon";
    std::printf("%s\n", std::string(removedPrefix(title, "\u00C9tretat ")).c_str());
    std::string path = "/media/card/DCIM";
    const bool wasThere = replacePrefix(path, "/media/card", "Card");
    std::printf("%s %s\n", path.c_str(), wasThere ? "from the card" : "from elsewhere");

    // What two versions of a caption have in common, and the dates in a text.
    const auto common =
        commonSubsequence(std::vector<std::string>{"a caf\u00E9 by the sea", "the cafe\u0301 at sea"});
    std::printf("%s\n", common->c_str());
    for (const auto& date : captureMatches("taken 2026-05-17, edited 2026-06-02", R"((\d{4})-(\d\d)-(\d\d))"))
        std::printf("%s/%s/%s\n", date[2].c_str(), date[1].c_str(), date[0].c_str());
    std::printf("%zu matches\n", captureMatches("text", "(").size());
}

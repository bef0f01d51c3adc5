// SPDX-License-Identifier: Apache-2.0
// A program with a bundle of two languages. Run it with LANG=de_DE.UTF-8 and with LANG=en_US.UTF-8.
#include <corvane/StringsAndText/TextLocalizer.h>

#include <cstdio>

using namespace corvane;

namespace {

// A program names its keys once.
const LocalizedString welcome("welcome"), photoCount("photo count"), disk("disk"), tip("tip"),
    missing("missing");

} // namespace

int main()
{
    // The short way asks the table "Localizable" of the main bundle. Order and wording are the language's, digits are
    // grouped as the user's locale does it.
    std::printf("%s\n", TL(welcome, "Ana").c_str());
    std::printf("%s\n", TL(photoCount, 12345, "Łódź").c_str());
    std::printf("%s\n", TL(disk, 1234.56, 87).c_str());
    std::printf("%s\n", TL(tip).c_str()); // without arguments a text is as it stands

    // The long way names a table, and has a text for a key that no table has.
    TextLocalizer about(Bundle::main(), "About");
    about.string = LocalizedString("version");
    about.arguments = std::vector<FormatArgument>{"1.2.3"};
    std::printf("%s\n", about.local().c_str());
    about.string = missing;
    about.defaultValue = "(no text)";
    about.arguments.reset();
    std::printf("%s\n", about.local().c_str());
}

// SPDX-License-Identifier: Apache-2.0
// A program with a bundle of its own: prints what its arguments ask of it, a line each, "-" where absent.
#include <corvane/AppSupport/Bundle.h>

#include <iostream>
#include <string>

using namespace corvane;

namespace {

std::string text(const std::optional<URL>& url)
{
    const std::string root = Bundle::main().resourceURL()->path() + '/';
    return !url ? "-" : url->path().starts_with(root) ? url->path().substr(root.size()) : url->path();
}

std::string answer(const std::string& question)
{
    const Bundle& bundle = Bundle::main();
    if (question == "root")
        return bundle.resourceURL()->path();
    if (question == "identifier")
        return bundle.bundleIdentifier().value_or("-");
    if (question == "page")
        return text(urlForHTMLResource(bundle, "Page", "Pages"));
    if (question.ends_with(".html"))
        return text(urlForHTMLResource(bundle, question.substr(0, question.size() - 5)));
    if (question.ends_with(".plist"))
        return text(urlForPLISTResource(bundle, question.substr(0, question.size() - 6)));
    if (const auto number = numberForInfoDictionaryKey(bundle, question))
        return "number " + std::to_string(number->intValue());
    return stringForInfoDictionaryKey(bundle, question).value_or("-");
}

} // namespace

int main(int count, char** arguments)
{
    for (int i = 1; i < count; ++i)
        std::cout << answer(arguments[i]) << '\n';
}

// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/TypeIdentifierTable.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace corvane::TypeIdentifiers {
namespace {

std::vector<std::string> parts(std::string_view list, char separator)
{
    std::vector<std::string> result;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(separator), list.size());
        result.emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return result;
}

bool isLowerCase(std::string_view text)
{
    return std::ranges::none_of(text, [](unsigned char c) { return std::isupper(c) != 0; });
}

TEST(TypeIdentifierTableTests, IdentifiersAndTagsAreDeclaredOnce)
{
    std::map<std::string, int> identifiers, extensions, mimeTypes, osTypes;
    for (const Declaration& type : declarations()) {
        EXPECT_FALSE(type.description.empty()) << type.identifier;
        EXPECT_TRUE(isLowerCase(type.identifier)) << type.identifier;
        EXPECT_NE(type.identifier.find('.'), type.identifier.npos) << type.identifier;
        ++identifiers[std::string(type.identifier)];
        for (const std::string& tag : parts(type.extensions, ' ')) {
            EXPECT_TRUE(isLowerCase(tag) && !tag.empty() && !tag.starts_with('.')) << tag;
            ++extensions[tag];
        }
        for (const std::string& tag : parts(type.mimeTypes, ' ')) {
            EXPECT_TRUE(isLowerCase(tag) && std::ranges::count(tag, '/') == 1) << tag;
            ++mimeTypes[tag];
        }
        for (const std::string& tag : parts(type.osTypes, ',')) {
            EXPECT_EQ(tag.size(), 4U) << tag;
            ++osTypes[tag];
        }
    }
    for (const auto* tags : {&identifiers, &extensions, &mimeTypes, &osTypes})
        for (const auto& [tag, times] : *tags)
            EXPECT_EQ(times, 1) << tag;
    EXPECT_GE(extensions.size(), 400U);
}

TEST(TypeIdentifierTableTests, EveryTypeLeadsUpToDeclaredOnesWithoutACircle)
{
    std::map<std::string, std::vector<std::string>> parents;
    for (const Declaration& type : declarations())
        parents[std::string(type.identifier)] = parts(type.conformsTo, ' ');
    // Types are taken away once all their parents are; a circle is what stays.
    std::set<std::string> grounded;
    for (std::size_t before = parents.size() + 1; before != parents.size() - grounded.size();) {
        before = parents.size() - grounded.size();
        for (const auto& [type, above] : parents)
            if (std::ranges::all_of(above,
                                    [&](const std::string& parent) { return grounded.contains(parent); }))
                grounded.insert(type);
    }
    for (const auto& [type, above] : parents) {
        EXPECT_TRUE(grounded.contains(type)) << type;
        for (const std::string& parent : above)
            EXPECT_TRUE(parents.contains(parent)) << type << " conforms to " << parent;
    }
}

} // namespace
} // namespace corvane::TypeIdentifiers

// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/URL.h>

#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <filesystem>
#include <string>
#include <unordered_set>

namespace corvane {
namespace {

using testing::ElementsAreArray;

URL url(std::string_view text)
{
    const auto result = URL::fromString(text);
    EXPECT_TRUE(result) << text;
    return result.value_or(URL::fromPath("/"));
}

TEST(URLTests, TextOutsideTheGrammarIsNoURL)
{
    for (const std::string_view text : {"file:///", "http://ana:secret@h:65535/a?q=1#f", "http://h:/",
                                        "http://[::1]:8/", "mailto:ana@example.org", "//h/a", "../a", "a%2Fb",
                                        "?q", "#f", "./1a:b", "urn:a:b", "http://%41/", "http:"})
        EXPECT_EQ(url(text).absoluteString(), text);
    for (const std::string_view text : {"", " ", "/a b", "http://h:65536/", "http://h:99999999999999999999/",
                                        "http://h:8a/", "http://[::g]/", "http://[::1", "a%zz", "a%4", "1a:b",
                                        "/caf\xc3\xa9", "a|b", "a#b#c", "http://a@b@c/", "file:///a%00b"})
        EXPECT_FALSE(URL::fromString(text)) << text;
    EXPECT_FALSE(URL::fromString(std::string_view("/a\0b", 4)));
}

TEST(URLTests, PartsOfATextAreReadByTheirDelimiters)
{
    struct Row {
        std::string_view text, scheme;
        std::optional<std::string> host;
        std::optional<int> port;
        std::optional<std::string> query, fragment;
        std::string_view path;
    };
    const std::nullopt_t none = std::nullopt;
    const Row rows[] = {
        {"HTTPS://ana:pw@H%41.org:080/a%20b/?x=%26&y#z%20", "https", "HA.org", 80, "x=%26&y", "z%20", "/a b"},
        {"http://[2001:db8::1]:8080", "http", "2001:db8::1", 8080, none, none, ""},
        {"http://h:?#", "http", "h", none, "", "", ""},
        {"file:///a/b", "file", "", none, none, none, "/a/b"},
        {"file://localhost/a//", "file", "localhost", none, none, none, "/a"},
        {"file:/a", "file", none, none, none, none, "/a"},
        {"mailto:ana@example.org", "mailto", none, none, none, none, "ana@example.org"},
        {"a/b?c:d/e#f?g", "", none, none, "c:d/e", "f?g", "a/b"},
        {"//h:1/a:b", "", "h", 1, none, none, "/a:b"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const URL parsed = url(row.text);
        EXPECT_EQ(parsed.scheme(), row.scheme);
        EXPECT_EQ(parsed.host(), row.host);
        EXPECT_EQ(parsed.port(), row.port);
        EXPECT_EQ(parsed.query(), row.query);
        EXPECT_EQ(parsed.fragment(), row.fragment);
        EXPECT_EQ(parsed.path(), row.path);
    }
    EXPECT_TRUE(url("FILE:///a").isFileURL());
    EXPECT_FALSE(url("files:///a").isFileURL());
    EXPECT_FALSE(url("file/a").isFileURL());
}

TEST(URLTests, PathsComeBackByteForByte)
{
    EXPECT_EQ(URL::fromPath("/home/ana/Sea 1.jpg").absoluteString(), "file:///home/ana/Sea%201.jpg");
    EXPECT_EQ(URL::fromPath("/caf\xc3\xa9").absoluteString(), "file:///caf%C3%A9");
    std::string everyByte = "/";
    for (int byte = 1; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    for (const std::string& path : {everyByte, std::string("/\xff\xfe/\x80"), std::string("/a?b#c%41:d;e"),
                                    std::string("/"), std::string("//a/./../b")}) {
        const URL file = URL::fromPath(path);
        EXPECT_EQ(file.path(), path);
        EXPECT_EQ(url(file.absoluteString()), file);
    }
    EXPECT_EQ(URL::fromPath(std::string_view("/a\0b", 4)).path(), "/a");
}

TEST(URLTests, RelativePathsStartAtTheCurrentFolder)
{
    const std::string here = std::filesystem::current_path();
    EXPECT_EQ(URL::fromPath("").path(), here);
    EXPECT_EQ(URL::fromPath("a b/").path(), here + "/a b");
    EXPECT_TRUE(URL::fromPath("a b/").hasDirectoryPath());
    EXPECT_EQ(URL::fromPath(".").path(), here + "/.");
}

TEST(URLTests, ComponentsBeginWithTheRootAndATrailingSlashAddsNone)
{
    struct Row {
        std::string_view text;
        std::vector<std::string> components;
        std::string_view last, extension;
    };
    const Row rows[] = {
        {"file:///", {"/"}, "/", ""},
        {"file:///a/b.txt", {"/", "a", "b.txt"}, "b.txt", "txt"},
        {"file:///a/b.d/", {"/", "a", "b.d"}, "b.d", "d"},
        {"file:////a//b//", {"/", "a", "b"}, "b", ""},
        {"file:///a/./..", {"/", "a", ".", ".."}, "..", ""},
        {"file:///a%2Fb/c%2Ed", {"/", "a/b", "c.d"}, "c.d", "d"},
        {"file:///.profile", {"/", ".profile"}, ".profile", ""},
        {"file:///.a.b", {"/", ".a.b"}, ".a.b", "b"},
        {"file:///a.", {"/", "a."}, "a.", ""},
        {"file:///a.tar.gz", {"/", "a.tar.gz"}, "a.tar.gz", "gz"},
        {"a/b", {"a", "b"}, "b", ""},
        {"http://h.org", {}, "", ""},
        {"http://h.org/?q=a.b", {"/"}, "/", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_THAT(url(row.text).pathComponents(), ElementsAreArray(row.components));
        EXPECT_EQ(url(row.text).lastPathComponent(), row.last);
        EXPECT_EQ(url(row.text).pathExtension(), row.extension);
    }
}

TEST(URLTests, AppendedComponentsAreEncodedAndJoinedByOneSlash)
{
    struct Row {
        std::string_view text, component, result;
    };
    const Row rows[] = {
        {"file:///", "a", "file:///a"},
        {"file:///a", "b c", "file:///a/b%20c"},
        {"file:///a/", "/b/c/", "file:///a/b/c/"},
        {"file:///a", "50%?", "file:///a/50%25%3F"},
        {"file:///a", "..", "file:///a/.."},
        {"file:///a", "", "file:///a/"},
        {"http://h?q#f", "a", "http://h/a?q#f"},
        {"a", "b:c", "a/b:c"},
        {"?q", "b:c", "./b:c?q"},
        {"x:", "//h", "x:.///h"},
    };
    for (const Row& row : rows) {
        const URL joined = url(row.text).appendingPathComponent(row.component);
        EXPECT_EQ(joined.absoluteString(), row.result);
        EXPECT_EQ(url(row.result), joined);
    }
}

TEST(URLTests, DeletingTheLastComponentStopsAtTheRoot)
{
    struct Row {
        std::string_view text, result;
    };
    const Row rows[] = {
        {"file:///a/b", "file:///a"},
        {"file:///a/b//", "file:///a"},
        {"file:///a", "file:///"},
        {"file:///", "file:///"},
        {"file:///a/..", "file:///a"},
        {"http://h/a?q", "http://h/?q"},
        {"http://h", "http://h"},
        {"a/b", "a"},
        {"a", "."},
        {".", "."},
    };
    for (const Row& row : rows)
        EXPECT_EQ(url(row.text).deletingLastPathComponent().absoluteString(), row.result) << row.text;
}

TEST(URLTests, ExtensionsAreEditedBeforeTheTrailingSlash)
{
    struct Row {
        std::string_view text, deleted, appended;
    };
    const Row rows[] = {
        {"file:///a/b.txt", "file:///a/b", "file:///a/b.txt.j%20g"},
        {"file:///a.b/", "file:///a/", "file:///a.b.j%20g/"},
        {"file:///%41%2Eb%20c?q", "file:///%41?q", "file:///%41%2Eb%20c.j%20g?q"},
        {"file:///.a", "file:///.a", "file:///.a.j%20g"},
        {"file:///a.", "file:///a.", "file:///a..j%20g"},
        {"file:///", "file:///", "file:///"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(url(row.text).deletingPathExtension().absoluteString(), row.deleted);
        EXPECT_EQ(url(row.text).appendingPathExtension("j g").absoluteString(), row.appended);
    }
    EXPECT_EQ(url("file:///a").appendingPathExtension(""), url("file:///a"));
    EXPECT_EQ(url("file:///a").appendingPathExtension("b/c"), url("file:///a"));
}

TEST(URLTests, SymbolicLinksAreResolvedByTheFileSystem)
{
    const tests::TemporaryFolder temporary;
    const std::filesystem::path& folder = temporary.path();
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_directory_symlink("real", folder / "link");

    EXPECT_EQ(URL::fromPath((folder / "link/").native()).resolvingSymlinksInPath(),
              URL::fromPath((folder / "real/").native()));
    const URL missing = URL::fromPath((folder / "link/none").native());
    EXPECT_EQ(missing.resolvingSymlinksInPath(), missing);
    EXPECT_EQ(url("http://h/").resolvingSymlinksInPath(), url("http://h/"));
}

TEST(URLTests, LongTextIsParsedOnASmallStack)
{
    const std::string longText = "http://h/" + std::string(2'000'000, '/') + std::string(2'000'000, 'a');
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    struct Job {
        const std::string& text;
        std::size_t components = 0;
    } job{longText};
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void* opaque) -> void* {
                      auto& mine = *static_cast<Job*>(opaque);
                      mine.components = url(mine.text).pathComponents().size();
                      return nullptr;
                  },
                  &job),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(job.components, 2U);
}

TEST(URLTests, EqualityAndHashAreOfTheText)
{
    EXPECT_EQ(URL::fromPath("/a b"), url("file:///a%20b"));
    EXPECT_NE(URL::fromPath("/a"), URL::fromPath("/a/"));
    EXPECT_LT(URL::fromPath("/a"), URL::fromPath("/b"));
    const std::unordered_set<URL> set{URL::fromPath("/a"), URL::fromPath("/a"), URL::fromPath("/b")};
    EXPECT_EQ(set.size(), 2U);
}

} // namespace
} // namespace corvane

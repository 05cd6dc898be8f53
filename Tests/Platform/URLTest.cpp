#include "Platform/URL.h"

#include <gtest/gtest.h>

using platform::URL;
using platform::URLComponents;
using platform::URLQueryItem;

namespace {

using Items = std::vector<URLQueryItem>;

std::optional<std::string> built(const std::string& host, std::optional<long> port = std::nullopt,
                                 const Items& items = {}, const std::string& path = "/p") {
    URLComponents components;
    components.setScheme("https");
    components.setHost(host);
    if (port)
        components.setPort(*port);
    components.setPath(path);
    components.setQueryItems(items);
    const std::optional<URL> url = components.URL();
    return url ? std::optional(url->absoluteString()) : std::nullopt;
}

URLComponents split(const std::string& text) {
    const std::optional<URL> url = URL::URLWithString(text);
    if (!url)
        throw std::invalid_argument("no URL: " + text);
    return URLComponents::componentsWithURL(*url);
}

} // namespace

TEST(URL, KeepsItsTextUnchanged) {
    const std::string text = "Veltora://Desktop_Registration/%41?a=%20#f";
    ASSERT_TRUE(URL::URLWithString(text));
    EXPECT_EQ(URL::URLWithString(text)->absoluteString(), text);
}

TEST(URL, RefusesWhatNoURLMayHold) {
    for (const std::string text : {"https://a b/", "https://a/\n", "https://a/<", "https://a/%zz",
                                   "https://gr\xc3\xbcn/", "https://[::1", "https://a:b:c/"})
        EXPECT_FALSE(URL::URLWithString(text)) << text;
    EXPECT_FALSE(URL::URLWithString(std::string("https://a\0/", 11)));
}

TEST(URLComponents, BuildsAURLWithAnEmptyQuery) {
    EXPECT_EQ(built("host.example"), "https://host.example/p?");
    EXPECT_EQ(built("host.example", 8443), "https://host.example:8443/p?");
    EXPECT_EQ(built("host.example", 0), "https://host.example:0/p?");
}

TEST(URLComponents, LeavesOutAQueryThatWasNeverSet) {
    URLComponents components;
    components.setScheme("https");
    components.setHost("h");
    components.setPath("/p");
    EXPECT_EQ(components.URL()->absoluteString(), "https://h/p");
}

TEST(URLComponents, EncodesEachItemSoThatItStaysOneItem) {
    const Items items = {{"a&b=c", "d&e=f#?/+ %"}, {"k", std::string("\0\n", 2)}, {"bare", {}}};
    const std::optional<std::string> text = built("h", {}, items);
    EXPECT_EQ(text, "https://h/p?a%26b%3Dc=d%26e%3Df%23%3F%2F%2B%20%25&k=%00%0A&bare");
    EXPECT_EQ(split(*text).queryItems(), items);
}

TEST(URLComponents, EncodesThePathButNotItsSlashes) {
    EXPECT_EQ(built("h", {}, {}, "/a b/c?d"), "https://h/a%20b/c%3Fd?");
}

TEST(URLComponents, FormsNoURLFromWhatIsNoHost) {
    for (const char* const host : {"", " ", "a b", "a/b", "/", "a@b", "@", "a#b", "#", "a?b", "a:1",
                                   "a\\b", "a\nb", "gr\xc3\xbcn", "[", "<a>"})
        EXPECT_FALSE(built(host)) << '"' << host << '"';
}

TEST(URLComponents, FormsNoURLWithAPortOutOfRange) {
    EXPECT_TRUE(built("h", 65535));
    EXPECT_FALSE(built("h", 65536));
    EXPECT_FALSE(built("h", -1));
}

TEST(URLComponents, KeepsTheCaseOfSchemeAndHost) {
    const URLComponents components = split("Veltora://Desktop_Registration?Code=A");
    EXPECT_EQ(components.scheme(), "Veltora");
    EXPECT_EQ(components.host(), "Desktop_Registration");
    EXPECT_EQ(components.queryItems(), (Items{{"Code", "A"}}));
}

TEST(URLComponents, TellsAnAbsentValueFromAnEmptyOne) {
    EXPECT_EQ(split("s://h?a&b=&c=1").queryItems(), (Items{{"a", {}}, {"b", ""}, {"c", "1"}}));
}

TEST(URLComponents, TellsAnAbsentQueryFromAnEmptyOne) {
    EXPECT_FALSE(split("s://h").queryItems());
    EXPECT_EQ(split("s://h?").queryItems(), Items{});
}

TEST(URLComponents, DecodesNamesAndValues) {
    EXPECT_EQ(split("s://h?c%6Fde=a%26b+c%3D%C3%BC").queryItems(),
              (Items{{"code", "a&b+c=\xc3\xbc"}}));
}

TEST(URLComponents, SplitsPortAndPath) {
    const URLComponents components = split("https://user@h:8443/a/b%20c#f");
    EXPECT_EQ(components.host(), "h");
    EXPECT_EQ(components.port(), 8443);
    EXPECT_EQ(components.path(), "/a/b c");
}

TEST(URLComponents, HasNoHostWhereThereIsNone) {
    EXPECT_FALSE(split("veltora:desktop_registration?code=a").host());
    EXPECT_FALSE(split("relative/path").scheme());
}

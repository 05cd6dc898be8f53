#include "Platform/URLRequest.h"

#include <gtest/gtest.h>

using platform::URL;
using platform::URLRequest;
using Headers = std::vector<URLRequest::Header>;

namespace {

URLRequest request() {
    return URLRequest::requestWithURL(*URL::URLWithString("https://h/"));
}

} // namespace

TEST(URLRequest, StartsAsAGetWithoutHeadersOrBody) {
    EXPECT_EQ(request().HTTPMethod(), "GET");
    EXPECT_TRUE(request().allHTTPHeaderFields().empty());
    EXPECT_TRUE(request().HTTPBody().empty());
}

TEST(URLRequest, ReplacesAHeaderWithoutRegardToCase) {
    URLRequest changed = request();
    changed.addValue("1", "X-Name");
    changed.addValue("2", "x-name");
    changed.setValue("3", "X-NAME");
    EXPECT_EQ(changed.allHTTPHeaderFields(), (Headers{{"X-NAME", "3"}}));
}

TEST(URLRequest, AddsAHeaderBesideOneOfTheSameName) {
    URLRequest changed = request();
    changed.setValue("1", "X-Name");
    changed.addValue("2", "X-Name");
    EXPECT_EQ(changed.allHTTPHeaderFields(), (Headers{{"X-Name", "1"}, {"X-Name", "2"}}));
}

#include "Platform/Workspace.h"

#include "LogUnderTest.h"
#include "Platform/OffscreenApplication.h"

#include <gmock/gmock.h>

#include <QDesktopServices>
#include <QObject>
#include <QUrl>

using platform::URL;
using platform::Workspace;
using testing::ElementsAre;

namespace {

/// Owned by the test framework.
const testing::Environment* const application =
    testing::AddGlobalTestEnvironment(new OffscreenApplication);

/// Takes the pages that the toolkit opens, in the place of the user's browser.
class Browser : public QObject {
    Q_OBJECT

public:
    Browser() { QDesktopServices::setUrlHandler("https", this, "open"); }
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;
    ~Browser() override { QDesktopServices::unsetUrlHandler("https"); }

    std::vector<std::string> pages;

    Q_INVOKABLE void open(const QUrl& url) { pages.push_back(url.toEncoded().toStdString()); }
};

bool open(const char* text) {
    return Workspace::sharedWorkspace().openURL(*URL::URLWithString(text));
}

} // namespace

TEST(Workspace, OpensAPageInTheBrowser) {
    Browser browser;
    const char* const page = "https://login.example/Sign%20In?next=%2F&a=$(touch%20x);'id'";
    EXPECT_TRUE(open(page));
    EXPECT_THAT(browser.pages, ElementsAre(page));
    EXPECT_EQ(Workspace::sharedWorkspace().lastOpenedURL()->absoluteString(), page);
}

TEST(Workspace, OpensNothingButPages) {
    Browser browser;
    ASSERT_TRUE(open("https://login.example/"));
    LogUnderTest log;
    for (const char* const url : {"file:///etc/passwd", "ssh://host", "veltora:x", "page"})
        EXPECT_FALSE(open(url));
    EXPECT_THAT(log.lines(),
                ElementsAre("Only web pages are opened, this is none: file:///etc/passwd",
                            "Only web pages are opened, this is none: ssh://host",
                            "Only web pages are opened, this is none: veltora:x",
                            "Only web pages are opened, this is none: page"));
    EXPECT_THAT(browser.pages, ElementsAre("https://login.example/"));
    EXPECT_EQ(Workspace::sharedWorkspace().lastOpenedURL()->absoluteString(),
              "https://login.example/");
}

#include "WorkspaceTest.moc"

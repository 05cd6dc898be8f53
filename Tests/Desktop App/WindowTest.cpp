#include "WindowTest.h"

#include "Support/WaitUntil.h"
#include "Support/WorldAuthority.h"
#include "VTTokenStore.h"

#include <QAbstractButton>
#include <QEventLoop>
#include <QTimer>
#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>

namespace {

/// Owned by the test framework.
WindowSession* const windowSession = [] {
    auto* const session = new WindowSession;
    testing::AddGlobalTestEnvironment(session);
    return session;
}();

} // namespace

WindowSession& WindowSession::shared() {
    return *windowSession;
}

void WindowSession::SetUp() {
    session_.emplace(PrivateSession::Keyring::unlocked);
    installBrowser();
    const auto set = [this](const char* name, const std::string& value) {
        variables_.push_back(std::make_unique<SetVariable>(name, value));
    };
    set("PATH", session_->folder().string() + ":" + std::getenv("PATH"));
    set("QT_QPA_PLATFORM", "offscreen");
    static int argumentCount = 1;
    static std::string name = "WindowTests";
    static std::array<char*, 2> arguments = {name.data(), nullptr};
    application_ = std::make_unique<QApplication>(argumentCount, arguments.data());
    QApplication::setQuitOnLastWindowClosed(false);
}

void WindowSession::TearDown() {
    application_.reset();
    variables_.clear();
    session_.reset();
}

void WindowSession::installBrowser() const {
    const std::filesystem::path command = session_->folder() / "xdg-open";
    std::ofstream(command) << "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '"
                           << (session_->folder() / "opened").string() << "'\n";
    std::filesystem::permissions(command, std::filesystem::perms::owner_all);
}

std::vector<std::string> WindowSession::openedURLs() const {
    std::ifstream file(session_->folder() / "opened");
    std::vector<std::string> urls;
    for (std::string line; std::getline(file, line);)
        urls.push_back(line);
    return urls;
}

void WindowSession::forgetOpenedURLs() const {
    std::filesystem::remove(session_->folder() / "opened");
}

bool runUntil(const std::function<bool()>& condition) {
    // No loop of its own: an application that has been ended once runs none.
    QTimer poll;
    poll.start(1);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition() && std::chrono::steady_clock::now() < deadline)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    return condition();
}

WindowTest::WindowTest()
    : simulator_(worldAuthority(),
                 {.port = 443,
                  .hostNames = {"directory.ardentra.example", "registration.ardentra.example",
                                "other.ardentra.example"}}) {
    VTTokenStore::clearEphemeralCode();
    WindowSession::shared().forgetOpenedURLs();
}

WindowTest::~WindowTest() = default;

simulator::Answer WindowTest::loginAnswer(const std::string& code) {
    simulator::Answer answer;
    answer.body = R"({"data":{"code":")" + code + R"(","login_url":")" + loginURL(code) + R"("}})";
    return answer;
}

std::string WindowTest::loginURL(const std::string& code) {
    return "https://login.ardentra.example/Sign%20In?next=%2F&code=" + code;
}

std::vector<std::string> WindowTest::requestsTo(const std::string& path) const {
    std::vector<std::string> targets;
    for (const simulator::RecordedRequest& request : simulator_.requests()) {
        if (request.path() == path)
            targets.push_back(request.target);
    }
    return targets;
}

std::string WindowTest::storedCode() {
    std::optional<std::string> code;
    std::optional<std::string> server;
    if (!VTTokenStore::getEphemeralCode(code, server))
        return {};
    return code.value_or("no code") + "@" + server.value_or("no server");
}

bool WindowTest::browserOpened(std::size_t count) {
    return runUntil([=] { return WindowSession::shared().openedURLs().size() == count; });
}

QMessageBox* WindowTest::openSheet() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const sheet = qobject_cast<QMessageBox*>(widget);
        if (sheet != nullptr && sheet->isVisible())
            return sheet;
    }
    return nullptr;
}

std::vector<std::string> WindowTest::textsOf(const QMessageBox& sheet) {
    std::vector<std::string> texts = {sheet.text().toStdString(),
                                      sheet.informativeText().toStdString()};
    for (const QAbstractButton* const button : sheet.buttons())
        texts.push_back(button->text().toStdString());
    return texts;
}

void WindowTest::dismissSheet() {
    QMessageBox* const sheet = openSheet();
    ASSERT_NE(sheet, nullptr);
    ASSERT_EQ(sheet->buttons().size(), 1);
    sheet->buttons().constFirst()->click();
    ASSERT_TRUE(runUntil([] { return openSheet() == nullptr; }));
}

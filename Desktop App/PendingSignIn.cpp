#include "PendingSignIn.h"

#include "LocalizedText.h"
#include "Platform/Application.h"
#include "Platform/Security.h"
#include "VTTokenStore.h"
#include "ui_PendingSignIn.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>
#include <optional>
#include <string>
#include <vector>

using platform::URLSchemeHandler;

namespace {

/// What a callback URL begins with, as the desktop entry has it, too.
const std::vector<std::string>& callbackSchemes() {
    static const std::vector<std::string> schemes = {"zantiq", "veltora",
                                                     "printdriverregistration"};
    return schemes;
}

bool hasPendingRegistration() {
    std::optional<std::string> code;
    std::optional<std::string> server;
    platform::SecKeychainSetUserInteractionAllowed(false);
    const bool found = VTTokenStore::getEphemeralCode(code, server);
    platform::SecKeychainSetUserInteractionAllowed(true);
    return found;
}

bool isRegistrationPending(const platform::Workspace& workspace) {
    platform::SecKeychainStatus keychain = 0;
    if (platform::SecKeychainGetStatus(keychain) != platform::errSecSuccess)
        return false;
    if ((keychain & platform::kSecUnlockStateStatus) != 0)
        return hasPendingRegistration();
    return workspace.lastOpenedURL().has_value();
}

QString linkCopied() {
    return localized("The link was copied.");
}

QString handlerChanged() {
    return localized("This application opens the links now.");
}

QString handlerNotChanged() {
    return localized("The setting could not be changed.");
}

/// Empty when there is nothing to say.
QString noticeAbout(URLSchemeHandler handler) {
    switch (handler) {
    case URLSchemeHandler::AnotherApplication:
        return localized(
            "Another application opens the links by which the web browser comes back here.");
    case URLSchemeHandler::NoApplication:
        return localized(
            "No application opens the links by which the web browser comes back here.");
    case URLSchemeHandler::ThisApplication:
    case URLSchemeHandler::Unknown:
        break;
    }
    return {};
}

} // namespace

PendingSignIn::PendingSignIn(QWidget* parent, platform::Workspace& workspace)
    : QWidget(parent), ui_(std::make_unique<Ui::PendingSignIn>()), workspace_(workspace) {
    ui_->setupUi(this);
    QFont headingFont = font();
    headingFont.setBold(true);
    ui_->pendingHeadingLabel->setFont(headingFont);
    bindControls();
    ui_->handlerNotice->hide();
    hide();
}

PendingSignIn::~PendingSignIn() = default;

QStringList PendingSignIn::feedbackTexts() {
    return {linkCopied(), handlerChanged(), handlerNotChanged()};
}

void PendingSignIn::setTextWidth(int width) {
    ui_->pendingExplanationLabel->setFixedWidth(width);
    ui_->handlerLabel->setFixedWidth(width);
}

void PendingSignIn::bindControls() {
    connect(ui_->openAgainButton, &QPushButton::clicked, this, &PendingSignIn::openAgain);
    connect(ui_->copyLinkButton, &QPushButton::clicked, this, &PendingSignIn::copyLink);
    connect(ui_->callbackField, &QLineEdit::textChanged, this, [this](const QString& text) {
        ui_->continueButton->setEnabled(!text.trimmed().isEmpty());
    });
    connect(ui_->callbackField, &QLineEdit::returnPressed, ui_->continueButton,
            &QPushButton::click);
    connect(ui_->continueButton, &QPushButton::clicked, this, &PendingSignIn::continueWithAddress);
    connect(ui_->useApplicationButton, &QPushButton::clicked, this,
            &PendingSignIn::useThisApplication);
}

void PendingSignIn::refresh() {
    const bool pending = isRegistrationPending(workspace_);
    if (pending)
        showWaiting();
    setVisible(pending);
}

void PendingSignIn::showWaiting() {
    ui_->signInPage->setVisible(workspace_.lastOpenedURL().has_value());
    if (std::exchange(asksForHandler_, true))
        return;
    platform::getHandlerForURLSchemes(callbackSchemes(),
                                      [panel = QPointer(this)](URLSchemeHandler handler) {
                                          if (panel == nullptr)
                                              return;
                                          panel->asksForHandler_ = false;
                                          if (!panel->changesHandler_)
                                              panel->showHandler(handler);
                                      });
}

void PendingSignIn::openAgain() {
    if (workspace_.lastOpenedURL())
        workspace_.openURL(*workspace_.lastOpenedURL());
}

void PendingSignIn::copyLink() {
    if (!workspace_.lastOpenedURL())
        return;
    const std::string& link = workspace_.lastOpenedURL()->absoluteString();
    QGuiApplication::clipboard()->setText(QString::fromStdString(link));
    Q_EMIT feedback(linkCopied());
}

void PendingSignIn::continueWithAddress() {
    // The keyboard would leave the button, which is about to be disabled, for the next control.
    ui_->callbackField->setFocus();
    const std::string address = ui_->callbackField->text().trimmed().toStdString();
    const QPointer panel = this;
    if (platform::Application::deliverURL(address) && panel != nullptr)
        ui_->callbackField->clear();
}

void PendingSignIn::useThisApplication() {
    if (std::exchange(changesHandler_, true))
        return;
    platform::setThisApplicationAsHandlerForURLSchemes(
        callbackSchemes(), [panel = QPointer(this)](URLSchemeHandler handler) {
            if (panel == nullptr)
                return;
            panel->changesHandler_ = false;
            panel->showHandler(handler);
            Q_EMIT panel->feedback(handler == URLSchemeHandler::ThisApplication
                                       ? handlerChanged()
                                       : handlerNotChanged());
        });
}

void PendingSignIn::showHandler(URLSchemeHandler handler) {
    const QString notice = noticeAbout(handler);
    ui_->handlerLabel->setText(notice);
    // Tells screen readers that the text is another one.
    ui_->handlerLabel->setAccessibleName(notice);
    if (notice.isEmpty() && ui_->useApplicationButton->hasFocus())
        ui_->callbackField->setFocus();
    ui_->handlerNotice->setVisible(!notice.isEmpty());
}

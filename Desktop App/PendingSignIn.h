#pragma once

#include "Platform/URLSchemeHandler.h"
#include "Platform/Workspace.h"

#include <QWidget>
#include <memory>

namespace Ui {
class PendingSignIn;
}

/// The part of the registration window that helps along a sign-in from which the web browser does
/// not come back: it opens the sign-in page again, copies its link, and takes the address at which
/// the browser stopped, which then goes the way of every callback URL. Where the desktop opens
/// callback URLs with another application or with none, it says so and offers to become the one.
///
/// Hidden unless a registration is pending. Its texts are in English until the window looks them
/// up. On the main thread.
class PendingSignIn : public QWidget {
    Q_OBJECT

public:
    /// The workspace knows the sign-in page; it outlives this. Where it has opened none, because
    /// the registration was begun in an earlier run of the application, only the address is asked
    /// for.
    explicit PendingSignIn(QWidget* parent = nullptr,
                           platform::Workspace& workspace = platform::Workspace::sharedWorkspace());
    ~PendingSignIn() override;

    /// Looks whether a registration is pending, and shows or hides itself. Never makes the keychain
    /// ask the user: of one that is locked it only knows that this process has begun to sign in.
    void refresh();

    /// The width at which texts of several lines wrap.
    void setTextWidth(int width);

    /// All that feedback() may say, in the user's language.
    static QStringList feedbackTexts();

Q_SIGNALS:
    /// A short text for the user about what was done.
    void feedback(const QString& text);

private:
    void bindControls();
    void showWaiting();
    void openAgain();
    void copyLink();
    void continueWithAddress();
    void useThisApplication();
    void showHandler(platform::URLSchemeHandler handler);

    std::unique_ptr<Ui::PendingSignIn> ui_;
    platform::Workspace& workspace_;
    bool asksForHandler_ = false;
    bool changesHandler_ = false;
};

#pragma once

#include "VTRegistrationController.h"

#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>
#include <string>

namespace Ui {
class RegistrationWindow;
}

/// The registration window as the interface file lays it out, in the user's language, with its
/// controls bound to the properties of the controller. On the main thread.
///
/// Whenever it comes on the screen, and whenever some work is done, it looks whether a registration
/// is pending, and then offers to help the sign-in along.
///
/// Closing the window and Escape do what the cancel button does.
class RegistrationWindow : public QWidget {
public:
    /// Makes the window, hidden, and connects the controller's outlets to it. What is absent of
    /// version and copyright is not shown.
    RegistrationWindow(std::shared_ptr<VTRegistrationController> controller,
                       const std::optional<std::string>& version,
                       const std::optional<std::string>& copyright);
    ~RegistrationWindow() override;

protected:
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    /// What the window says it is waiting for while the controller is working.
    enum class Wait { listing, login, completion };

    static QString textFor(Wait wait);

    void setSizes();
    void showFootnotes(const std::optional<std::string>& version,
                       const std::optional<std::string>& copyright);
    void connectOutlets();
    void bindControls();
    void observe(const std::string& key, void (RegistrationWindow::*respond)());

    void showSelection();
    void showWorking();
    void showStatus(const QString& text);
    void lookForPendingSignIn();
    bool canSignIn() const;
    void enableControls();
    void signIn(QPushButton* provider);

    std::unique_ptr<Ui::RegistrationWindow> ui_;
    std::shared_ptr<VTRegistrationController> controller_;
    Wait nextWait_ = Wait::listing;
    QWidget* focusToReturn_ = nullptr;
    bool awaitsPaint_ = false;
    QTimer lookForPendingSignIn_; ///< waits until whatever goes on is done with
};

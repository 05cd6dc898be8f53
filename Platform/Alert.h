#pragma once

#include "Error.h"

#include <functional>
#include <string>
#include <vector>

class QMessageBox;
class QWidget;

namespace platform {

enum class AlertStyle { Warning = 0, Informational = 1, Critical = 2 };

/// What an alert answers: the number of the button, counted from the first one added.
using ModalResponse = int;
inline constexpr ModalResponse AlertFirstButtonReturn = 1000;
inline constexpr ModalResponse AlertSecondButtonReturn = 1001;

/// A message to the user with buttons to answer it. On the main thread only.
///
/// Texts are UTF-8 and shown as they are, without markup; one of more than 1000 characters or 20
/// lines is cut there, so that the buttons stay on the screen.
///
/// The first button added is the default one. Escape and closing the alert answer like its last
/// button, or like its only one. An alert without buttons gets one that says "OK" in the user's
/// language.
class Alert {
public:
    /// An alert that says what the error's localised description says.
    static Alert alertWithError(const Error& error);

    void setAlertStyle(AlertStyle style) { style_ = style; }
    void setMessageText(std::string text) { messageText_ = std::move(text); }
    void setInformativeText(std::string text) { informativeText_ = std::move(text); }
    void addButtonWithTitle(const std::string& title) { buttons_.push_back(title); }

    /// Shows the alert and returns the answer once the user has given it; the event loop runs on
    /// meanwhile. Ends unanswered, with the last button's response, when the application ends.
    ModalResponse runModal() const;

    /// Shows the alert on the window and returns at once. The handler is called once, with the
    /// answer, when the alert is dismissed; never, when the window goes before that or is null. It
    /// may be empty. A window that is hidden is shown first. Several sheets on one window are shown
    /// one after the other.
    void
    beginSheetModalForWindow(QWidget* window,
                             const std::function<void(ModalResponse)>& completionHandler) const;

private:
    void fill(QMessageBox& box) const;

    AlertStyle style_ = AlertStyle::Warning;
    std::string messageText_;
    std::string informativeText_;
    std::vector<std::string> buttons_;
};

} // namespace platform

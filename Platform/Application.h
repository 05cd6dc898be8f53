#pragma once

#include <memory>
#include <string>

namespace platform {

/// What the application is told in the course of its life, on the main thread.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;

    /// Before launching has finished; the place to register for events.
    virtual void applicationWillFinishLaunching() = 0;

    /// After launching, before any event is delivered.
    virtual void applicationDidFinishLaunching() = 0;

    /// Each time the application becomes active: the user, the desktop or an event brings it back.
    virtual void applicationDidBecomeActive() = 0;

    /// Just before the process ends.
    virtual void applicationWillTerminate() = 0;
};

/// What the main interface file makes. It owns all of it for the life of the process.
class MainInterface {
public:
    virtual ~MainInterface() = default;
    virtual ApplicationDelegate& delegate() = 0;
};

/// Loads the main interface file. Defined by the application, called once by NSApplicationMain when
/// windows can be made.
std::unique_ptr<MainInterface> loadMainInterface();

/// Runs the windowed application and returns the exit status of the process.
///
/// There is one application for each user's session. Where one runs already, this process hands it
/// the URL among its arguments, or asks it to come to the front, and returns 0. A URL that could
/// not be handed over is an error: one line in the log, and 1 is returned. With no display to show
/// a window on: one line in the log, and 1 is returned. Being asked to end (SIGTERM, SIGINT,
/// SIGHUP) is the same as Application::terminate().
int NSApplicationMain(int argc, char** argv);

/// The running application.
class Application {
public:
    /// Ends the application: NSApplicationMain returns 0. Requests under way are broken off. On the
    /// main thread only.
    static void terminate();

    /// Delivers a URL as a get-URL event, just as one that the desktop hands over: after those that
    /// came earlier, at once when none of them is still being handled. False, and nothing is
    /// delivered, when the application is ending or nothing handles such events. On the main thread
    /// only.
    static bool deliverURL(const std::string& url);
};

} // namespace platform

#include "Platform/Application.h"

#include "GetURLEvents.h"
#include "Platform/AppleEventManager.h"
#include "Platform/Bundle.h"
#include "Platform/TerminationSignals.h"

#include <QApplication>
#include <QTimer>
#include <cstdlib>
#include <utility>

namespace platform {

namespace {

bool dispatchURL(const QString& url) {
    AppleEvent event;
    event.setParamDescriptor(AppleEventDescriptor(url.toStdString()), keyDirectObject);
    return AppleEventManager::sharedAppleEventManager().dispatch(event, kInternetEventClass,
                                                                 kAEGetURL);
}

/// Leads the delegate through the life of the application.
class Life {
public:
    explicit Life(ApplicationDelegate& delegate);
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;
    ~Life() { current_ = nullptr; }

    static Life* current() { return current_; }

    bool deliver(const QString& url) { return events_.deliver(url); }
    void end();

private:
    void launch();

    inline static Life* current_ = nullptr;
    ApplicationDelegate& delegate_;
    GetURLEvents events_;
    bool ending_ = false;
    QObject context_; // ends the connections to this
};

Life::Life(ApplicationDelegate& delegate) : delegate_(delegate) {
    current_ = this;
    // In the event loop, so that the delegate can end the application from the first moment on.
    QTimer::singleShot(0, &context_, [this] { launch(); });
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &context_, [this] { end(); });
}

void Life::launch() {
    delegate_.applicationWillFinishLaunching();
    delegate_.applicationDidFinishLaunching();
    QObject::connect(qApp, &QGuiApplication::applicationStateChanged, &context_,
                     [this](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive)
                             delegate_.applicationDidBecomeActive();
                     });
    events_.deliverTo(dispatchURL);
}

void Life::end() {
    if (std::exchange(ending_, true))
        return;
    delegate_.applicationWillTerminate();
    events_.stop();
}

void prepareToolkit() {
    QCoreApplication::setApplicationName("ardentra-registration");
    QGuiApplication::setApplicationDisplayName(QString::fromStdString(
        Bundle::mainBundle().localizedStringForKey("Ardentra Registration", "", std::nullopt)));
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

} // namespace

// The system itself sees to it that there is one application, and hands it every URL.
int NSApplicationMain(int argc, char** argv) {
    prepareToolkit();
    const QApplication application(argc, argv);
    const TerminationSignals terminationSignals(&Application::terminate);
    const std::unique_ptr<MainInterface> interface = loadMainInterface();
    const Life life(interface->delegate());
    return QApplication::exec();
}

void Application::terminate() {
    if (Life::current() != nullptr)
        Life::current()->end();
    QCoreApplication::exit(EXIT_SUCCESS);
}

bool Application::deliverURL(const std::string& url) {
    const QString text = QString::fromStdString(url);
    return Life::current() != nullptr ? Life::current()->deliver(text) : dispatchURL(text);
}

} // namespace platform

#include "Platform/Application.h"

#include "Display.h"
#include "Platform/AppleEventManager.h"
#include "Platform/Bundle.h"
#include "Platform/TerminationSignals.h"
#include "SessionBusService.h"
#include "ToolkitTranslation.h"
#include "WindowActivation.h"
#include "WindowIcon.h"

#include <QApplication>
#include <QRegularExpression>
#include <QTimer>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace platform {

namespace {

/// The arguments that have the form of a URL (RFC 3986: "scheme:"); the others mean nothing. They
/// are wiped, because the user's other processes can read what a process was started with.
QStringList takeURLs(int argc, char** argv) {
    static const QRegularExpression scheme("^[A-Za-z][A-Za-z0-9+.-]*:");
    QStringList urls;
    for (int i = 1; i < argc; ++i) {
        const QString text = QString::fromLocal8Bit(argv[i]);
        if (!text.contains(scheme))
            continue;
        urls.append(text);
        std::fill_n(argv[i], std::strlen(argv[i]), '\0');
    }
    return urls;
}

bool dispatchURL(const QString& url) {
    AppleEvent event;
    event.setParamDescriptor(AppleEventDescriptor(url.toStdString()), keyDirectObject);
    return AppleEventManager::sharedAppleEventManager().dispatch(event, kInternetEventClass,
                                                                 kAEGetURL);
}

/// Leads the delegate through the life of the application.
class Life {
public:
    Life(ApplicationDelegate& delegate, SessionBusService& service);
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;
    ~Life() { current_ = nullptr; }

    static Life* current() { return current_; }

    bool deliver(const QString& url) { return service_.deliver(url); }
    void end();

private:
    void launch();

    inline static Life* current_ = nullptr;
    ApplicationDelegate& delegate_;
    SessionBusService& service_;
    bool ending_ = false;
    QObject context_; // ends the connections to this
};

Life::Life(ApplicationDelegate& delegate, SessionBusService& service)
    : delegate_(delegate), service_(service) {
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
    const auto becomeActive = [this] { delegate_.applicationDidBecomeActive(); };
    service_.deliverTo({.activate =
                            [becomeActive](const QVariantMap& platformData) {
                                bringToFrontWith(platformData, becomeActive);
                            },
                        .open = dispatchURL});
}

void Life::end() {
    if (std::exchange(ending_, true))
        return;
    delegate_.applicationWillTerminate();
    service_.stop();
}

void prepareToolkit() {
    QGuiApplication::setDesktopFileName("com.norvale.tessor");
    QCoreApplication::setApplicationName("ardentra-registration");
    QGuiApplication::setApplicationDisplayName(QString::fromStdString(
        Bundle::mainBundle().localizedStringForKey("Ardentra Registration", "", std::nullopt)));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    reportDisplayFailures();
}

} // namespace

int NSApplicationMain(int argc, char** argv) {
    if (!namesDisplay(argc, argv))
        return EXIT_FAILURE;
    prepareToolkit();
    const QVariantMap platformData = platformDataOfEnvironment();
    QApplication application(argc, argv);

    SessionBusService service;
    switch (service.start(takeURLs(argc, argv), platformData)) {
    case SessionBusService::Outcome::HandedOn:
        return EXIT_SUCCESS;
    case SessionBusService::Outcome::Failed:
        return EXIT_FAILURE;
    case SessionBusService::Outcome::Runs:
        break;
    }
    const TerminationSignals terminationSignals(&Application::terminate);
    translateToolkit(application);
    setWindowIconAfterFirstPaint();
    const std::unique_ptr<MainInterface> interface = loadMainInterface();
    const Life life(interface->delegate(), service);
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

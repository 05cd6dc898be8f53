#include "WindowActivation.h"

#include <xcb/xcb.h>

#include <QApplication>
#include <QWidget>
#include <QWindow>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace platform {

namespace {

constexpr const char* startupKey = "desktop-startup-id";
constexpr const char* tokenKey = "activation-token";

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// The window system X11, when the application runs on it.
class X11 {
public:
    static std::optional<X11> running() {
        const auto* const application =
            qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        // The toolkit's display for tests has the interface, too, but nothing behind it.
        if (application == nullptr || application->connection() == nullptr)
            return std::nullopt;
        return X11(application->connection());
    }

    /// Asks the window manager to activate the window, as of the user's time.
    void activate(xcb_window_t window, xcb_timestamp_t time) const {
        constexpr std::uint32_t fromApplication = 1;
        const xcb_atom_t userTime = atom("_NET_WM_USER_TIME");
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, userTime, XCB_ATOM_CARDINAL,
                            32, 1, &time);
        xcb_client_message_event_t event = message("_NET_ACTIVE_WINDOW", 32, window);
        event.data.data32[0] = fromApplication;
        event.data.data32[1] = time;
        send(event, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
    }

    /// Tells everyone that the start with this identifier is complete.
    void completeStartup(xcb_window_t window, const QByteArray& identifier) const {
        QByteArray quoted = identifier;
        quoted.replace('\\', "\\\\").replace('"', "\\\"");
        const QByteArray text = "remove: ID=\"" + quoted + '"';
        const char* type = "_NET_STARTUP_INFO_BEGIN";
        constexpr qsizetype bytesInAMessage = 20;
        // The text ends with its zero byte, in a message of its own if need be.
        for (qsizetype at = 0; at <= text.size(); at += bytesInAMessage) {
            xcb_client_message_event_t event = message(type, 8, window);
            const QByteArray part = text.mid(at, bytesInAMessage);
            std::copy(part.begin(), part.end(), event.data.data8);
            send(event, XCB_EVENT_MASK_PROPERTY_CHANGE);
            type = "_NET_STARTUP_INFO";
        }
    }

    void flush() const { xcb_flush(connection_); }

private:
    explicit X11(xcb_connection_t* connection)
        : connection_(connection),
          root_(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}

    xcb_atom_t atom(const char* name) const {
        const auto length = static_cast<std::uint16_t>(std::strlen(name));
        const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, length, name), nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    xcb_client_message_event_t message(const char* type, std::uint8_t format,
                                       xcb_window_t window) const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = format;
        event.window = window;
        event.type = atom(type);
        return event;
    }

    void send(const xcb_client_message_event_t& event, std::uint32_t mask) const {
        xcb_send_event(connection_, 0, root_, mask, reinterpret_cast<const char*>(&event));
    }

    xcb_connection_t* connection_;
    xcb_window_t root_;
};

/// The window to type into: an alert before the window behind it.
const QWidget* frontWidget() {
    if (const QWidget* const modal = QApplication::activeModalWidget())
        return modal;
    const QWidgetList widgets = QApplication::topLevelWidgets();
    const auto found = std::find_if(widgets.begin(), widgets.end(), [](const QWidget* widget) {
        return widget->isVisible() && widget->windowType() == Qt::Window;
    });
    return found == widgets.end() ? nullptr : *found;
}

/// The time at the end of a startup identifier: "..._TIME123".
std::optional<xcb_timestamp_t> timeOf(const QByteArray& startupIdentifier) {
    constexpr const char* mark = "_TIME";
    const qsizetype at = startupIdentifier.lastIndexOf(mark);
    bool isNumber = false;
    const auto time = startupIdentifier.mid(at + qsizetype(std::strlen(mark))).toUInt(&isNumber);
    return at >= 0 && isNumber ? std::optional<xcb_timestamp_t>(time) : std::nullopt;
}

void activateOnX11(X11 x11, const QByteArray& startupIdentifier) {
    const QWidget* const widget = frontWidget();
    if (widget == nullptr || widget->windowHandle() == nullptr)
        return;
    const auto window = static_cast<xcb_window_t>(widget->windowHandle()->winId());
    if (const auto time = timeOf(startupIdentifier))
        x11.activate(window, *time);
    x11.completeStartup(window, startupIdentifier);
    x11.flush();
}

} // namespace

QVariantMap platformDataOfEnvironment() {
    QVariantMap data;
    for (const auto& [key, variable] : {std::pair(startupKey, "DESKTOP_STARTUP_ID"),
                                        std::pair(tokenKey, "XDG_ACTIVATION_TOKEN")}) {
        if (!qEnvironmentVariableIsEmpty(variable))
            data.insert(key, qEnvironmentVariable(variable));
    }
    return data;
}

void bringToFrontWith(const QVariantMap& platformData, const std::function<void()>& operation) {
    // The only way in which the toolkit takes a token that came from elsewhere.
    const QByteArray token = platformData.value(tokenKey).toString().toUtf8();
    if (!token.isEmpty() && QGuiApplication::platformName().startsWith("wayland"))
        qputenv("XDG_ACTIVATION_TOKEN", token);
    operation();
    const QByteArray startupIdentifier = platformData.value(startupKey).toString().toUtf8();
    const auto x11 = X11::running();
    if (!startupIdentifier.isEmpty() && x11)
        activateOnX11(*x11, startupIdentifier);
}

} // namespace platform

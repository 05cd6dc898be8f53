#include "DesktopResolver.h"

#include <gio/gio.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

struct Release {
    void operator()(void* object) const { g_object_unref(object); }
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
struct FreeList {
    void operator()(char** texts) const { g_strfreev(texts); }
};
using List = std::unique_ptr<char*, FreeList>;

std::vector<std::string> texts(const List& list) {
    std::vector<std::string> result;
    for (char** text = list.get(); text != nullptr && *text != nullptr; ++text)
        result.emplace_back(*text);
    return result;
}

} // namespace

std::vector<std::string> proxiesOfGNOME(const std::string& url) {
    // GNOME's resolver serves GNOME alone; other desktops keep their settings in the same place.
    setenv("XDG_CURRENT_DESKTOP", "GNOME", 1);
    const List proxies(
        g_proxy_resolver_lookup(g_proxy_resolver_get_default(), url.c_str(), nullptr, nullptr));
    return texts(proxies);
}

std::vector<std::string> proxiesOfScript(const std::string& script, const std::string& url) {
    const std::unique_ptr<GDBusConnection, Release> bus(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!bus)
        return {};
    constexpr int noLimit = G_MAXINT; // whoever started this program ends it in time
    const std::unique_ptr<GVariant, Release> answer(g_dbus_connection_call_sync(
        bus.get(), "org.gtk.GLib.PACRunner", "/org/gtk/GLib/PACRunner", "org.gtk.GLib.PACRunner",
        "Lookup", g_variant_new("(ss)", script.c_str(), url.c_str()), G_VARIANT_TYPE("(as)"),
        G_DBUS_CALL_FLAGS_NONE, noLimit, nullptr, nullptr));
    if (!answer)
        return {};
    char** proxies = nullptr;
    g_variant_get(answer.get(), "(^as)", &proxies);
    return texts(List(proxies));
}

bool isExcluded(const std::vector<std::string>& list, const std::string& url) {
    std::vector<char*> entries;
    entries.reserve(list.size() + 1);
    for (const std::string& entry : list)
        entries.push_back(const_cast<char*>(entry.c_str()));
    entries.push_back(nullptr);
    const std::unique_ptr<GProxyResolver, Release> resolver(
        g_simple_proxy_resolver_new("http://any:1", entries.data()));
    const List proxies(g_proxy_resolver_lookup(resolver.get(), url.c_str(), nullptr, nullptr));
    return texts(proxies) == std::vector<std::string>{"direct://"};
}

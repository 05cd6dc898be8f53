#pragma once

#include "ChildProcess.h"
#include "PrivateSession.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

/// A session that has what GNOME keeps its settings with and what runs proxy scripts.
inline PrivateSession::Services proxySettingServices() {
    return {{"ca.desrt.dconf", "/usr/libexec/dconf-service"},
            {"org.gtk.GLib.PACRunner", "/usr/libexec/glib-pacrunner"}};
}

/// Sets what GNOME's settings say of proxies: the key, below org.gnome.system.proxy ("mode",
/// "https host"), and its value.
inline void setGNOMEProxy(const std::string& key, const std::string& value) {
    const std::size_t blank = key.find(' ');
    const bool isBelow = blank != std::string::npos;
    const ProgramResult result =
        runProgram({{"gsettings", "set",
                     "org.gnome.system.proxy" + (isBelow ? "." + key.substr(0, blank) : ""),
                     key.substr(isBelow ? blank + 1 : 0), value}});
    ASSERT_EQ(result.exitStatus, 0) << result.standardError;
}

/// Has GNOME use that proxy ("host:port") for https.
inline void setGNOMEProxyForHTTPS(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    setGNOMEProxy("mode", "manual");
    setGNOMEProxy("https host", address.substr(0, colon));
    setGNOMEProxy("https port", address.substr(colon + 1));
}

/// Has GNOME run a script, whose function FindProxyForURL has that body.
inline void setGNOMEProxyScript(const PrivateSession& session, const std::string& body) {
    // Scripts are kept by their address by those who run them.
    static int count = 0;
    const auto script = session.folder() / ("proxy" + std::to_string(++count) + ".pac");
    std::ofstream(script) << "function FindProxyForURL(url, host) {" << body << "}\n";
    setGNOMEProxy("mode", "auto");
    setGNOMEProxy("autoconfig-url", "file://" + script.string());
}

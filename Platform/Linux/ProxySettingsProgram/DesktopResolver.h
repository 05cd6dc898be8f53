#pragma once

#include <string>
#include <vector>

/// The proxies for the URL that GNOME's settings (org.gnome.system.proxy) name, as they name them,
/// most preferred first. Empty when the settings cannot be read.
std::vector<std::string> proxiesOfGNOME(const std::string& url);

/// The proxies for the URL that a proxy script names; an empty address has the network asked for
/// its script (WPAD). The script is run by a service on the session bus. Empty when there is no
/// answer.
std::vector<std::string> proxiesOfScript(const std::string& script, const std::string& url);

/// Whether the list of host names, domains and addresses excludes the URL's server from the use of
/// proxies, as GNOME reads such a list.
bool isExcluded(const std::vector<std::string>& list, const std::string& url);

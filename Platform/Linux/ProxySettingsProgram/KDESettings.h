#pragma once

#include <string>
#include <vector>

/// The proxies for the https URL that KDE's settings name, most preferred first: the group "Proxy
/// Settings" of the files kioslaverc in the configuration folders, where the user's own file comes
/// before the administrator's except for what that one locks with "[$i]". The manual proxy for
/// https comes before the one for SOCKS. Empty when the settings cannot be read.
std::vector<std::string> proxiesOfKDE(const std::string& url);

#pragma once

#include <string>

namespace simulator {

/// What the sign-in page shows.
struct SignInPage {
    std::string provider;     ///< as the user knows it: "Google"
    std::string session;      ///< goes back with the form
    std::string email;        ///< what the e-mail field holds at first
    std::string problem = {}; ///< a sentence on what was wrong with the last try; may be empty
};

/// The page in HTML (UTF-8). Its form is sent to "/sign-in" with the fields "session" and "email".
std::string toHTML(const SignInPage& page);

/// A page that says one thing, under a heading.
std::string noticeHTML(const std::string& heading, const std::string& text);

} // namespace simulator

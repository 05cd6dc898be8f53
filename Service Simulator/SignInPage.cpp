#include "SignInPage.h"

#include <string_view>

namespace simulator {

namespace {

constexpr std::string_view style = R"css(
      :root { color-scheme: light dark; --ink: #1c2430; --paper: #ffffff; --ground: #eef1f6;
              --line: #6b7687; --accent: #1f5fbf; --on-accent: #ffffff; --alarm: #a4161a; }
      @media (prefers-color-scheme: dark) {
        :root { --ink: #e8ecf3; --paper: #1d2430; --ground: #12171f; --line: #93a0b4;
                --accent: #8db7f5; --on-accent: #0c1a2e; --alarm: #ff9a9e; }
      }
      * { box-sizing: border-box; }
      body { margin: 0; min-height: 100vh; display: grid; place-items: center; padding: 1rem;
             background: var(--ground); color: var(--ink);
             font: 1rem/1.5 system-ui, "Noto Sans", "DejaVu Sans", sans-serif; }
      main { width: 100%; max-width: 26rem; padding: 2rem; border-radius: 0.75rem;
             background: var(--paper); box-shadow: 0 0.5rem 2rem rgb(0 0 0 / 12%); }
      .service { margin: 0 0 0.25rem; font-weight: 600; color: var(--accent); }
      h1 { margin: 0 0 1.5rem; font-size: 1.5rem; line-height: 1.25; }
      label { display: block; margin-bottom: 0.25rem; font-weight: 600; }
      input, button { width: 100%; min-height: 2.75rem; padding: 0 0.75rem; font: inherit;
                      border-radius: 0.5rem; }
      input { border: 1px solid var(--line); background: transparent; color: inherit; }
      button { margin-top: 1.25rem; border: 0; font-weight: 600; cursor: pointer;
               background: var(--accent); color: var(--on-accent); }
      :focus-visible { outline: 3px solid var(--accent); outline-offset: 2px; }
      .problem { color: var(--alarm); }
      .note { margin: 1.25rem 0 0; font-size: 0.9rem; }
)css";

std::string escaped(std::string_view text) {
    std::string safe;
    for (const char letter : text) {
        switch (letter) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += letter;
        }
    }
    return safe;
}

std::string document(const std::string& title, const std::string& content) {
    std::string html = R"html(<!DOCTYPE html>
<html lang="en">
  <head>
    <meta charset="utf-8">
    <meta name="viewport" content="width=device-width, initial-scale=1">
    <title>)html";
    html += escaped(title) + "</title>\n    <style>";
    html += style;
    html += R"html(    </style>
  </head>
  <body>
    <main>
      <p class="service">Ardentra Demo</p>
      <h1>)html";
    html += escaped(title) + "</h1>\n" + content + "    </main>\n  </body>\n</html>\n";
    return html;
}

std::string problemParagraph(const std::string& problem) {
    if (problem.empty()) {
        return {};
    }
    return R"html(        <p class="problem" id="problem" role="alert">)html" + escaped(problem) +
           "</p>\n";
}

} // namespace

std::string toHTML(const SignInPage& page) {
    std::string form = R"html(      <form method="post" action="/sign-in">
        <input type="hidden" name="session" value=")html";
    form += escaped(page.session) + R"html(">
        <label for="email">E-mail address</label>
        <input id="email" name="email" type="email" required autocomplete="email" value=")html";
    form += escaped(page.email) + '"';
    form +=
        page.problem.empty() ? "" : R"html( aria-invalid="true" aria-describedby="problem")html";
    form += ">\n" + problemParagraph(page.problem);
    form += R"html(        <button type="submit" autofocus>Sign in</button>
      </form>
      <p class="note">This is a simulated service: it asks for no password. You can close this page
        once the registration has been completed.</p>
)html";
    return document("Sign in to Ardentra Demo with " + page.provider, form);
}

std::string noticeHTML(const std::string& heading, const std::string& text) {
    return document(heading, "      <p>" + escaped(text) + "</p>\n");
}

} // namespace simulator

#pragma once

#include "Support/SetVariable.h"

#include <libintl.h>

#include <optional>

/// The language of the user, for as long as this lives.
class UserLanguage {
public:
    /// As LANGUAGE names it: "de", or several with colons between them.
    explicit UserLanguage(const char* language) : variable_(std::in_place, "LANGUAGE", language) {
        forgetTranslations();
    }
    UserLanguage(const UserLanguage&) = delete;
    UserLanguage& operator=(const UserLanguage&) = delete;
    ~UserLanguage() {
        variable_.reset();
        forgetTranslations();
    }

private:
    /// The library keeps what it looked up once until a text domain is set.
    static void forgetTranslations() { textdomain(textdomain(nullptr)); }

    std::optional<SetVariable> variable_;
};

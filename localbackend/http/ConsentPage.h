#pragma once

#include "http/RestApi.h"

#include <string_view>

namespace quorvel::localbackend {

/// The local page that stands in for the consent page of Google: it asks for an e-mail address. The problem, if any, is
/// shown above the form.
[[nodiscard]] HttpResponse consentPage(std::string_view state, std::string_view problem);

/// Sends the browser to the application's callback address with the tokens.
[[nodiscard]] HttpResponse callbackRedirect(std::string_view accessToken, std::string_view refreshToken);

} // namespace quorvel::localbackend

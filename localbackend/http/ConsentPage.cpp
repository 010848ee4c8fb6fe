#include "http/ConsentPage.h"

#include "http/Form.h"

namespace quorvel::localbackend {

namespace http = boost::beast::http;

namespace {

constexpr std::string_view pageStart = R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Sign in to Quorvel</title>
<style>
:root { color-scheme: light dark; }
body { font: 1rem/1.5 system-ui, sans-serif; max-width: 26rem; margin: 15vh auto 0; padding: 0 1rem; }
h1 { font-size: 1.4rem; }
label, input, button { display: block; width: 100%; box-sizing: border-box; font: inherit; }
input, button { margin-top: .5rem; padding: .6rem .8rem; border-radius: 8px; border: 1px solid #8888; }
button { background: #4F46E5; color: #fff; border: 0; margin-top: 1rem; }
.problem { color: #c02626; }
</style>
</head>
<body>
<main>
<h1>Sign in to Quorvel</h1>
<p>This development server stands in for Google: it signs in whoever you name.</p>
)";

} // namespace

HttpResponse consentPage(std::string_view state, std::string_view problem)
{
    std::string page{pageStart};
    if (!problem.empty())
        page += R"(<p class="problem" role="alert">)" + htmlEscaped(problem) + "</p>\n";
    page +=
        "<form method=\"post\" action=\"/api/auth/google/consent\">\n<input type=\"hidden\" name=\"state\" value=\"" +
        htmlEscaped(state) +
        "\">\n<label>E-mail address\n<input type=\"email\" name=\"email\" required autofocus></label>\n"
        "<button>Continue</button>\n</form>\n</main>\n</body>\n</html>\n";
    auto response = textResponse(http::status::ok, std::move(page));
    response.set(http::field::content_type, "text/html; charset=utf-8");
    response.set("Content-Security-Policy",
                 "default-src 'none'; style-src 'unsafe-inline'; form-action 'self' quorvel:; frame-ancestors 'none'");
    response.set("Referrer-Policy", "same-origin");
    return response;
}

HttpResponse callbackRedirect(std::string_view accessToken, std::string_view refreshToken)
{
    auto response = textResponse(http::status::see_other, "");
    response.set(http::field::location, "quorvel://auth?accessToken=" + percentEncoded(accessToken) +
                                            "&refreshToken=" + percentEncoded(refreshToken));
    return response;
}

} // namespace quorvel::localbackend

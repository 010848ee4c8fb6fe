#include "http/RestApi.h"

#include "http/ConsentPage.h"
#include "http/Form.h"
#include "http/Multipart.h"
#include "support/Json.h"
#include "support/OnPool.h"
#include "support/Secrets.h"
#include "support/Text.h"

#include <boost/asio/ip/address.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace quorvel::localbackend {

namespace http = boost::beast::http;

namespace {

constexpr std::size_t longestEmail = 254; // RFC 5321
constexpr std::chrono::minutes consentLifetime{10};
constexpr std::size_t mostConsents = 1000;

/// Whether a Host header names an address or this machine, with or without a port. Any other name is one that somebody
/// else may have made to point here.
bool namesAnAddress(std::string_view host)
{
    const auto port = host.rfind(':');
    if (port != std::string_view::npos && host.find(']', port) == std::string_view::npos)
        host = host.substr(0, port);
    if (host.starts_with('[') && host.ends_with(']'))
        host = host.substr(1, host.size() - 2);
    boost::system::error_code error;
    boost::asio::ip::make_address(host, error);
    return !error || lowerCased(host) == "localhost";
}

/// Enough to tell a typing error; whether the address exists is not this server's business.
bool looksLikeEmail(std::string_view text)
{
    const auto at = text.find('@');
    if (at == std::string_view::npos || at == 0 || at + 1 == text.size() || text.size() > longestEmail)
        return false;
    return text.find('@', at + 1) == std::string_view::npos &&
           std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) > 0x20 && c != 0x7F; });
}

Result<std::string> emailFrom(std::optional<std::string> text)
{
    std::string email = text ? lowerCased(trimmed(*text)) : "";
    if (!looksLikeEmail(email))
        return failed(Fault::Invalid, "Enter a valid e-mail address.");
    return email;
}

boost::json::object userJson(const User& user)
{
    boost::json::object object{{"id", user.id}, {"email", user.email}, {"role", user.role}};
    if (user.name)
        object["name"] = *user.name;
    return object;
}

HttpResponse jsonResponse(const boost::json::object& body)
{
    auto response = textResponse(http::status::ok, boost::json::serialize(body));
    response.set(http::field::content_type, "application/json");
    return response;
}

HttpResponse signInResponse(const SignIn& signIn)
{
    return jsonResponse({{"user", userJson(signIn.user)},
                         {"accessToken", signIn.accessToken},
                         {"refreshToken", signIn.refreshToken},
                         {"expiresIn", signIn.expiresIn.count()}});
}

Result<boost::json::object> jsonBody(const HttpRequest& request)
{
    auto body = parseJsonObject(request.body());
    if (!body)
        return failed(Fault::Invalid, "The request's body is not a JSON object.");
    return body;
}

/// Host and port as they may stand in an address; the header comes from outside and goes into an answer.
bool isHostAndPort(std::string_view text)
{
    constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-:[]";
    return !text.empty() && text.size() <= 255 &&
           std::ranges::all_of(text, [&](char c) { return allowed.contains(c); });
}

std::string_view mediaType(const HttpHeader& header)
{
    const std::string_view value = header[http::field::content_type];
    return trimmed(value.substr(0, value.find(';')));
}

std::optional<std::string> bearerToken(const HttpHeader& header)
{
    constexpr std::string_view scheme = "bearer ";
    const std::string_view value = header[http::field::authorization];
    if (value.size() <= scheme.size() || lowerCased(value.substr(0, scheme.size())) != scheme)
        return std::nullopt;
    return std::string(trimmed(value.substr(scheme.size())));
}

User developmentUser(bool admin)
{
    return admin
               ? User{.id = "dev-admin",
                      .email = "admin@quorvel.localhost",
                      .name = "Development Admin",
                      .role = "ADMIN"}
               : User{.id = "dev-user", .email = "user@quorvel.localhost", .name = "Development User", .role = "USER"};
}

http::status statusOf(Fault fault)
{
    switch (fault) {
    case Fault::Invalid:
        return http::status::bad_request;
    case Fault::Unauthorized:
        return http::status::unauthorized;
    case Fault::Forbidden:
        return http::status::forbidden;
    case Fault::NotFound:
        return http::status::not_found;
    case Fault::TooLarge:
        return http::status::payload_too_large;
    case Fault::Unsupported:
        return http::status::unsupported_media_type;
    case Fault::Unprocessable:
        return http::status::unprocessable_entity;
    case Fault::TooMany:
        return http::status::too_many_requests;
    case Fault::Unavailable:
        break;
    }
    return http::status::internal_server_error;
}

} // namespace

struct RestApi::Route
{
    std::string_view path;
    http::verb method;
    std::string_view mediaType;                      ///< required of the body; empty when the body is not looked at
    Answer (*handler)(RestApi&, const HttpRequest&); ///< null for the extraction, which is a coroutine

    /// Makes a handler of one of the members, whether that changes the object or not.
    template <auto member>
    static Answer call(RestApi& api, const HttpRequest& request)
    {
        return (api.*member)(request);
    }
};

namespace {

constexpr std::string_view extractPath = "/api/profile/extract";

} // namespace

RestApi::RestApi(AccountStore& accounts, OneTimeCodes& codes, const ProfileExtractor& extractor,
                 boost::asio::thread_pool& workers, Clock clock, DevelopmentFlags flags, const Log& log)
    : m_accounts(accounts)
    , m_codes(codes)
    , m_extractor(extractor)
    , m_workers(workers)
    , m_clock(std::move(clock))
    , m_flags(flags)
    , m_log(log)
{
}

std::span<const RestApi::Route> RestApi::routes()
{
    static constexpr std::string_view json = "application/json";
    static constexpr std::array<Route, 9> routes{{
        {"/api/health", http::verb::get, "", &Route::call<&RestApi::health>},
        {"/api/auth/me", http::verb::get, "", &Route::call<&RestApi::me>},
        {"/api/auth/otp/request", http::verb::post, json, &Route::call<&RestApi::requestCode>},
        {"/api/auth/otp/verify", http::verb::post, json, &Route::call<&RestApi::verifyCode>},
        {"/api/auth/refresh", http::verb::post, json, &Route::call<&RestApi::refresh>},
        {"/api/auth/google/start", http::verb::post, "", &Route::call<&RestApi::startGoogle>},
        {"/api/auth/google/consent", http::verb::get, "", &Route::call<&RestApi::showConsent>},
        {"/api/auth/google/consent", http::verb::post, "application/x-www-form-urlencoded",
         &Route::call<&RestApi::giveConsent>},
        {extractPath, http::verb::post, "multipart/form-data", nullptr},
    }};
    return routes;
}

const RestApi::Route* RestApi::routeOf(const HttpHeader& header)
{
    const auto found = std::ranges::find_if(routes(), [&](const Route& route) {
        return route.path == pathOf(header.target()) && route.method == header.method();
    });
    return found == routes().end() ? nullptr : &*found;
}

std::optional<HttpResponse> RestApi::refuseOrigin(const HttpHeader& header)
{
    const std::string_view origin = header[http::field::origin];
    const std::string_view host = header[http::field::host];
    if (origin.empty())
        return std::nullopt;
    const bool isOwn = origin == "http://" + std::string(host) || origin == "https://" + std::string(host);
    if (!isOwn || !namesAnAddress(host))
        return failureResponse({Fault::Forbidden, "Requests from other web pages are not accepted."});
    return std::nullopt;
}

std::optional<HttpResponse> RestApi::refuse(const HttpHeader& header)
{
    if (auto refusal = refuseOrigin(header))
        return refusal;
    const Route* route = routeOf(header);
    if (route == nullptr) {
        std::string allowed;
        for (const Route& other : routes()) {
            if (other.path == pathOf(header.target()))
                allowed += (allowed.empty() ? "" : ", ") + std::string(http::to_string(other.method));
        }
        if (allowed.empty())
            return failureResponse({Fault::NotFound, "There is nothing at this address."});
        auto response = textResponse(http::status::method_not_allowed, "This address takes " + allowed + " only.");
        response.set(http::field::allow, allowed);
        return response;
    }
    if (!route->mediaType.empty() && lowerCased(mediaType(header)) != route->mediaType) {
        return failureResponse({Fault::Unsupported, "This address takes " + std::string(route->mediaType) + " only."});
    }
    const std::string_view length = header[http::field::content_length];
    std::uint64_t bytes = 0;
    std::from_chars(length.data(), length.data() + length.size(), bytes);
    if (bytes > bodyLimit(header))
        return failureResponse({Fault::TooLarge, tooLargeSentence(header)});
    return std::nullopt;
}

std::string RestApi::tooLargeSentence(const HttpHeader& header)
{
    return pathOf(header.target()) == extractPath ? "The file is larger than 10 MB."
                                                  : "The request is larger than 64 KB.";
}

std::uint64_t RestApi::bodyLimit(const HttpHeader& header)
{
    return pathOf(header.target()) == extractPath ? mostUploadBytes + multipartOverhead : mostJsonBytes;
}

boost::asio::awaitable<HttpResponse> RestApi::handle(HttpRequest request)
{
    auto refusal = refuse(request);
    if (refusal)
        co_return std::move(*refusal);
    const Route* route = routeOf(request);
    Answer answer = failed(Fault::NotFound, "");
    if (route->handler == nullptr) {
        auto extraction = extractProfile(std::move(request));
        answer = co_await std::move(extraction);
    } else {
        answer = route->handler(*this, request);
    }
    co_return answer ? std::move(*answer) : failureResponse(answer.error());
}

std::optional<User> RestApi::userOf(const std::optional<std::string>& accessToken) const
{
    if (m_flags.disableAuth)
        return developmentUser(m_flags.disableAdminAuth);
    return accessToken ? m_accounts.userOf(*accessToken) : std::nullopt;
}

RestApi::Answer RestApi::health(const HttpRequest&)
{
    boost::json::object body{{"ok", true}};
    if (m_flags.disableAuth || m_flags.disableAdminAuth) {
        body["development"] =
            boost::json::object{{"disableAuth", m_flags.disableAuth}, {"disableAdminAuth", m_flags.disableAdminAuth}};
    }
    return jsonResponse(body);
}

RestApi::Answer RestApi::me(const HttpRequest& request) const
{
    const auto user = userOf(bearerToken(request));
    if (!user)
        return failed(Fault::Unauthorized, "You are not signed in.");
    return jsonResponse({{"user", userJson(*user)}});
}

RestApi::Answer RestApi::requestCode(const HttpRequest& request)
{
    const auto body = jsonBody(request);
    if (!body)
        return std::unexpected(body.error());
    const auto email = emailFrom(stringAt(*body, "email"));
    if (!email)
        return std::unexpected(email.error());
    const auto code = m_codes.issue(*email);
    if (!code)
        return std::unexpected(code.error());
    return jsonResponse({{"ok", true}, {"devCode", *code}});
}

RestApi::Answer RestApi::verifyCode(const HttpRequest& request)
{
    const auto body = jsonBody(request);
    if (!body)
        return std::unexpected(body.error());
    const auto email = emailFrom(stringAt(*body, "email"));
    if (!email)
        return std::unexpected(email.error());
    const auto code = stringAt(*body, "code");
    if (!code)
        return failed(Fault::Invalid, "Enter the code.");
    if (const auto verified = m_codes.verify(*email, std::string(trimmed(*code))); !verified)
        return std::unexpected(verified.error());
    const auto signIn = m_accounts.signIn(*email);
    if (!signIn)
        return std::unexpected(signIn.error());
    m_log.info("A user signed in with a code.");
    return signInResponse(*signIn);
}

RestApi::Answer RestApi::refresh(const HttpRequest& request)
{
    const auto body = jsonBody(request);
    if (!body)
        return std::unexpected(body.error());
    const auto signIn = m_accounts.refresh(stringAt(*body, "refreshToken").value_or(""));
    if (!signIn)
        return std::unexpected(signIn.error());
    return signInResponse(*signIn);
}

RestApi::Answer RestApi::startGoogle(const HttpRequest& request)
{
    const std::string_view host = request[http::field::host];
    if (!isHostAndPort(host))
        return failed(Fault::Invalid, "The request's Host header is not usable.");
    const SteadyTime now = m_clock.steady();
    std::erase_if(m_consents, [now](const auto& item) { return item.second <= now; });
    if (m_consents.size() >= mostConsents)
        return failed(Fault::TooMany, "Too many sign-ins are under way. Try again in ten minutes.");
    const auto state = randomToken();
    if (!state)
        return std::unexpected(state.error());
    m_consents[*state] = now + consentLifetime;
    return jsonResponse({{"url", "http://" + std::string(host) + "/api/auth/google/consent?state=" + *state}});
}

bool RestApi::isOpenConsent(const std::string& state) const
{
    const auto found = m_consents.find(state);
    return found != m_consents.end() && found->second > m_clock.steady();
}

RestApi::Answer RestApi::showConsent(const HttpRequest& request)
{
    const auto query = parseForm(queryOf(request.target()));
    const auto state = query ? formValue(*query, "state") : std::nullopt;
    if (!state || !isOpenConsent(*state))
        return failed(Fault::Invalid, "This sign-in page has expired. Start again in the application.");
    return consentPage(*state, "");
}

RestApi::Answer RestApi::giveConsent(const HttpRequest& request)
{
    const auto form = parseForm(request.body());
    if (!form)
        return failed(Fault::Invalid, "The form is not readable.");
    const auto state = formValue(*form, "state");
    if (!state || !isOpenConsent(*state))
        return failed(Fault::Invalid, "This sign-in page has expired. Start again in the application.");
    const auto email = emailFrom(formValue(*form, "email"));
    if (!email)
        return consentPage(*state, email.error().sentence);
    const auto signIn = m_accounts.signIn(*email);
    if (!signIn)
        return std::unexpected(signIn.error());
    m_consents.erase(*state);
    m_log.info("A user signed in on the local consent page.");
    return callbackRedirect(signIn->accessToken, signIn->refreshToken);
}

boost::asio::awaitable<RestApi::Answer> RestApi::extractProfile(HttpRequest request)
{
    const auto boundary = multipartBoundary(request[http::field::content_type]);
    if (!boundary)
        co_return std::unexpected(boundary.error());
    const auto file = resumePart(request.body(), *boundary);
    if (!file)
        co_return std::unexpected(file.error());
    if (file->content.size() > mostUploadBytes)
        co_return failed(Fault::TooLarge, "The file is larger than 10 MB.");
    if (m_extractions >= mostExtractions)
        co_return failed(Fault::TooMany, "Too many files are being read at the moment. Try again shortly.");

    ++m_extractions;
    std::function<Result<ExtractedProfile>()> job = [this, &file] {
        return m_extractor.extract(file->fileName, file->contentType, file->content);
    };
    auto run = runOn<Result<ExtractedProfile>>(m_workers.get_executor(), std::move(job));
    const auto profile = co_await std::move(run);
    --m_extractions;
    if (!profile)
        co_return std::unexpected(profile.error());
    boost::json::array keyterms(profile->keyterms.begin(), profile->keyterms.end());
    co_return jsonResponse({{"resumeSummary", profile->resumeSummary},
                            {"keyterms", std::move(keyterms)},
                            {"characterCount", profile->characterCount}});
}

HttpResponse failureResponse(const Failure& failure)
{
    auto response = textResponse(statusOf(failure.fault), failure.sentence);
    if (failure.fault == Fault::Unauthorized)
        response.set(http::field::www_authenticate, "Bearer");
    return response;
}

HttpResponse textResponse(http::status status, std::string text)
{
    HttpResponse response{status, 11};
    response.set(http::field::server, "quorvel-backend");
    response.set(http::field::content_type, "text/plain; charset=utf-8");
    response.set(http::field::cache_control, "no-store");
    response.set("X-Content-Type-Options", "nosniff");
    response.body() = std::move(text);
    response.prepare_payload();
    return response;
}

std::string_view pathOf(std::string_view target)
{
    return target.substr(0, target.find('?'));
}

std::string_view queryOf(std::string_view target)
{
    const auto mark = target.find('?');
    return mark == std::string_view::npos ? std::string_view{} : target.substr(mark + 1);
}

} // namespace quorvel::localbackend

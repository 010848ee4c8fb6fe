#pragma once

#include "accounts/AccountStore.h"
#include "accounts/OneTimeCodes.h"
#include "profile/ProfileExtractor.h"
#include "support/Log.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quorvel::localbackend {

using HttpRequest = boost::beast::http::request<boost::beast::http::string_body>;
using HttpResponse = boost::beast::http::response<boost::beast::http::string_body>;
using HttpHeader = boost::beast::http::request_header<>;

/// The switches that the health answer announces.
struct DevelopmentFlags
{
    bool disableAuth = false;
    bool disableAdminAuth = false;
};

/// The REST operations, apart from reading and writing the connection. Every operation runs on the network thread; file
/// extraction runs on the given pool. A failed operation is answered with a 4xx (5xx when this machine is at fault) and
/// one sentence as plain text.
class RestApi
{
public:
    /// The accepted size of a resume file, and what its multipart wrapping may add.
    static constexpr std::uint64_t mostUploadBytes = std::uint64_t{10} * 1024 * 1024;
    static constexpr std::uint64_t multipartOverhead = std::uint64_t{16} * 1024;
    static constexpr std::uint64_t mostJsonBytes = std::uint64_t{64} * 1024;
    /// Uploads that are read at the same time; each holds its file in memory.
    static constexpr int mostExtractions = 4;

    RestApi(AccountStore& accounts, OneTimeCodes& codes, const ProfileExtractor& extractor,
            boost::asio::thread_pool& workers, Clock clock, DevelopmentFlags flags, const Log& log);

    /// Judges a request by its header alone, before its body is read: an answer when it is refused at once, else none.
    [[nodiscard]] static std::optional<HttpResponse> refuse(const HttpHeader& header);

    /// Refuses what a web page of another origin sends, or one whose host's name was made to point to this machine (DNS
    /// rebinding): only an address and "localhost" are names of ours. Native clients send no Origin.
    [[nodiscard]] static std::optional<HttpResponse> refuseOrigin(const HttpHeader& header);

    /// The largest body that a request with this header may have.
    [[nodiscard]] static std::uint64_t bodyLimit(const HttpHeader& header);

    /// What a sender of a body past that limit is told.
    [[nodiscard]] static std::string tooLargeSentence(const HttpHeader& header);

    /// Carries the request out.
    [[nodiscard]] boost::asio::awaitable<HttpResponse> handle(HttpRequest request);

    /// The user of the access token; with sign-in disabled, the development user whatever the token.
    [[nodiscard]] std::optional<User> userOf(const std::optional<std::string>& accessToken) const;

private:
    struct Route;
    using Answer = Result<HttpResponse>;

    [[nodiscard]] static std::span<const Route> routes();
    /// The route of that path and method, or null.
    [[nodiscard]] static const Route* routeOf(const HttpHeader& header);
    [[nodiscard]] Answer health(const HttpRequest& request);
    [[nodiscard]] Answer me(const HttpRequest& request) const;
    [[nodiscard]] Answer requestCode(const HttpRequest& request);
    [[nodiscard]] Answer verifyCode(const HttpRequest& request);
    [[nodiscard]] Answer refresh(const HttpRequest& request);
    [[nodiscard]] Answer startGoogle(const HttpRequest& request);
    [[nodiscard]] Answer showConsent(const HttpRequest& request);
    [[nodiscard]] Answer giveConsent(const HttpRequest& request);
    [[nodiscard]] boost::asio::awaitable<Answer> extractProfile(HttpRequest request);
    [[nodiscard]] bool isOpenConsent(const std::string& state) const;

    AccountStore& m_accounts;
    OneTimeCodes& m_codes;
    const ProfileExtractor& m_extractor;
    boost::asio::thread_pool& m_workers;
    Clock m_clock;
    DevelopmentFlags m_flags;
    const Log& m_log;
    std::map<std::string, SteadyTime> m_consents; ///< open consent pages by their state, with their expiry
    int m_extractions = 0;
};

/// A refusal: the status that fits the failure, and its sentence.
[[nodiscard]] HttpResponse failureResponse(const Failure& failure);

/// A plain-text answer with the headers that every answer has.
[[nodiscard]] HttpResponse textResponse(boost::beast::http::status status, std::string text);

/// The path of a request target, without its query.
[[nodiscard]] std::string_view pathOf(std::string_view target);

/// The query of a request target, empty when it has none.
[[nodiscard]] std::string_view queryOf(std::string_view target);

} // namespace quorvel::localbackend

#include "app/AppState.h"

#include <QRegularExpression>
#include <QUrlQuery>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr QLatin1StringView accessTokenAccount("access_token");
constexpr QLatin1StringView refreshTokenAccount("refresh_token");

/// Characters. Far more than two tokens need; any page can open an address of ours.
constexpr qsizetype longestCallback = qsizetype{64} << 10U;

BackendUser developmentUser(const BackendDevelopmentFlags& flags)
{
    if (flags.disableAdminAuth) {
        return {.id = u"dev-admin"_s,
                .email = u"admin@quorvel.example"_s,
                .name = u"Development Admin"_s,
                .role = u"ADMIN"_s};
    }
    return {.id = u"dev-user"_s, .email = u"user@quorvel.example"_s, .name = u"Development User"_s, .role = u"USER"_s};
}

/// The value of the first item of this name; an item without a value counts as missing.
std::optional<QString> queryValue(const QUrlQuery& query, const QString& name)
{
    const QString value = query.queryItemValue(name, QUrl::FullyDecoded);
    return value.isEmpty() ? std::nullopt : std::optional(value);
}

} // namespace

bool AppState::isAuthenticated() const
{
    return m_developmentFlags.disableAuth || m_authUser.has_value();
}

Task<> AppState::checkBackend()
{
    const auto self = shared_from_this();
    assign(m_backendAvailability, BackendAvailability::checking, &AppState::backendAvailabilityChanged);
    const Result<HealthResponse> health = co_await m_backendClient->health();
    if (health) {
        assign(m_developmentFlags, health->development.value_or(BackendDevelopmentFlags()),
               &AppState::developmentFlagsChanged);
        applyDevelopmentBypasses();
        assign(m_backendAvailability, BackendAvailability::available, &AppState::backendAvailabilityChanged);
        setErrorMessage(std::nullopt);
    } else {
        assign(m_backendAvailability, BackendAvailability::unavailable, &AppState::backendAvailabilityChanged);
        setErrorMessage(u"Could not connect to the server."_s);
    }
}

void AppState::loadSavedAuth()
{
    m_backendClient->accessToken = std::nullopt;
    if (!m_developmentFlags.disableAuth) {
        m_backendClient->accessToken = m_keychain->load(accessTokenAccount).value_or(std::nullopt);
    }
}

void AppState::applyDevelopmentBypasses()
{
    if (m_developmentFlags.disableAuth) {
        setAuthUser(developmentUser(m_developmentFlags));
        m_backendClient->accessToken = std::nullopt;
    }
}

Task<> AppState::loadAccountState()
{
    const auto self = shared_from_this();
    applyDevelopmentBypasses();
    if (m_developmentFlags.disableAuth || !m_backendClient->accessToken) {
        co_return;
    }
    Result<MeResponse> me = co_await m_backendClient->me();
    if (me) {
        setAuthUser(std::move(me->user));
    } else {
        m_backendClient->accessToken = std::nullopt;
        setAuthUser(std::nullopt);
    }
}

void AppState::saveTokens(const QString& accessToken, const QString& refreshToken)
{
    m_backendClient->accessToken = accessToken;
    // Without a keychain the sign-in lasts as long as the program, which is better than none.
    [[maybe_unused]] const Result<> savedAccess = m_keychain->save(accessToken, accessTokenAccount);
    [[maybe_unused]] const Result<> savedRefresh = m_keychain->save(refreshToken, refreshTokenAccount);
}

Task<> AppState::requestOtp()
{
    const auto self = shared_from_this();
    if (m_authEmail.trimmed().isEmpty()) {
        setAuthMessage(u"Enter your email."_s);
        co_return;
    }
    setAuthenticating(true);
    setAuthMessage(std::nullopt);
    QString email = m_authEmail;
    const Result<std::optional<QString>> devCode = co_await m_backendClient->requestOtp(std::move(email));
    if (devCode) {
        assign(m_authDevCode, *devCode, &AppState::authDevCodeChanged);
        const std::optional<QString>& code = *devCode;
        setAuthMessage(code ? u"Local dev code: "_s + *code : u"Check Gmail for your login code."_s);
    } else {
        setAuthMessage(devCode.error().description);
    }
    setAuthenticating(false);
}

Task<> AppState::verifyOtp()
{
    const auto self = shared_from_this();
    setAuthenticating(true);
    setAuthMessage(std::nullopt);
    QString email = m_authEmail;
    QString code = m_authCode;
    const Result<BackendAuthSession> session = co_await m_backendClient->verifyOtp(std::move(email), std::move(code));
    if (session) {
        setAuthUser(session->user);
        saveTokens(session->accessToken, session->refreshToken);
        co_await loadAccountState();
    } else {
        setAuthMessage(session.error().description);
    }
    setAuthenticating(false);
}

Task<> AppState::beginGoogleLogin()
{
    const auto self = shared_from_this();
    setAuthenticating(true);
    setAuthMessage(std::nullopt);
    const Result<QUrl> address = co_await m_backendClient->googleStartURL();
    if (address) {
        m_workspace->open(*address);
    } else {
        setAuthMessage(address.error().description);
    }
    setAuthenticating(false);
}

void AppState::handleAuthCallback(const QString& address)
{
    // Judged as text: a parsed address has lost the letter case of its scheme and host.
    static const QRegularExpression callback(u"^quorvel://([^/?#@]*@)?auth(:[0-9]*)?([/?#]|$)"_s);
    if (address.size() > longestCallback || !callback.match(address).hasMatch()) {
        return;
    }
    const QUrlQuery query{QUrl(address)};
    const std::optional<QString> accessToken = queryValue(query, u"accessToken"_s);
    const std::optional<QString> refreshToken = queryValue(query, u"refreshToken"_s);
    if (!accessToken || !refreshToken) {
        setAuthMessage(u"Google login callback did not include tokens."_s);
        return;
    }
    saveTokens(*accessToken, *refreshToken);
    m_mainThread->post([self = shared_from_this()] { launch(self->loadAccountState()); });
}

void AppState::logout()
{
    m_keychain->remove(accessTokenAccount);
    m_keychain->remove(refreshTokenAccount);
    m_backendClient->accessToken = std::nullopt;
    setAuthUser(std::nullopt);
    applyDevelopmentBypasses();
    m_mainThread->post([self = shared_from_this()] { launch(self->stopScreenShare()); });
}

void AppState::setAuthUser(std::optional<BackendUser> user)
{
    assign(m_authUser, std::move(user), &AppState::authUserChanged);
}

void AppState::setAuthMessage(std::optional<QString> message)
{
    assign(m_authMessage, std::move(message), &AppState::authMessageChanged);
}

void AppState::setAuthenticating(bool authenticating)
{
    assign(m_isAuthenticating, authenticating, &AppState::isAuthenticatingChanged);
}

} // namespace quorvel

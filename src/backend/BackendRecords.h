#pragma once

#include "platform/Clock.h"
#include "platform/RawValue.h"
#include "platform/Result.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <optional>

namespace quorvel {

/// The signed-in account.
struct BackendUser
{
    QString id;
    QString email;
    std::optional<QString> name;
    QString role;

    [[nodiscard]] static Result<BackendUser> fromJson(const QJsonObject& object);
    friend bool operator==(const BackendUser&, const BackendUser&) = default;
};

/// The result of a completed sign-in. Holds secrets: never write it anywhere but into the keychain.
struct BackendAuthSession
{
    BackendUser user;
    QString accessToken;
    QString refreshToken;
    std::int64_t expiresIn = 0; ///< as the backend states it; not interpreted

    [[nodiscard]] static Result<BackendAuthSession> fromJson(const QJsonObject& object);
    friend bool operator==(const BackendAuthSession&, const BackendAuthSession&) = default;
};

/// Switches that a development backend announces.
struct BackendDevelopmentFlags
{
    bool disableAuth = false;
    bool disableAdminAuth = false;

    [[nodiscard]] static Result<BackendDevelopmentFlags> fromJson(const QJsonObject& object);
    friend bool operator==(const BackendDevelopmentFlags&, const BackendDevelopmentFlags&) = default;
};

struct HealthResponse
{
    bool ok = false;
    std::optional<BackendDevelopmentFlags> development;

    [[nodiscard]] static Result<HealthResponse> fromJson(const QJsonObject& object);
    friend bool operator==(const HealthResponse&, const HealthResponse&) = default;
};

struct MeResponse
{
    BackendUser user;

    [[nodiscard]] static Result<MeResponse> fromJson(const QJsonObject& object);
    friend bool operator==(const MeResponse&, const MeResponse&) = default;
};

struct OtpRequestResponse
{
    bool ok = false;
    /// The code itself, which only a development backend sends back.
    std::optional<QString> devCode;

    [[nodiscard]] static Result<OtpRequestResponse> fromJson(const QJsonObject& object);
    friend bool operator==(const OtpRequestResponse&, const OtpRequestResponse&) = default;
};

struct GoogleStartResponse
{
    QString url;

    [[nodiscard]] static Result<GoogleStartResponse> fromJson(const QJsonObject& object);
    friend bool operator==(const GoogleStartResponse&, const GoogleStartResponse&) = default;
};

/// The backend's digest of an uploaded resume.
struct ExtractedProfile
{
    QString resumeSummary;
    QStringList keyterms;
    std::int64_t characterCount = 0;

    [[nodiscard]] static Result<ExtractedProfile> fromJson(const QJsonObject& object);
    friend bool operator==(const ExtractedProfile&, const ExtractedProfile&) = default;
};

/// State of the link to the backend.
enum class BackendConnectionStatus : std::uint8_t { disconnected, connecting, connected, error };

[[nodiscard]] constexpr auto rawValues(BackendConnectionStatus)
{
    return std::array{
        RawValue{BackendConnectionStatus::disconnected, "Disconnected"},
        RawValue{BackendConnectionStatus::connecting, "Connecting"},
        RawValue{BackendConnectionStatus::connected, "Connected"},
        RawValue{BackendConnectionStatus::error, "Error"},
    };
}

/// State of the backend's transcriber as last reported.
enum class BackendTranscriberStatus : std::uint8_t { waiting, connecting, connected, closed, error };

[[nodiscard]] constexpr auto rawValues(BackendTranscriberStatus)
{
    return std::array{
        RawValue{BackendTranscriberStatus::waiting, "Waiting"},
        RawValue{BackendTranscriberStatus::connecting, "Connecting"},
        RawValue{BackendTranscriberStatus::connected, "Connected"},
        RawValue{BackendTranscriberStatus::closed, "Closed"},
        RawValue{BackendTranscriberStatus::error, "Error"},
    };
}

/// The backend's running counters of the current session, as last reported.
struct BackendDiagnostics
{
    std::int64_t audioBytes = 0; ///< received by the backend
    std::int64_t commits = 0;
    std::optional<Timestamp> lastAudioAt;
    std::optional<Timestamp> lastTranscriptAt;
    std::optional<std::int64_t> latencyMs; ///< milliseconds

    friend bool operator==(const BackendDiagnostics&, const BackendDiagnostics&) = default;
};

} // namespace quorvel

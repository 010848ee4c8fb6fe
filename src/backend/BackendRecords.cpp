#include "backend/BackendRecords.h"

#include "platform/Json.h"

using namespace Qt::StringLiterals;

namespace quorvel {

Result<BackendUser> BackendUser::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(BackendUser{
        .id = reader.string(u"id"_s),
        .email = reader.string(u"email"_s),
        .name = reader.optionalString(u"name"_s),
        .role = reader.string(u"role"_s),
    });
}

Result<BackendAuthSession> BackendAuthSession::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(BackendAuthSession{
        .user = reader.record<BackendUser>(u"user"_s),
        .accessToken = reader.string(u"accessToken"_s),
        .refreshToken = reader.string(u"refreshToken"_s),
        .expiresIn = reader.integer(u"expiresIn"_s),
    });
}

Result<BackendDevelopmentFlags> BackendDevelopmentFlags::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(BackendDevelopmentFlags{
        .disableAuth = reader.boolean(u"disableAuth"_s),
        .disableAdminAuth = reader.boolean(u"disableAdminAuth"_s),
    });
}

Result<HealthResponse> HealthResponse::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(HealthResponse{
        .ok = reader.boolean(u"ok"_s),
        .development = reader.optionalRecord<BackendDevelopmentFlags>(u"development"_s),
    });
}

Result<MeResponse> MeResponse::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(MeResponse{.user = reader.record<BackendUser>(u"user"_s)});
}

Result<OtpRequestResponse> OtpRequestResponse::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(OtpRequestResponse{
        .ok = reader.boolean(u"ok"_s),
        .devCode = reader.optionalString(u"devCode"_s),
    });
}

Result<GoogleStartResponse> GoogleStartResponse::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(GoogleStartResponse{.url = reader.string(u"url"_s)});
}

Result<ExtractedProfile> ExtractedProfile::fromJson(const QJsonObject& object)
{
    JsonReader reader(object);
    return reader.finish(ExtractedProfile{
        .resumeSummary = reader.string(u"resumeSummary"_s),
        .keyterms = reader.strings(u"keyterms"_s),
        .characterCount = reader.integer(u"characterCount"_s),
    });
}

} // namespace quorvel

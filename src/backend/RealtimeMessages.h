#pragma once

#include "backend/BackendRealtimeEvent.h"
#include "capture/CaptureSource.h"
#include "context/MeetingContext.h"

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace quorvel::realtime {

/// "session.start": what the session is about, where its sound comes from, and how that is coded.
[[nodiscard]] QJsonObject sessionStart(const MeetingContext& context, const CaptureSource& source);
[[nodiscard]] QJsonObject contextUpdate(const MeetingContext& context);
[[nodiscard]] QJsonObject sessionStop();

/// Decodes one incoming message. Nothing when it is no JSON object, has no or an unknown type, or is a suggestion that
/// lacks something. Any other key that is absent or of another type counts as its default.
[[nodiscard]] std::optional<BackendRealtimeEvent> decode(const QByteArray& message);

} // namespace quorvel::realtime

#pragma once

#include "context/SessionMode.h"
#include "platform/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QStringList>

namespace quorvel {

/// What the user tells about the interview, so that answers sound like them.
struct MeetingContext
{
    Q_GADGET
    Q_PROPERTY(QString userRole MEMBER userRole)
    Q_PROPERTY(QString meetingGoal MEMBER meetingGoal)
    Q_PROPERTY(QString tone MEMBER tone)
    Q_PROPERTY(QString resumeSummary MEMBER resumeSummary)
    Q_PROPERTY(QString jobDescription MEMBER jobDescription)
    Q_PROPERTY(QStringList keyterms MEMBER keyterms)

public:
    QString userRole;
    QString meetingGoal;
    QString tone;
    QString resumeSummary;
    QString jobDescription;
    SessionMode sessionMode = SessionMode::hr;
    QStringList keyterms;

    /// The context of a fresh installation.
    [[nodiscard]] static const MeetingContext& defaults();

    /// Whether resume summary and job description both hold more than white space.
    [[nodiscard]] bool isInterviewProfileComplete() const;

    /// One object with a key for every field.
    [[nodiscard]] QJsonObject toJson() const;
    /// Every key is required with its own type; unknown keys are ignored.
    [[nodiscard]] static Result<MeetingContext> fromJson(const QByteArray& json);

    friend bool operator==(const MeetingContext&, const MeetingContext&) = default;
};

} // namespace quorvel

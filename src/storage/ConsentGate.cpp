#include "storage/ConsentGate.h"

#include <QString>

#include <utility>

using namespace Qt::StringLiterals;

namespace quorvel {

namespace {

constexpr auto consentKey = "consent.accepted"_L1;

} // namespace

ConsentGate::ConsentGate(std::shared_ptr<platform::UserDefaults> settings)
    : m_settings(std::move(settings))
{
}

bool ConsentGate::hasAcceptedConsent() const
{
    return m_settings->boolForKey(consentKey);
}

void ConsentGate::setHasAcceptedConsent(bool accepted)
{
    m_settings->setBool(accepted, consentKey);
}

} // namespace quorvel

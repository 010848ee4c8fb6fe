#pragma once

#include "platform/UserDefaults.h"

#include <memory>

namespace quorvel {

/// Remembers whether the user accepted the consent notice. Nothing ever withdraws it. Main thread.
class ConsentGate
{
public:
    explicit ConsentGate(std::shared_ptr<platform::UserDefaults> settings);

    [[nodiscard]] bool hasAcceptedConsent() const;
    void setHasAcceptedConsent(bool accepted);

private:
    std::shared_ptr<platform::UserDefaults> m_settings;
};

} // namespace quorvel

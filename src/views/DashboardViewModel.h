#pragma once

#include "views/ViewModel.h"

namespace quorvel {

/// One value of the live health panel.
struct HealthItem
{
    Q_GADGET
    Q_PROPERTY(QString value MEMBER value)
    Q_PROPERTY(bool isGood MEMBER isGood)

public:
    QString value;
    bool isGood = false;

    friend bool operator==(const HealthItem&, const HealthItem&) = default;
};

/// What the dashboard derives from the state.
class DashboardViewModel final : public quorvel::ViewModel
{
    Q_OBJECT
    Q_PROPERTY(QString sourceText READ sourceText NOTIFY changed)
    Q_PROPERTY(bool canChooseSource READ canChooseSource NOTIFY changed)
    Q_PROPERTY(bool isStopShown READ isStopShown NOTIFY changed)
    Q_PROPERTY(bool canStop READ canStop NOTIFY changed)
    Q_PROPERTY(bool canOpenSetup READ canOpenSetup NOTIFY changed)
    Q_PROPERTY(quorvel::HealthItem transcriberHealth READ transcriberHealth NOTIFY changed)
    Q_PROPERTY(quorvel::HealthItem audioHealth READ audioHealth NOTIFY changed)
    Q_PROPERTY(quorvel::HealthItem latencyHealth READ latencyHealth NOTIFY changed)
    Q_PROPERTY(quorvel::HealthItem sessionHealth READ sessionHealth NOTIFY changed)
    Q_PROPERTY(QString sourceLine READ sourceLine NOTIFY changed)
    Q_PROPERTY(QString countersLine READ countersLine NOTIFY changed)
    Q_PROPERTY(QString userText READ userText NOTIFY changed)

public:
    explicit DashboardViewModel(AppState& state);

    // Top bar.

    [[nodiscard]] QString sourceText() const;
    [[nodiscard]] bool canChooseSource() const;
    [[nodiscard]] bool isStopShown() const;
    [[nodiscard]] bool canStop() const;
    [[nodiscard]] bool canOpenSetup() const;
    Q_INVOKABLE void openSharePicker();
    Q_INVOKABLE void stopScreenShare();
    Q_INVOKABLE void refreshSources();

    // Live health.

    [[nodiscard]] HealthItem transcriberHealth() const;
    [[nodiscard]] HealthItem audioHealth() const;
    [[nodiscard]] HealthItem latencyHealth() const;
    [[nodiscard]] HealthItem sessionHealth() const;
    /// Empty while no source is selected.
    [[nodiscard]] QString sourceLine() const;
    [[nodiscard]] QString countersLine() const;

    // Account.

    [[nodiscard]] QString userText() const;

private:
    /// Whether a session begins, runs or ends.
    [[nodiscard]] bool isSessionActive() const;
    [[nodiscard]] bool isSessionChanging() const;
};

} // namespace quorvel

#pragma once

#include "views/DashboardViewModel.h"
#include "views/InterviewSetupViewModel.h"
#include "views/SharePickerViewModel.h"
#include "views/ViewModel.h"

#include <cstdint>

namespace quorvel {

/// Which screen the main window shows, and what the screens before the setup say. It owns the view models of the
/// others.
class MainViewModel final : public quorvel::ViewModel
{
    Q_OBJECT
    Q_PROPERTY(quorvel::InterviewSetupViewModel* interviewSetup READ interviewSetup CONSTANT)
    Q_PROPERTY(quorvel::DashboardViewModel* dashboard READ dashboard CONSTANT)
    Q_PROPERTY(quorvel::SharePickerViewModel* sharePicker READ sharePicker CONSTANT)
    Q_PROPERTY(Screen screen READ screen NOTIFY changed)
    Q_PROPERTY(int minimumWidth READ minimumWidth NOTIFY changed)
    Q_PROPERTY(int minimumHeight READ minimumHeight NOTIFY changed)
    Q_PROPERTY(double sideWidth READ sideWidth WRITE setSideWidth NOTIFY sideWidthChanged)
    Q_PROPERTY(QString clearSequence READ clearSequence CONSTANT)
    Q_PROPERTY(QString clearKeys READ clearKeys CONSTANT)
    Q_PROPERTY(QString quitSequence READ quitSequence CONSTANT)
    Q_PROPERTY(bool isCheckingBackend READ isCheckingBackend NOTIFY changed)
    Q_PROPERTY(QString backendNotice READ backendNotice NOTIFY changed)
    Q_PROPERTY(QString connectionText READ connectionText NOTIFY changed)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY changed)
    Q_PROPERTY(QString authMessage READ authMessage NOTIFY changed)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)

public:
    enum class Screen : std::uint8_t { serverConnection, authGate, interviewSetup, dashboard };
    Q_ENUM(Screen)

    explicit MainViewModel(AppState& state);

    [[nodiscard]] InterviewSetupViewModel* interviewSetup() { return &m_interviewSetup; }
    [[nodiscard]] DashboardViewModel* dashboard() { return &m_dashboard; }
    [[nodiscard]] SharePickerViewModel* sharePicker() { return &m_sharePicker; }

    [[nodiscard]] Screen screen() const;
    /// Points.
    [[nodiscard]] int minimumWidth() const;
    [[nodiscard]] int minimumHeight() const;

    /// Points: the dashboard's right column.
    [[nodiscard]] double sideWidth() const { return m_sideWidth; }
    void setSideWidth(double width);

    // The menu's shortcuts, as the toolkit writes them. It calls the Super (logo) key "Meta", its users do not.

    [[nodiscard]] static QString clearSequence();
    [[nodiscard]] static QString clearKeys();
    [[nodiscard]] static QString quitSequence();

    // Server connection.

    [[nodiscard]] bool isCheckingBackend() const;
    Q_INVOKABLE void checkBackend();

    // Onboarding.

    [[nodiscard]] QString backendNotice() const;
    [[nodiscard]] QString connectionText() const;
    [[nodiscard]] bool isConnected() const;

    // Messages, of which many are a server's own words: empty while there is nothing to say. What has no end is cut, so
    // that the rest of the screen stays in reach, and what has no words gets some.

    /// Characters.
    static constexpr qsizetype longestMessage = 600;
    [[nodiscard]] QString errorMessage() const;
    [[nodiscard]] QString authMessage() const;

    // Sign-in.

    Q_INVOKABLE void requestOtp();
    Q_INVOKABLE void verifyOtp();
    Q_INVOKABLE void beginGoogleLogin();

Q_SIGNALS:
    void sideWidthChanged();
    /// Apart from the others, as a screen that is being made can bring a message, and must not be chosen anew for that.
    void errorMessageChanged();

private:
    InterviewSetupViewModel m_interviewSetup;
    DashboardViewModel m_dashboard;
    SharePickerViewModel m_sharePicker;
    double m_sideWidth = 500;
};

} // namespace quorvel
